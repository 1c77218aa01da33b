#include "platform/KernelNames.h"

#include "platform/Counts.h"

#include <map>
#include <mutex>
#include <utility>

namespace platform {

struct TNamed
{
    TKernelObject object;
    unsigned references = 0;
};

// Never destroyed: threads may use names until the process ends.
struct TNames
{
    std::mutex lock;
    std::map<io_object_t, TNamed> named;
    std::map<std::uint64_t, io_object_t> entries;   // the names of entries, by identifier
    io_object_t next = 0x1003;
};

static TNames& Names()
{
    static auto* const gNames = new TNames;
    return *gNames;
}

// Adds the object under a name that is not in use. The lock is held.
static io_object_t AddObject(TNames& names, TKernelObject object)
{
    do {
        names.next += 4;
    } while (names.next < 0x1000 || names.named.count(names.next) != 0);
    names.named[names.next] = {std::move(object), 1};
    CountReference(+1);
    return names.next;
}

io_object_t NameEntry(std::uint64_t identifier)
{
    TNames& names = Names();
    const std::lock_guard<std::mutex> hold(names.lock);
    const auto known = names.entries.find(identifier);
    if (known != names.entries.end()) {
        ++names.named[known->second].references;
        CountReference(+1);
        return known->second;
    }
    TKernelObject entry;
    entry.identifier = identifier;
    return names.entries[identifier] = AddObject(names, std::move(entry));
}

io_object_t NameObject(TKernelObject object)
{
    TNames& names = Names();
    const std::lock_guard<std::mutex> hold(names.lock);
    return AddObject(names, std::move(object));
}

bool RetainName(io_object_t name)
{
    TNames& names = Names();
    const std::lock_guard<std::mutex> hold(names.lock);
    const auto found = names.named.find(name);
    if (found == names.named.end())
        return false;
    ++found->second.references;
    CountReference(+1);
    return true;
}

bool ReleaseName(io_object_t name, TKernelObject* last)
{
    TNames& names = Names();
    const std::lock_guard<std::mutex> hold(names.lock);
    const auto found = names.named.find(name);
    if (found == names.named.end()) {
        CountOverRelease();
        return false;
    }
    CountReference(-1);
    if (last != nullptr)
        last->identifier = 0;
    if (--found->second.references != 0)
        return true;
    if (found->second.object.kind == TKernelObject::Kind::kEntry)
        names.entries.erase(found->second.object.identifier);
    if (last != nullptr)
        *last = std::move(found->second.object);
    names.named.erase(found);
    return true;
}

bool FindName(io_object_t name, TKernelObject::Kind kind, std::uint64_t* identifier)
{
    TNames& names = Names();
    const std::lock_guard<std::mutex> hold(names.lock);
    const auto found = names.named.find(name);
    if (found == names.named.end() || found->second.object.kind != kind)
        return false;
    *identifier = found->second.object.identifier;
    return true;
}

bool EndConnection(io_connect_t name, std::uint64_t* identifier)
{
    TNames& names = Names();
    const std::lock_guard<std::mutex> hold(names.lock);
    const auto found = names.named.find(name);
    if (found == names.named.end() || found->second.object.kind != TKernelObject::Kind::kConnection)
        return false;
    *identifier = std::exchange(found->second.object.identifier, 0);
    return *identifier != 0;
}

bool TakeNext(io_iterator_t iterator, std::uint64_t* identifier)
{
    TNames& names = Names();
    const std::lock_guard<std::mutex> hold(names.lock);
    const auto found = names.named.find(iterator);
    if (found == names.named.end() || found->second.object.remaining.empty())
        return false;
    *identifier = found->second.object.remaining.back();
    found->second.object.remaining.pop_back();
    return true;
}

}   // namespace platform
