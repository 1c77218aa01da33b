#include "framework/Tool.h"

#include "foundation/CaseFolding.h"
#include "foundation/Status.h"
#include "framework/Arg.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace {

// The command line in lower case.
class TLoweredArgs
{
public:
    // Copies as many words as there is memory for; what is behind them is then not to be looked at.
    TLoweredArgs(std::size_t count, char** argv);
    ~TLoweredArgs();

    TLoweredArgs(const TLoweredArgs&) = delete;
    TLoweredArgs& operator=(const TLoweredArgs&) = delete;

    // Whether every word was copied.
    bool Complete() const { return fComplete; }
    char** Words() const { return fWords.get(); }

private:
    std::unique_ptr<char*[]> fWords;   // null when there was no memory
    std::size_t fCount;
    bool fComplete;
};

TLoweredArgs::TLoweredArgs(std::size_t count, char** argv)
    : fWords(new (std::nothrow) char*[count]), fCount(count), fComplete(false)
{
    if (fWords == nullptr)
        return;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t size = strlen(argv[i]) + 1;
        fWords[i] = new (std::nothrow) char[size];
        if (fWords[i] == nullptr)
            return;
        memcpy(fWords[i], argv[i], size);
        ToLowerCStr(fWords[i]);
    }
    fComplete = true;
}

TLoweredArgs::~TLoweredArgs()
{
    if (fWords == nullptr)
        return;
    // Behind the first missing copy the array was never written.
    for (std::size_t i = 0; i < fCount && fWords[i] != nullptr; ++i)
        delete[] fWords[i];
}

}   // namespace

static bool AsksForHelp(const char* lowered)
{
    return strcmp(lowered, "help") == 0 || strcmp(lowered, "?") == 0;
}

TTool::TTool() : fHelpRequested(0) {}

TTool::~TTool() {}

SInt32 TTool::InitTool()
{
    fputs("InitTool\n", stdout);
    return kStatusOK;
}

SInt32 TTool::DoWork()
{
    fputs("DoWork\n", stdout);
    return kStatusOK;
}

void TTool::ShowHelp()
{
    fputs("Argument List: ", stdout);
    TArg::ListArgDescriptions();
    fputs("\n### No Help String available for this tool(blame the programmer who subclassed the TTool base class).\n",
          stdout);
}

void TTool::HandleError(short err)
{
    if (fHelpRequested == 0) {
        if (err == kStatusParameterError) {
            fputs("### Syntax error in command line.\n", stdout);
        } else {
            printf("### Tool execution stopped. Error #: %d.\n", err);
        }
    }
    ShowHelp();
}

bool TTool::HandleArgs(int argc, char** argv)
{
    // More words than a short counts would be taken for fewer.
    if (argc < 1 || argc - 1 > INT16_MAX)
        return false;

    const TLoweredArgs lowered(static_cast<std::size_t>(argc), argv);
    if (!lowered.Complete())
        return false;
    short remaining = static_cast<short>(argc - 1);
    if (remaining > 0 && AsksForHelp(lowered.Words()[1])) {
        fHelpRequested = 1;
        return false;
    }
    return TArg::ParseArgs(remaining, argv, lowered.Words());
}
