#include "framework/Arg.h"

#include <cstdio>
#include <new>

// Initialised by the compiler, so that it is there for descriptors that other files construct before this file's turn
// comes. It is also the one object of the process whose destructor runs at exit.
TArgList TArg::gArgList;

void TArgList::Append(TArg* arg)
{
    TLinkList::Append(new (std::nothrow) TArgNode(arg));
}

void TArgList::Prepend(TArg* arg)
{
    TLinkList::Prepend(new (std::nothrow) TArgNode(arg));
}

TArg::TArg(unsigned char required) : fFound(0), fRequired(required)
{
    gArgList.Append(this);
}

TArg::~TArg() {}

bool TArg::ProcessArg(short& remaining, short& index, char**, char** lowered)
{
    if (fFound != 0)
        return false;
    if (MatchArg(lowered[index]) == 0)
        return false;
    fFound = 1;
    ++index;
    --remaining;
    return true;
}

void TArg::ListArgDescriptions()
{
    for (TArgIterator iterator(&gArgList); iterator.CurrentNode() != nullptr; iterator.NextNode())
        iterator.ReturnArg()->DescribeArg();
}

bool TArg::RequiredArgs()
{
    bool complete = true;
    for (TArgIterator iterator(&gArgList); iterator.CurrentNode() != nullptr; iterator.NextNode()) {
        TArg* const arg = iterator.ReturnArg();
        if (arg->fRequired != 0 && arg->fFound == 0) {
            arg->ReportMissingArg();
            complete = false;
        }
    }
    return complete;
}

// Offers the word at `index` to every descriptor. Returns whether one claimed it.
static bool OfferArg(short& remaining, short& index, char** argv, char** lowered)
{
    for (TArgIterator iterator(&TArg::gArgList); iterator.CurrentNode() != nullptr; iterator.NextNode()) {
        if (iterator.ReturnArg()->ProcessArg(remaining, index, argv, lowered))
            return true;
    }
    return false;
}

bool TArg::ParseArgs(short& remaining, char** argv, char** lowered)
{
    if (gArgList.ReturnNthNode(0) == nullptr)
        return remaining == 0;

    short index = 1;
    while (remaining != 0) {
        if (!OfferArg(remaining, index, argv, lowered)) {
            printf("### Unrecognized argument: %s.\n", argv[index]);
            return false;
        }
    }
    return RequiredArgs();
}
