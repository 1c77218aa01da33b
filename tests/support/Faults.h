// Makes calls into the system and the frameworks fail, the n-th one, in the program that links the table of wraps.
//
// Every function of the table is linked as --wrap, so a call from the product, the platform or a test arrives here first.
// Calls that a function of the table makes of others while it works do not count: it is the product whose calls are
// made to fail. A disk's callback, which CFRunLoopRun calls, is the product again, and its calls count. Functions go by their
// names; the two allocating ones by "operator new nothrow" and "operator new[] nothrow".

#ifndef HALVORIX_TESTS_SUPPORT_FAULTS_H
#define HALVORIX_TESTS_SUPPORT_FAULTS_H

#include <CoreServices/CoreServices.h>

#include <functional>
#include <vector>

struct stat;

// What a call that is chosen to fail does instead of its work.
struct TFailure
{
    long result = -1;         // what it returns; 0 for null
    int error = 0;            // errno, when not 0
    long firstArgument = 0;   // when not 0, only calls with this first argument count
};

// From construction to destruction, calls `first` to `first + count - 1` (1 = the next call) of the named function fail
// as told, in every thread of this process. One fault a function at a time. A name that is not in the table ends the
// process.
class TFault
{
public:
    TFault(const char* function, TFailure failure, unsigned first = 1, unsigned count = 1);
    ~TFault();
    TFault(const TFault&) = delete;
    TFault& operator=(const TFault&) = delete;

    unsigned Reached() const;   // how many calls were made to fail

private:
    const char* fFunction;
};

// Counts calls of the named function while it lives, and lets a test look in at each. One watch a function at a time.
class TCallWatch
{
public:
    // The arguments of a call as integers, pointers included.
    using TArguments = std::vector<long>;

    // look  called before each call, in the calling thread; may be empty
    explicit TCallWatch(const char* function, std::function<void(const TArguments&)> look = nullptr);
    ~TCallWatch();
    TCallWatch(const TCallWatch&) = delete;
    TCallWatch& operator=(const TCallWatch&) = delete;

    unsigned Calls() const;

private:
    const char* fFunction;
};

// While it lives, the first `count` calls of write(2) take at most so many bytes, as a full buffer would make them.
class TShortWrites
{
public:
    explicit TShortWrites(unsigned bytes, unsigned count = ~0u);
    ~TShortWrites();
    TShortWrites(const TShortWrites&) = delete;
    TShortWrites& operator=(const TShortWrites&) = delete;
};

// While it lives, what stat(2) reports is changed before the caller sees it, for files that a test cannot own or make.
class TStatEdit
{
public:
    explicit TStatEdit(std::function<void(const char* path, struct stat* info)> edit);
    ~TStatEdit();
    TStatEdit(const TStatEdit&) = delete;
    TStatEdit& operator=(const TStatEdit&) = delete;
};

// What FSGetCatalogInfo or FSGetCatalogInfoBulk answers.
struct TCatalogAnswer
{
    OSErr status;
    FSCatalogInfo* items;   // may be null when one item was asked for
    ItemCount count;
};

// While it lives, those answers are changed before the caller sees them, for dates and ends that do not come about by
// themselves. One whose call was made to fail is changed as well.
class TCatalogEdit
{
public:
    explicit TCatalogEdit(std::function<void(TCatalogAnswer*)> edit);
    ~TCatalogEdit();
    TCatalogEdit(const TCatalogEdit&) = delete;
    TCatalogEdit& operator=(const TCatalogEdit&) = delete;
};

// Arms a fault that lasts until the process ends; for programs that are told by their environment.
void ArmFault(const char* function, TFailure failure, unsigned first, unsigned count);

#endif
