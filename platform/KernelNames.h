// The names under which this process knows things in the kernel, and how many references it holds to each.
//
// A registry entry has one name, which counts its references; an iterator and a connection have a name of their own.
// When the last reference is dropped the name is gone, and is not given again soon.

#ifndef HALVORIX_PLATFORM_KERNELNAMES_H
#define HALVORIX_PLATFORM_KERNELNAMES_H

#include <IOKit/IOTypes.h>

#include <cstdint>
#include <vector>

namespace platform {

struct TKernelObject
{
    enum class Kind
    {
        kEntry,
        kIterator,
        kConnection
    };

    Kind kind = Kind::kEntry;
    std::uint64_t identifier = 0;           // kEntry: the entry's; kConnection: the driver's, 0 when ended
    std::vector<std::uint64_t> remaining;   // kIterator: the entries that are to come, the next one last
};

// The name of the entry, with one more reference.
io_object_t NameEntry(std::uint64_t identifier);

// A new name for the object, with one reference.
io_object_t NameObject(TKernelObject object);

// Adds a reference. False when there is no such name.
bool RetainName(io_object_t name);

// Drops a reference. False, and counted, when there is no such name. With the last reference `last` receives the object
// (it may be null); otherwise its identifier becomes 0.
bool ReleaseName(io_object_t name, TKernelObject* last);

// What the name stands for. False when there is no such name, or it stands for something of another kind.
bool FindName(io_object_t name, TKernelObject::Kind kind, std::uint64_t* identifier);

// Ends a connection while its name stays. `identifier` receives its driver's. False when there is no such connection, or
// it was ended before.
bool EndConnection(io_connect_t name, std::uint64_t* identifier);

// Takes the next entry from an iterator. False at its end and for what is no iterator.
bool TakeNext(io_iterator_t iterator, std::uint64_t* identifier);

}   // namespace platform

#endif
