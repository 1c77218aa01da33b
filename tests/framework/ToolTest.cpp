#include "framework/Tool.h"
#include "tests/framework/AllocatedBytes.h"
#include "tests/framework/CapturedOutput.h"
#include "tests/framework/TestArg.h"
#include "tests/framework/VirtualSlots.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <new>
#include <vector>

static const char kNoHelp[] = "Argument List: "
                              "\n### No Help String available for this tool"
                              "(blame the programmer who subclassed the TTool base class).\n";

// The base class, with a look at its flag and a mark when it is destroyed.
class TBareTool : public TTool
{
public:
    explicit TBareTool(bool* destroyed = nullptr) : fDestroyed(destroyed) {}
    ~TBareTool() override
    {
        if (fDestroyed != nullptr)
            *fDestroyed = true;
    }
    UInt8 HelpRequested() const { return fHelpRequested; }

private:
    bool* fDestroyed;
};

// A tool with a help of its own.
class THelpfulTool : public TBareTool
{
public:
    void ShowHelp() override { fputs("own help\n", stdout); }
};

// A descriptor that claims every word.
class TGreedyArg : public TTestArg
{
public:
    explicit TGreedyArg(std::string* log) : TTestArg(log, "") {}
    bool ProcessArg(short& remaining, short& index, char**, char**) override
    {
        ++index;
        --remaining;
        return true;
    }
};

class Tool : public TMachineTest
{
protected:
    bool HandleArgs(TTool* handler, const std::vector<std::string>& words)
    {
        std::vector<char*> pointers;
        for (const std::string& word : words)
            pointers.push_back(const_cast<char*>(word.c_str()));
        bool handled = false;
        output = OutputOf([&] { handled = handler->HandleArgs(static_cast<int>(pointers.size()), pointers.data()); });
        return handled;
    }

    std::string ErrorOutput(TTool* failing, short err)
    {
        return OutputOf([&] { failing->HandleError(err); });
    }

    TBareTool tool;
    THelpfulTool helpful;
    std::string output;
    std::string log;
};

TEST_F(Tool, ANewToolWasNotAskedForHelp)
{
    // In memory that was not zero before.
    alignas(TBareTool) unsigned char room[sizeof(TBareTool)];
    std::fill(room, room + sizeof room, static_cast<unsigned char>(0xFF));
    const TBareTool* const made = new (room) TBareTool;

    EXPECT_EQ(0, made->HelpRequested());
    made->~TBareTool();
}

TEST_F(Tool, AToolIsATableAndTheHelpFlag)
{
    static_assert(sizeof(TTool) == 2 * sizeof(void*), "a pointer, a byte and what aligns it");
    HandleArgs(&tool, {"tool", "?"});

    EXPECT_EQ(1, reinterpret_cast<const unsigned char*>(static_cast<TTool*>(&tool))[sizeof(void*)]);
}

TEST_F(Tool, TheSlotsOfAToolAreInTheirOrder)
{
    using TStatus = SInt32(TTool*);
    using TNothing = void(TTool*);
    TTool* const called = &helpful;

    EXPECT_EQ("InitTool\n", OutputOf([&] { EXPECT_EQ(0, VirtualSlot<TStatus>(called, 2)(called)); }));
    EXPECT_EQ("DoWork\n", OutputOf([&] { EXPECT_EQ(0, VirtualSlot<TStatus>(called, 3)(called)); }));
    EXPECT_EQ("own help\n", OutputOf([&] { VirtualSlot<TNothing>(called, 4)(called); }));
    EXPECT_EQ("### Syntax error in command line.\nown help\n",
              OutputOf([&] { VirtualSlot<void(TTool*, short)>(called, 5)(called, -50); }));
}

TEST_F(Tool, TheFirstTwoSlotsAreTheDestructors)
{
    using TNothing = void(TTool*);
    bool destroyed = false;
    alignas(TBareTool) unsigned char room[sizeof(TBareTool)];
    TTool* const inPlace = new (room) TBareTool(&destroyed);
    VirtualSlot<TNothing>(inPlace, 0)(inPlace);
    EXPECT_TRUE(destroyed);

    // The deleting one; the check for leaks sees whether it deleted.
    destroyed = false;
    TTool* const onHeap = new TBareTool(&destroyed);
    VirtualSlot<TNothing>(onHeap, 1)(onHeap);
    EXPECT_TRUE(destroyed);
}

TEST_F(Tool, InitToolAndDoWorkPrintTheirNamesAndSucceed)
{
    EXPECT_EQ("InitTool\n", OutputOf([&] { EXPECT_EQ(0, tool.InitTool()); }));
    EXPECT_EQ("DoWork\n", OutputOf([&] { EXPECT_EQ(0, tool.DoWork()); }));
}

TEST_F(Tool, TheBaseHelpSaysThatThereIsNone)
{
    EXPECT_EQ(kNoHelp, OutputOf([&] { tool.ShowHelp(); }));
}

// A descriptor that describes itself on standard output, as a tool's own do.
struct TPrintingArg : TTestArg
{
    using TTestArg::TTestArg;
    void DescribeArg() override { fputs("[described]", stdout); }
};

TEST_F(Tool, TheBaseHelpDescribesEveryArgument)
{
    TPrintingArg a(&log, "a");
    TPrintingArg b(&log, "b");

    EXPECT_EQ("Argument List: [described][described]\n### No Help String available for this tool(blame the programmer "
              "who subclassed the TTool base class).\n",
              OutputOf([&] { tool.ShowHelp(); }));
}

TEST_F(Tool, AnErrorOfMinus50IsASyntaxError)
{
    EXPECT_EQ(std::string("### Syntax error in command line.\n") + kNoHelp, ErrorOutput(&tool, -50));
}

TEST_F(Tool, AnyOtherErrorIsPrintedAsASignedNumber)
{
    EXPECT_EQ(std::string("### Tool execution stopped. Error #: -108.\n") + kNoHelp, ErrorOutput(&tool, -108));
    EXPECT_EQ("### Tool execution stopped. Error #: 0.\nown help\n", ErrorOutput(&helpful, 0));
    EXPECT_EQ("### Tool execution stopped. Error #: 50.\nown help\n", ErrorOutput(&helpful, 50));
    EXPECT_EQ("### Tool execution stopped. Error #: -32768.\nown help\n", ErrorOutput(&helpful, -32768));
    EXPECT_EQ("### Tool execution stopped. Error #: -1.\nown help\n",
              ErrorOutput(&helpful, static_cast<short>(0xFFFF)));
}

TEST_F(Tool, ErrorsShowTheToolsOwnHelp)
{
    EXPECT_EQ("### Syntax error in command line.\nown help\n", ErrorOutput(&helpful, -50));
}

TEST_F(Tool, WhoAskedForHelpGetsTheHelpAlone)
{
    ASSERT_FALSE(HandleArgs(&helpful, {"tool", "help"}));

    EXPECT_EQ("own help\n", ErrorOutput(&helpful, -50));
    EXPECT_EQ("own help\n", ErrorOutput(&helpful, -108));
}

TEST_F(Tool, HelpInAnyCaseAndAQuestionMarkAskForHelpInSilence)
{
    TTestArg any(&log, "help");
    for (const char* const word : {"help", "HELP", "Help", "hElP", "?"}) {
        TBareTool asked;
        EXPECT_FALSE(HandleArgs(&asked, {"tool", word, "more"})) << word;
        EXPECT_EQ(1, asked.HelpRequested()) << word;
        EXPECT_EQ("", output) << word;
    }
    EXPECT_EQ("", log);
}

TEST_F(Tool, WordsLikeHelpAreOrdinaryWords)
{
    for (const char* const word : {"helpme", "hel", "-help", "??", "", "help "}) {
        TBareTool asked;
        EXPECT_FALSE(HandleArgs(&asked, {"tool", word})) << word;
        EXPECT_EQ(0, asked.HelpRequested()) << word;
    }
}

TEST_F(Tool, HelpAsTheSecondWordIsAnOrdinaryWord)
{
    TTestArg first(&log, "first");
    TTestArg help(&log, "help");

    EXPECT_TRUE(HandleArgs(&tool, {"tool", "first", "HELP"}));
    EXPECT_EQ(0, tool.HelpRequested());
    EXPECT_EQ(1, help.Found());
}

TEST_F(Tool, TheProgramsNameIsNoWord)
{
    EXPECT_TRUE(HandleArgs(&tool, {"help"}));
    EXPECT_EQ(0, tool.HelpRequested());
}

TEST_F(Tool, WithoutDescriptorsOnlyAnEmptyCommandLineIsAcceptedAndNothingIsSaid)
{
    EXPECT_TRUE(HandleArgs(&tool, {"tool"}));
    EXPECT_EQ("", output);
    EXPECT_FALSE(HandleArgs(&tool, {"tool", "foo"}));
    EXPECT_EQ("", output);
    EXPECT_EQ(0, tool.HelpRequested());
}

TEST_F(Tool, WithARequiredDescriptorAnEmptyCommandLineIsRefused)
{
    TTestArg a(&log, "a", 1);

    EXPECT_FALSE(HandleArgs(&tool, {"tool"}));
    EXPECT_EQ("a! ", log);
}

TEST_F(Tool, DescriptorsSeeMacRomanLowerCaseAndTheMessageTheWordAsGiven)
{
    TTestArg a(&log, "\x8A-word");
    std::vector<std::string> words{"Tool", "\x80-WoRd", "\x80-OTHER"};

    EXPECT_FALSE(HandleArgs(&tool, words));
    EXPECT_EQ("\x8A-word?\x8A-word ", log);
    EXPECT_EQ("### Unrecognized argument: \x80-OTHER.\n", output);
    EXPECT_EQ("\x80-WoRd", words[1]);
    EXPECT_EQ("Tool", words[0]);
}

TEST_F(Tool, TheLowerCaseWordsAreFreed)
{
    const std::vector<std::string> words(3, std::string(kLargeBlock, 'A'));
    const std::size_t before = AllocatedBytes();

    EXPECT_FALSE(HandleArgs(&tool, words));
    EXPECT_EQ(0, LargeBlocksSince(before));
}

TEST_F(Tool, WithoutMemoryForTheWordsTheParseFailsWithoutAMessage)
{
    TTestArg a(&log, "a");
    for (unsigned allocation = 1; allocation <= 4; ++allocation) {
        const TFault fault("operator new[] nothrow", {0, 0}, allocation);
        EXPECT_FALSE(HandleArgs(&tool, {"tool", "help", "a"})) << allocation;
        EXPECT_EQ(1u, fault.Reached()) << allocation;
        EXPECT_EQ("", output) << allocation;
        EXPECT_EQ(0, tool.HelpRequested()) << allocation;
    }
    EXPECT_EQ("", log);
}

TEST_F(Tool, WithoutMemoryForAWordNoFurtherOneIsCopied)
{
    const TFault fault("operator new[] nothrow", {0, 0}, 2);
    const TCallWatch watch("operator new[] nothrow");

    EXPECT_FALSE(HandleArgs(&tool, {"tool", "a", "b"}));
    EXPECT_EQ(2u, watch.Calls());
}

TEST_F(Tool, WithoutMemoryForAWordTheCopiesBeforeItAreFreed)
{
    const std::vector<std::string> words(3, std::string(kLargeBlock, 'A'));
    const std::size_t before = AllocatedBytes();
    const TFault fault("operator new[] nothrow", {0, 0}, 4);

    EXPECT_FALSE(HandleArgs(&tool, words));
    EXPECT_EQ(1u, fault.Reached());
    EXPECT_EQ(0, LargeBlocksSince(before));
}

TEST_F(Tool, ThirtyTwoThousandSevenHundredAndSixtySevenWordsAreParsed)
{
    TGreedyArg greedy(&log);

    EXPECT_TRUE(HandleArgs(&tool, std::vector<std::string>(32768, "a")));
}

// 65,537 would be taken for none, which is acceptable.
TEST_F(Tool, MoreWordsThanCanBeCountedAreRefused)
{
    EXPECT_FALSE(HandleArgs(&tool, std::vector<std::string>(32769, "a")));
    EXPECT_FALSE(HandleArgs(&tool, std::vector<std::string>(65537, "a")));
    EXPECT_EQ("", output);
}

TEST_F(Tool, ACommandLineWithoutAProgramsNameIsRefused)
{
    TTestArg a(&log, "a");

    EXPECT_FALSE(HandleArgs(&tool, {}));
    EXPECT_EQ("", log);
}
