// The part of a machine that stands in its I/O Registry: whether the driver is loaded, and the media.

#include "lab/Files.h"
#include "lab/Machine.h"
#include "lab/Registry.h"

#include <cstdlib>

using plist::TValue;

namespace lab {

static const char* const kDriverClass = "com_halvorix_driver_Halvorix";
static const char* const kUnloadedDriver = "driver/unloaded.plist";

static std::string NoSuchMedium(const std::string& bsdName, TRegistry& registry)
{
    return "no disk has the name " + bsdName + "; the machine has " + InWords(registry.MediumNames());
}

bool TMachine::DriverIsLoaded() const
{
    return TRegistry(fFolder).FindClass(kDriverClass).entry != nullptr;
}

// The driver's entry as a kernel that has just matched it would publish it.
static TValue FreshDriverEntry()
{
    TValue entry = MakeEntry(kDriverClass, kDriverClass);
    entry.Set("CFBundleIdentifier", TValue::String("com.halvorix.driver.Halvorix"));
    entry.Set("IOClass", TValue::String(kDriverClass));
    entry.Set("IOMatchCategory", TValue::String(kDriverClass));
    entry.Set("IOProbeScore", TValue::Integer(0));
    entry.Set("IOProviderClass", TValue::String("IOResources"));
    entry.Set("IOResourceMatch", TValue::String("IOKit"));
    return entry;
}

std::string TMachine::LoadDriver()
{
    const TFileLock lock(fFolder + "/lock");
    TRegistry registry(fFolder);
    if (!registry.Error().empty())
        return registry.Error();
    if (registry.FindClass(kDriverClass).entry)
        return "the driver is loaded already; unload it first";

    // A driver that returns finds its volumes again.
    TValue entry;
    if (!ReadPropertyList(fFolder + "/" + kUnloadedDriver, &entry).empty() || entry.kind != plist::Kind::kDictionary)
        entry = FreshDriverEntry();
    const TFoundEntry resources = registry.FindClass("IOResources");
    registry.Add(resources.entry ? resources.entry : &registry.Root(), entry);
    const std::string error = registry.Save();
    if (error.empty())
        Remove(kUnloadedDriver);
    return error;
}

std::string TMachine::UnloadDriver()
{
    const TFileLock lock(fFolder + "/lock");
    TRegistry registry(fFolder);
    if (!registry.Error().empty())
        return registry.Error();
    const TFoundEntry driver = registry.FindClass(kDriverClass);
    if (!driver.entry)
        return "the driver is not loaded; load it first";

    std::string error = MakeFolder(fFolder + "/driver");
    if (error.empty())
        error = WriteText(kUnloadedDriver, plist::Write(*driver.entry));
    if (!error.empty())
        return error;
    registry.Remove(driver);
    error = registry.Save();
    if (error.empty()) {
        Remove("driver/queue");
        Remove("driver/queue-head");
    }
    return error;
}

// The number behind the last `letter` of a BSD name, "disk" or "s"; -1 when there is none.
static long long NumberBehind(const std::string& bsdName, const std::string& word)
{
    const std::size_t start = bsdName.rfind(word);
    if (start == std::string::npos || start + word.size() == bsdName.size())
        return -1;
    return std::atoll(bsdName.c_str() + start + word.size());
}

static TValue MakeMedium(const std::string& bsdName, std::uint64_t size, bool whole, long long minor)
{
    const long long unit = NumberBehind(bsdName, "disk");
    const long long partition = NumberBehind(bsdName, "s");
    TValue entry = MakeEntry("IOMedia", whole ? "External Media" : "Untitled " + std::to_string(partition));
    if (!whole) {
        entry.Set("IORegistryEntryLocation", TValue::String(std::to_string(partition)));
        entry.Set("Partition ID", TValue::Integer(partition));
    }
    entry.Set("BSD Major", TValue::Integer(14));
    entry.Set("BSD Minor", TValue::Integer(minor));
    entry.Set("BSD Name", TValue::String(bsdName));
    entry.Set("BSD Unit", TValue::Integer(unit));
    entry.Set("Content", TValue::String(whole ? "" : "Apple_HFS"));
    entry.Set("Content Hint", TValue::String(whole ? "" : "Apple_HFS"));
    entry.Set("Ejectable", TValue::Boolean(false));
    entry.Set("Leaf", TValue::Boolean(true));
    entry.Set("Preferred Block Size", TValue::Integer(512));
    entry.Set("Removable", TValue::Boolean(false));
    entry.Set("Size", TValue::Integer(static_cast<std::int64_t>(size)));
    entry.Set("Whole", TValue::Boolean(whole));
    entry.Set("Writable", TValue::Boolean(true));
    return entry;
}

std::string TMachine::AddMedium(const std::string& bsdName, const std::string& below, std::uint64_t size, bool whole)
{
    const TFileLock lock(fFolder + "/lock");
    TRegistry registry(fFolder);
    if (!registry.Error().empty())
        return registry.Error();
    if (bsdName.empty())
        return "a disk needs a name, such as disk9 or disk9s2";
    if (registry.FindMedium(bsdName).entry)
        return "a disk has the name " + bsdName + " already";

    TValue* parent = &registry.Root();
    if (!below.empty()) {
        parent = registry.FindMedium(below).entry;
        if (!parent)
            return NoSuchMedium(below, registry);
        parent->Set("Leaf", TValue::Boolean(false));
    }
    const auto minor = static_cast<long long>(registry.MediumNames().size());
    registry.Add(parent, MakeMedium(bsdName, size, whole, minor));
    return registry.Save();
}

std::string TMachine::RemoveMedium(const std::string& bsdName)
{
    const TFileLock lock(fFolder + "/lock");
    TRegistry registry(fFolder);
    if (!registry.Error().empty())
        return registry.Error();
    const TFoundEntry medium = registry.FindMedium(bsdName);
    if (!medium.entry || bsdName.empty())
        return NoSuchMedium(bsdName, registry);
    registry.Remove(medium);
    return registry.Save();
}

}   // namespace lab
