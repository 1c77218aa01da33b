#include "framework/Arg.h"
#include "tests/framework/CapturedOutput.h"
#include "tests/framework/TestArg.h"
#include "tests/framework/VirtualSlots.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cstdlib>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// A descriptor that is constructed before anything that has no priority, and looked for when everything is constructed.
namespace {

std::string* gEarlyLog = nullptr;
TTestArg* gEarlyArg = nullptr;
bool gEarlyArgWasKept = false;

__attribute__((constructor(101))) void ConstructEarlyArg()
{
    gEarlyLog = new std::string;
    gEarlyArg = new TTestArg(gEarlyLog, "early");
}

class TEarlyArgCheck : public ::testing::Environment
{
public:
    void SetUp() override
    {
        gEarlyArgWasKept = TArg::gArgList.ReturnNth(0) == static_cast<TArg*>(gEarlyArg);
        delete gEarlyArg;
        delete gEarlyLog;
    }
};

::testing::Environment* const gEarlyArgCheck = ::testing::AddGlobalTestEnvironment(new TEarlyArgCheck);

}   // namespace

class Arguments : public TMachineTest
{
protected:
    // Parses words that stand behind the program's name. The lower-case words are the given ones with "l-" before them, so
    // that a test sees which of the two were used.
    bool Parse(const std::vector<std::string>& words)
    {
        std::vector<std::string> lowered = words;
        for (std::string& word : lowered)
            word = "l-" + word;
        std::vector<char*> givenPointers = PointersTo(words);
        std::vector<char*> loweredPointers = PointersTo(lowered);
        remaining = static_cast<short>(words.size());
        bool parsed = false;
        output = OutputOf([&] { parsed = TArg::ParseArgs(remaining, givenPointers.data(), loweredPointers.data()); });
        return parsed;
    }

    static std::vector<char*> PointersTo(const std::vector<std::string>& words)
    {
        static char program[] = "tool";
        std::vector<char*> pointers{program};
        for (const std::string& word : words)
            pointers.push_back(const_cast<char*>(word.c_str()));
        return pointers;
    }

    short remaining = 0;
    std::string output;
    std::string log;
};

TEST_F(Arguments, ADescriptorOfAnyFileIsListedHoweverEarlyItIsConstructed)
{
    ASSERT_NE(nullptr, gEarlyArgCheck);
    EXPECT_TRUE(gEarlyArgWasKept);
}

TEST_F(Arguments, TheListIsEmptyWithoutDescriptors)
{
    EXPECT_EQ(0, TArg::gArgList.Count());
}

TEST_F(Arguments, ANewDescriptorHasFoundNothing)
{
    const TTestArg optional(&log, "a", 0);
    const TTestArg required(&log, "b", 7);

    EXPECT_EQ(0, optional.Found());
    EXPECT_EQ(0, optional.Required());
    EXPECT_EQ(0, required.Found());
    EXPECT_EQ(7, required.Required());
}

TEST_F(Arguments, ADescriptorIsATableTheFoundFlagAndTheRequiredFlag)
{
    static_assert(sizeof(TArg) == 2 * sizeof(void*), "a pointer, two bytes and what aligns them");
    TTestArg arg(&log, "l-a", 7);
    Parse({"a"});

    const auto* const flags = reinterpret_cast<const unsigned char*>(static_cast<TArg*>(&arg)) + sizeof(void*);
    EXPECT_EQ(1, flags[0]);
    EXPECT_EQ(7, flags[1]);
}

TEST_F(Arguments, TheSlotsOfADescriptorAreInTheirOrder)
{
    alignas(TTestArg) unsigned char room[sizeof(TTestArg)];
    TArg* const arg = new (room) TTestArg(&log, "l-a");
    char word[] = "l-a";
    char* words[] = {word, word};
    short left = 1;
    short index = 1;

    EXPECT_EQ(1, VirtualSlot<UInt8(TArg*, const char*)>(arg, 2)(arg, "l-a"));
    VirtualSlot<void(TArg*)>(arg, 3)(arg);
    EXPECT_TRUE(VirtualSlot<bool(TArg*, short*, short*, char**, char**)>(arg, 4)(arg, &left, &index, words, words));
    VirtualSlot<void(TArg*)>(arg, 5)(arg);
    EXPECT_EQ("l-a?l-a l-a! l-a?l-a l-a: ", log);
    EXPECT_EQ(0, left);

    EXPECT_EQ(1, TArg::gArgList.Count());
    VirtualSlot<void(TArg*)>(arg, 0)(arg);
    EXPECT_EQ(0, TArg::gArgList.Count());
    // The deleting one; the check for leaks sees whether it deleted.
    TArg* const onHeap = new TTestArg(&log, "a word that is too long to stand inside the text's own object");
    VirtualSlot<void(TArg*)>(onHeap, 1)(onHeap);
    EXPECT_EQ(0, TArg::gArgList.Count());
}

// A descriptor that leaves TArg's destructor to do what it does.
class TForgottenArg : public TArg
{
public:
    TForgottenArg() : TArg(0) {}
    UInt8 MatchArg(const char*) override { return 0; }
    void ReportMissingArg() override {}
    void DescribeArg() override {}
};

TEST_F(Arguments, ADestroyedDescriptorStaysInTheList)
{
    // In memory that outlives it, since its address is looked for afterwards.
    alignas(TForgottenArg) unsigned char memory[sizeof(TForgottenArg)];
    auto* const arg = new (memory) TForgottenArg;
    arg->~TForgottenArg();

    EXPECT_EQ(1, TArg::gArgList.Count());
    TArg::gArgList.Unlink(static_cast<TArg*>(arg));
    EXPECT_EQ(0, TArg::gArgList.Count());
}

TEST_F(Arguments, DescriptorsStandInTheOrderOfTheirConstruction)
{
    TTestArg a(&log, "a");
    TTestArg b(&log, "b");
    TTestArg c(&log, "c");

    TArg::ListArgDescriptions();
    EXPECT_EQ("a: b: c: ", log);
}

TEST_F(Arguments, AListOfDescriptorsAppendsAndPrepends)
{
    TTestArg a(&log, "a");
    TTestArg b(&log, "b");
    TTestArg c(&log, "c");
    TArgList list;
    list.Append(&a);
    list.Append(&b);
    list.Prepend(&c);

    TArgIterator iterator(&list);
    EXPECT_EQ(&c, iterator.ReturnArg());
    iterator.NextNode();
    EXPECT_EQ(&a, iterator.ReturnArg());
    iterator.NextNode();
    EXPECT_EQ(&b, iterator.ReturnArg());
    iterator.NextNode();
    EXPECT_EQ(nullptr, iterator.ReturnArg());
}

TEST_F(Arguments, ANodesDataIsItsDescriptorWhichItDoesNotOwn)
{
    TTestArg a(&log, "a");
    TListNode* const node = new TArgNode(&a);
    EXPECT_EQ(static_cast<TArg*>(&a), node->fData);
    delete node;

    a.DescribeArg();
    EXPECT_EQ("a: ", log);
}

TEST_F(Arguments, WithoutMemoryForANodeADescriptorIsNotListed)
{
    const TFault fault("operator new nothrow", {0, 0}, 1, 2);
    TTestArg a(&log, "a");
    TArg::gArgList.Prepend(&a);

    EXPECT_EQ(2u, fault.Reached());
    EXPECT_EQ(0, TArg::gArgList.Count());
}

TEST_F(Arguments, WithoutDescriptorsOnlyAnEmptyCommandLineIsAcceptedAndNothingIsSaid)
{
    EXPECT_TRUE(Parse({}));
    EXPECT_EQ("", output);
    EXPECT_FALSE(Parse({"a"}));
    EXPECT_EQ("", output);
    EXPECT_EQ(1, remaining);
}

TEST_F(Arguments, WithDescriptorsAnEmptyCommandLineIsAcceptedUnlessOneIsRequired)
{
    TTestArg a(&log, "a", 0);
    EXPECT_TRUE(Parse({}));
    EXPECT_EQ("", log);

    TTestArg b(&log, "b", 1);
    EXPECT_FALSE(Parse({}));
    EXPECT_EQ("b! ", log);
    EXPECT_EQ("", output);
}

TEST_F(Arguments, DescriptorsSeeTheLowerCaseWords)
{
    TTestArg a(&log, "l-a");

    EXPECT_TRUE(Parse({"a"}));
    EXPECT_EQ("l-a?l-a ", log);
    EXPECT_EQ(1, a.Found());
    EXPECT_EQ(0, remaining);
}

TEST_F(Arguments, EachWordStartsAgainAtTheFirstDescriptor)
{
    TTestArg a(&log, "l-a");
    TTestArg b(&log, "l-b");
    TTestArg c(&log, "l-c");

    EXPECT_TRUE(Parse({"c", "b", "a"}));
    EXPECT_EQ("l-a?l-c l-b?l-c l-c?l-c l-a?l-b l-b?l-b l-a?l-a ", log);
}

TEST_F(Arguments, ADescriptorClaimsOneWordAndIsNotAskedAgain)
{
    TTestArg a(&log, "l-a");

    EXPECT_FALSE(Parse({"a", "A-is-next", "a"}));
    EXPECT_EQ("l-a?l-a ", log);
    EXPECT_EQ("### Unrecognized argument: A-is-next.\n", output);
}

TEST_F(Arguments, TheSameWordTwiceIsNotRecognizedTheSecondTime)
{
    TTestArg a(&log, "l-a");

    EXPECT_FALSE(Parse({"a", "a"}));
    EXPECT_EQ("### Unrecognized argument: a.\n", output);
    EXPECT_EQ(1, remaining);
}

TEST_F(Arguments, TheSameWordTwiceGoesToTwoDescriptorsThatBothAcceptIt)
{
    TTestArg first(&log, "l-a");
    TTestArg second(&log, "l-a");

    EXPECT_TRUE(Parse({"a", "a"}));
    EXPECT_EQ(1, second.Found());
}

TEST_F(Arguments, AnUnrecognizedWordIsPrintedAsItWasGiven)
{
    TTestArg a(&log, "l-a");

    EXPECT_FALSE(Parse({"a", "100% NeW"}));
    EXPECT_EQ("### Unrecognized argument: 100% NeW.\n", output);
}

TEST_F(Arguments, AnUnrecognizedWordEndsTheParseBeforeRequiredOnesAreMissed)
{
    TTestArg a(&log, "l-a");
    TTestArg b(&log, "l-b", 1);

    EXPECT_FALSE(Parse({"x", "b"}));
    EXPECT_EQ("l-a?l-x l-b?l-x ", log);
    EXPECT_EQ(0, b.Found());
}

TEST_F(Arguments, EveryMissingRequiredArgumentIsReported)
{
    TTestArg a(&log, "l-a", 1);
    TTestArg b(&log, "l-b", 0);
    TTestArg c(&log, "l-c", 255);
    TTestArg d(&log, "l-d", 1);

    EXPECT_FALSE(Parse({"d"}));
    EXPECT_EQ("l-a?l-d l-b?l-d l-c?l-d l-d?l-d l-a! l-c! ", log);
    EXPECT_EQ("", output);
}

TEST_F(Arguments, RequiredArgumentsThatWereFoundAreNotMissed)
{
    TTestArg a(&log, "l-a", 1);

    EXPECT_TRUE(Parse({"a"}));
    EXPECT_TRUE(TArg::RequiredArgs());
    EXPECT_EQ("l-a?l-a ", log);
}

TEST_F(Arguments, AnyAnswerButZeroAccepts)
{
    TTestArg a(&log, "l-a");
    a.fAnswer = 128;

    EXPECT_TRUE(Parse({"a"}));
    EXPECT_EQ(1, a.Found());
}

TEST_F(Arguments, AClaimedWordIsCountedAndARefusedOneIsNot)
{
    TTestArg a(&log, "b");
    char first[] = "a";
    char second[] = "b";
    char* words[] = {first, first, second};
    short left = 2;
    short index = 1;

    EXPECT_FALSE(a.ProcessArg(left, index, words, words));
    EXPECT_EQ(2, left);
    EXPECT_EQ(1, index);
    index = 2;
    EXPECT_TRUE(a.ProcessArg(left, index, words, words));
    EXPECT_EQ(1, left);
    EXPECT_EQ(3, index);
    index = 2;
    EXPECT_FALSE(a.ProcessArg(left, index, words, words));
    EXPECT_EQ(1, left);
    EXPECT_EQ("b?a b?b ", log);
}

TEST_F(Arguments, FoundFlagsLastForTheProcess)
{
    TTestArg a(&log, "l-a");

    EXPECT_TRUE(Parse({"a"}));
    EXPECT_FALSE(Parse({"a"}));
}

// Writes a letter to a descriptor when it is destroyed.
struct TReportingNode : TArgNode
{
    TReportingNode(TArg* arg, int descriptor) : TArgNode(arg), fDescriptor(descriptor) {}
    ~TReportingNode() override
    {
        if (write(fDescriptor, "n", 1) != 1)
            abort();
    }
    int fDescriptor;
};

struct TReportingArg : TForgottenArg
{
    explicit TReportingArg(int descriptor) : fDescriptor(descriptor) {}
    ~TReportingArg() override
    {
        if (write(fDescriptor, "d", 1) != 1)
            abort();
    }
    int fDescriptor;
};

TEST_F(Arguments, WhenTheProcessExitsTheNodesAreFreedAndNotTheDescriptors)
{
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        auto* const arg = new TReportingArg(ends[1]);
        TArg::gArgList.TLinkList::Append(new TReportingNode(arg, ends[1]));
        exit(0);
    }
    close(ends[1]);
    std::string reported;
    for (char letter; read(ends[0], &letter, 1) == 1;)
        reported += letter;
    close(ends[0]);
    waitpid(child, nullptr, 0);

    EXPECT_EQ("n", reported);
}
