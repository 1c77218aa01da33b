// A tool's command line.
//
// An input is: a line, the arguments that the tool knows, separated by blanks, with a "!" before those that are required; a
// line, the status of a failure, in hexadecimal digits; and lines, the words that the tool is given. Of known arguments the
// first 16 count, of words the first 40.

#include "framework/Arg.h"
#include "framework/Tool.h"
#include "tests/fuzz/ArgumentsReference.h"
#include "tests/fuzz/Comparison.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Targets.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

static const std::size_t kMostArguments = 16;
static const std::size_t kMostWords = 40;

namespace {

// Accepts one word and writes down what it is asked.
class TKnownArg : public TArg
{
public:
    TKnownArg(const TKnownArgument& known, std::size_t number, std::string* asked)
        : TArg(known.required ? 1 : 0), fWord(known.word), fNumber(std::to_string(number)), fAsked(asked)
    {
    }

    // Unlike a tool's own, these do not live as long as the process.
    ~TKnownArg() override { gArgList.Unlink(static_cast<TArg*>(this)); }

    UInt8 MatchArg(const char* lowered) override
    {
        *fAsked += fNumber + "?" + lowered + " ";
        return fWord == lowered;
    }
    void ReportMissingArg() override { *fAsked += fNumber + "! "; }
    void DescribeArg() override { printf("%s: ", fNumber.c_str()); }

private:
    std::string fWord;
    std::string fNumber;
    std::string* fAsked;
};

class TOpenedTool : public TTool
{
public:
    using TTool::fHelpRequested;
};

}   // namespace

// Runs the code and returns what it printed. Without descriptors, which would be slow.
static std::string PrintedBy(const std::function<void()>& code)
{
    char* text = nullptr;
    std::size_t size = 0;
    FILE* const before = stdout;
    stdout = open_memstream(&text, &size);
    code();
    fclose(stdout);
    stdout = before;
    const std::string printed(text, size);
    free(text);
    return printed;
}

static std::vector<TKnownArgument> ReadKnown(const std::string& line)
{
    std::string rest = line;
    std::vector<TKnownArgument> known;
    while (!rest.empty() && known.size() < kMostArguments) {
        const std::string word = TakeWord(&rest);
        const bool required = word.rfind('!', 0) == 0;
        known.push_back({word.substr(required), required});
    }
    return known;
}

static bool HandleArgs(TTool* tool, const std::vector<std::string>& words)
{
    std::vector<std::string> given = words;
    std::string name = "tool";
    std::vector<char*> argv = {name.data()};
    for (std::string& word : given)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    return tool->HandleArgs(static_cast<int>(words.size()) + 1, argv.data());
}

void TryArguments(const std::string& input)
{
    const TComparison compare(input);
    TInput parts(input);
    const std::vector<TKnownArgument> known = ReadKnown(parts.TextLine());
    const auto status = static_cast<short>(parts.Number());
    std::vector<std::string> words;
    while (!parts.AtEnd() && words.size() < kMostWords)
        words.push_back(parts.TextLine());

    std::string asked;
    std::vector<std::unique_ptr<TKnownArg>> arguments;
    for (const TKnownArgument& argument : known)
        arguments.push_back(std::make_unique<TKnownArg>(argument, arguments.size(), &asked));
    TOpenedTool tool;
    bool handled = false;
    const std::string printed = PrintedBy([&] { handled = HandleArgs(&tool, words); });

    const TCommandLineResult expected = ResultOfCommandLine(known, words);
    compare.Same("whether the tool may go on", expected.handled, handled);
    compare.Same("whether help was asked for", expected.helpRequested, tool.fHelpRequested);
    compare.Same("what the arguments were asked", expected.asked, asked);
    compare.Same("what was printed", expected.printed, printed);
    compare.Same("what is printed about a failure", TextOfError(expected, status, known.size()),
                 PrintedBy([&] { tool.HandleError(status); }));
}
