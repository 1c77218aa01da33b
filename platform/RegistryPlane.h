// One plane of the I/O Registry: a tree of entries, and the paths by which they are found.

#ifndef HALVORIX_PLATFORM_REGISTRYPLANE_H
#define HALVORIX_PLATFORM_REGISTRYPLANE_H

#include "platform/PropertyList.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

struct TEntry
{
    std::uint64_t identifier = 0;   // never used twice; the same in each plane that the entry stands in
    std::string className;
    std::string name;           // in this plane; an entry without one is named for its class
    std::string location;       // in this plane: "3", "0,f2000000", "0:4"; empty: it has none
    std::size_t parent = 0;     // the index of the entry above it; the root is its own
    plist::TValue properties;   // a dictionary
};

class TPlane
{
public:
    // name  "IOService"
    // file  what messages call the file that the plane was read from
    // text  the file; one that is empty or cannot be read makes a plane without entries, with one line on standard error
    //       for the latter
    TPlane(const char* name, const char* file, const std::string& text);

    const std::string& Name() const { return fName; }

    // Each entry before those below it, those before its neighbour.
    const std::vector<TEntry>& Entries() const { return fEntries; }

    // The entry with the identifier, or null.
    const TEntry* Find(std::uint64_t identifier) const;

    // The entry above, or null for the root.
    const TEntry* ParentOf(const TEntry& entry) const;

    // Whether the entry is the other or stands somewhere below it.
    bool IsBelow(const TEntry& entry, const TEntry& other) const;

    // The entry with this path, or null. A path is "/" and elements separated by slashes, each NAME or NAME@LOCATION; it
    // begins below the root's first child, whose own path is "/". An element finds the first entry that it fits: a NAME
    // alone fits every location. In a location the digits are hexadecimal numbers: "C" is "c" and "0c". An entry with an
    // empty name is found by its location, whatever name stands before that: "disk@0:3" as well as "@0:3".
    // What hangs from the root beside its first child is found by a path that begins with its own name; the first child's name
    // begins no path.
    const TEntry* FindPath(std::string_view path) const;

    // The path of an entry of this plane. False for the root, which has none.
    bool GetPath(const TEntry& entry, std::string* path) const;

private:
    bool AddEntry(plist::TValue* dictionary, std::size_t parent);
    const TEntry* FindBelow(const TEntry& top, std::string_view path) const;
    const TEntry* TakeElement(const TEntry& above, std::string_view* path) const;

    const std::string fName;
    std::vector<TEntry> fEntries;
};

}   // namespace platform

#endif
