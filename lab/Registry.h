// The I/O Registry's files as trees that can be searched and changed.

#ifndef HALVORIX_LAB_REGISTRY_H
#define HALVORIX_LAB_REGISTRY_H

#include "platform/PropertyList.h"

#include <functional>
#include <string>
#include <vector>

namespace lab {

// The key of the number that an entry has in the IOService plane.
inline constexpr char kIdentifierKey[] = "IORegistryEntryID";

// An entry and where it hangs. Pointers hold until its tree is changed.
struct TFoundEntry
{
    plist::TValue* entry = nullptr;    // null when nothing was found
    plist::TValue* parent = nullptr;   // null for the root
    std::size_t index = 0;             // among the parent's children
};

class TRegistry
{
public:
    // machine         the machine's folder. Whoever saves holds the machine's lock from before this on.
    // withDeviceTree  false: the device tree is not read, which takes its time, and nothing may be changed
    explicit TRegistry(const std::string& machine, bool withDeviceTree = true);

    // Empty, or one line that says why the registry could not be read.
    const std::string& Error() const { return fError; }

    plist::TValue& Root() { return fRoot; }
    plist::TValue& DeviceTree() { return fDeviceTree; }

    // The first entry of the IOService plane, parents before their children, for which the condition holds.
    TFoundEntry Find(const std::function<bool(const plist::TValue&)>& condition);
    TFoundEntry FindClass(const std::string& className);
    TFoundEntry FindMedium(const std::string& bsdName);
    // By its BSD name, or else by its name.
    TFoundEntry FindNamed(const std::string& name);

    // The entry of the IOService plane with this identifier, and that of the device tree; an entry may stand in both.
    plist::TValue* WithIdentifier(long long identifier);
    plist::TValue* InDeviceTree(long long identifier);
    // The device tree's entry with this path, "/" or "/pci@f4000000/ata-6@D"; null when there is none.
    plist::TValue* AtDeviceTreePath(const std::string& path);

    // Sets a property of the entry in both planes, if it stands in both; null removes it. Returns an empty text, or one line
    // that says why not: there is no such property to remove, or the key is one that only makes up the tree.
    std::string ChangeProperty(long long identifier, const std::string& key, const plist::TValue* value);

    // The BSD names of all media, in the registry's order. Network interfaces have BSD names, too, and are none.
    std::vector<std::string> MediumNames();

    // Adds the entry as the parent's last child. It and those below it receive identifiers that were never used.
    void Add(plist::TValue* parent, plist::TValue entry);
    // Removes the entry of the IOService plane and those below it, from the device tree as well.
    void Remove(const TFoundEntry& found);

    // Writes the trees that were changed and the next identifier. Returns an empty text, or one line that says what failed.
    std::string Save() const;

private:
    void GiveIdentifiers(plist::TValue* entry);
    void RemoveFromDeviceTree(const plist::TValue& entry);

    std::string fFolder;
    plist::TValue fRoot;
    plist::TValue fDeviceTree;
    bool fDeviceTreeChanged = false;
    std::string fError;
    long long fNextIdentifier = 0;
};

// What an entry holds under a key, as text; empty when there is none or it is no text.
std::string TextOf(const plist::TValue& entry, const std::string& key);
// Likewise, as a number or a truth; 0 and false when there is none.
long long NumberOf(const plist::TValue& entry, const std::string& key);
bool TruthOf(const plist::TValue& entry, const std::string& key);

// The BSD name of a medium, "disk0s3"; empty when the entry is none, such as a network interface with the name "en0".
std::string MediumNameOf(const plist::TValue& entry);

// The entry's children, which may be none.
const std::vector<plist::TValue>& ChildrenOf(const plist::TValue& entry);

// Its name in its plane with its location: "k2-sata@0", "/", "@0:3".
std::string NameWithLocation(const plist::TValue& entry);

// Appends the path from the entry to the first one, itself or below it, for which the condition holds: "" for itself,
// "/pci@f4000000/ata-6@D". Returns false, with nothing appended, when there is none.
bool AppendPath(const plist::TValue& entry, const std::function<bool(const plist::TValue&)>& condition,
                std::string* path);

// Takes the key out of a dictionary. Returns whether it was there.
bool RemoveKey(plist::TValue* dictionary, const std::string& key);

// An entry of this class and name, with nothing more in it.
plist::TValue MakeEntry(const std::string& className, const std::string& name);

// Reads a property list file. Returns an empty text, or one line that says what is wrong with it.
std::string ReadPropertyList(const std::string& path, plist::TValue* value);

}   // namespace lab

#endif
