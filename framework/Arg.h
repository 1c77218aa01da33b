// Descriptors of a tool's command-line arguments, which register themselves in one list and claim the words one by one.
//
// A tool derives a class from TArg for each kind of argument and makes a static object for each argument.
// TTool::HandleArgs (Tool.h) then offers the words to the descriptors, in the order in which these were constructed.

#ifndef HALVORIX_FRAMEWORK_ARG_H
#define HALVORIX_FRAMEWORK_ARG_H

#include "framework/LinkList.h"

class TArg;

// A node that points to a descriptor and does not own it.
class TArgNode : public TListNode
{
public:
    // arg  the descriptor; outlives the node
    explicit TArgNode(TArg* arg) { fData = arg; }
};

// A list of descriptors. It owns its nodes, not the descriptors: Unlink takes one out, RemoveNode and DeleteListData,
// which free the data, are not for it.
class TArgList : public TLinkList
{
public:
    constexpr TArgList() {}

    // Puts a descriptor at the end or at the front. Without memory for a node nothing happens.
    //
    // arg  stays its maker's; outlives its place in the list
    void Append(TArg* arg);
    void Prepend(TArg* arg);
};

// Goes through a TArgList.
class TArgIterator : public TIterator
{
public:
    // list  not null; outlives the iterator, which stands on its first node
    explicit TArgIterator(TArgList* list) : TIterator(list) {}

    // Returns the current descriptor, or null behind the last.
    TArg* ReturnArg() const { return static_cast<TArg*>(ReturnNodeData()); }
};

// One argument of the command line. Descriptors are never taken out of the list, so they live as long as the process.
class TArg
{
public:
    // Puts the new descriptor at the end of gArgList. Without memory for that, it is offered no word and never missed.
    // required  not 0: the argument must be there
    explicit TArg(unsigned char required);
    virtual ~TArg();

    TArg(const TArg&) = delete;
    TArg& operator=(const TArg&) = delete;

    // Says whether this descriptor accepts a word, and keeps what it reads from it.
    // lowered  the word in lower case (ToLowerCStr); stays the caller's
    // returns  0 when it refuses
    virtual UInt8 MatchArg(const char* lowered) = 0;

    // Prints the complaint of a required argument that was not there, to standard output.
    virtual void ReportMissingArg() = 0;

    // Offers this descriptor the word at `index`. A descriptor that has claimed a word refuses every further one,
    // unasked.
    //
    // remaining  how many words are left to claim; one less when the word is claimed
    // index      the word's place in both arrays; one more when it is claimed
    // argv       the words as they were given; they stay the caller's
    // lowered    the same in lower case; they stay the caller's, so a descriptor copies what it keeps
    // returns    whether the word was claimed
    virtual bool ProcessArg(short& remaining, short& index, char** argv, char** lowered);

    // Prints this argument's line of the argument list, to standard output.
    virtual void DescribeArg() = 0;

    // Calls DescribeArg on every descriptor, in the order of the list.
    static void ListArgDescriptions();

    // Calls ReportMissingArg on every descriptor that is required and found nothing. Returns true when there was none, and
    // false when there was one or more.
    static bool RequiredArgs();

    // Offers each word to every descriptor in turn, from the first on.
    //
    // remaining  how many words there are behind argv[0]; counts down to 0 as they are claimed
    // argv       the words as they were given, argv[0] first; they stay the caller's
    // lowered    the same in lower case; they stay the caller's
    // returns    true when every word was claimed and RequiredArgs found none missing. False at the first word that nobody
    //            claims; standard output then gets "### Unrecognized argument: ", the word as it was given and ".\n".
    //
    // Without any descriptor the result is whether there was no word, and nothing is printed.
    static bool ParseArgs(short& remaining, char** argv, char** lowered);

    // Every descriptor of the process. Constructed before any descriptor, wherever that is defined; its nodes are freed
    // when the process exits.
    static TArgList gArgList;

protected:
    UInt8 fFound;      // 1: has claimed a word; never reset
    UInt8 fRequired;   // not 0: must be there
};

#endif
