#include "platform/Matching.h"

#include "platform/Objects.h"
#include "platform/Registry.h"
#include "platform/Strings.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

using namespace platform;

// The keys of a matching dictionary that are looked at (IOKitKeys.h and IOBSD.h have them).
static const char kProviderClass[] = "IOProviderClass";
static const char kNameMatch[] = "IONameMatch";
static const char kPathMatch[] = "IOPathMatch";
static const char kBSDName[] = "BSD Name";

// Dictionaries

static TReference MakeText(const std::string& text)
{
    return TReference(CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8));
}

// Sets the entry unless the text is no UTF-8.
static bool SetText(CFMutableDictionaryRef matching, const char* key, const std::string& text)
{
    const TReference keyText = MakeText(key);
    const TReference value = MakeText(text);
    if (value)
        CFDictionarySetValue(matching, keyText.Get(), value.Get());
    return static_cast<bool>(value);
}

// A dictionary of these entries; null when one of the texts is no UTF-8.
static CFMutableDictionaryRef MakeMatching(const std::vector<std::pair<const char*, std::string>>& entries)
{
    CFMutableDictionaryRef matching = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                &kCFTypeDictionaryValueCallBacks);
    for (const auto& entry : entries) {
        if (!SetText(matching, entry.first, entry.second)) {
            CFRelease(matching);
            return nullptr;
        }
    }
    return matching;
}

CFMutableDictionaryRef IOServiceMatching(const char* name)
{
    return name != nullptr ? MakeMatching({{kProviderClass, name}}) : nullptr;
}

CFMutableDictionaryRef IOServiceNameMatching(const char* name)
{
    return name != nullptr ? MakeMatching({{kProviderClass, "IOService"}, {kNameMatch, name}}) : nullptr;
}

CFMutableDictionaryRef IOBSDNameMatching(mach_port_t masterPort, std::uint32_t, const char* bsdName)
{
    if (bsdName == nullptr || !IsMasterPort(masterPort))
        return nullptr;
    return MakeMatching({{kProviderClass, "IOService"}, {kBSDName, bsdName}});
}

CFMutableDictionaryRef IOOpenFirmwarePathMatching(mach_port_t masterPort, std::uint32_t, const char* path)
{
    if (path == nullptr || !IsMasterPort(masterPort))
        return nullptr;
    return MakeMatching({{kPathMatch, std::string("IODeviceTree:") + path}});
}

// Matching

// What a dictionary asks for.
class TWanted
{
public:
    TWanted(const TRegistry& registry, CFDictionaryRef matching);

    bool IsMatchedBy(const TEntry& entry) const;

private:
    // Whether the dictionary says anything about the key, and what: a value that is no text matches nothing.
    bool Asks(CFDictionaryRef matching, const char* key, std::string* text);

    const TRegistry& fRegistry;
    bool fCanMatch = true;
    bool fAsksClass = false;
    bool fAsksName = false;
    bool fAsksPath = false;
    bool fAsksBSDName = false;
    std::string fClass;
    std::string fName;
    std::string fBSDName;
    const TEntry* fAtPath = nullptr;
};

TWanted::TWanted(const TRegistry& registry, CFDictionaryRef matching) : fRegistry(registry)
{
    std::string path;
    fAsksClass = Asks(matching, kProviderClass, &fClass);
    fAsksName = Asks(matching, kNameMatch, &fName);
    fAsksPath = Asks(matching, kPathMatch, &path);
    fAsksBSDName = Asks(matching, kBSDName, &fBSDName);
    fAtPath = registry.FindPath(path);
    if (!fAsksClass && !fAsksName && !fAsksPath && !fAsksBSDName)
        fCanMatch = false;
}

bool TWanted::Asks(CFDictionaryRef matching, const char* key, std::string* text)
{
    const TReference keyText = MakeText(key);
    const CFTypeRef value = CFDictionaryGetValue(matching, keyText.Get());
    if (value == nullptr)
        return false;
    if (CFGetTypeID(value) == CFStringGetTypeID())
        *text = UTF8Of(static_cast<CFStringRef>(value));
    else
        fCanMatch = false;
    return true;
}

static bool HasBSDName(const TEntry& entry, const std::string& wanted)
{
    const plist::TValue* const name = entry.properties.Find(kBSDName);
    return name != nullptr && name->kind == plist::Kind::kString && name->text == wanted;
}

bool TWanted::IsMatchedBy(const TEntry& entry) const
{
    if (!fCanMatch || (fAsksClass && !fRegistry.ConformsTo(entry, fClass)) || (fAsksName && entry.name != fName))
        return false;
    if (fAsksBSDName && !HasBSDName(entry, fBSDName))
        return false;
    return !fAsksPath || (fAtPath != nullptr && fAtPath->identifier == entry.identifier);
}

std::vector<std::uint64_t> platform::MatchingEntries(CFDictionaryRef matching)
{
    const std::shared_ptr<const TRegistry> registry = TRegistry::Current();
    const TWanted wanted(*registry, matching);
    std::vector<std::uint64_t> found;
    for (auto entry = registry->Entries().rbegin(); entry != registry->Entries().rend(); ++entry) {
        if (wanted.IsMatchedBy(*entry))
            found.push_back(entry->identifier);
    }
    return found;
}
