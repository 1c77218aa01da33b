#include "platform/Data.h"
#include "platform/Objects.h"
#include "platform/PropertyList.h"
#include "platform/Strings.h"
#include "platform/Text.h"
#include "platform/URLs.h"

#include <CoreFoundation/CFBundle.h>
#include <CoreFoundation/CFURLAccess.h>

#include <sys/stat.h>

using namespace platform;

struct __CFBundle : TObject
{
    __CFBundle(const TType& type, CFURLRef folder) : TObject(type, 1), fFolder(folder) {}

    CFURLRef Folder() const { return static_cast<CFURLRef>(fFolder.Get()); }

    const TReference fFolder;
};

static const TType kBundleType = {"CFBundle", 30, Destroy<__CFBundle>, nullptr, nullptr};

CFTypeID CFBundleGetTypeID(void)
{
    return kBundleType.identifier;
}

static bool IsOfMode(const std::string& path, mode_t mode)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == mode;
}

CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef folder)
{
    std::string path;
    if (!AbsolutePath(folder, &path) || !IsOfMode(path, S_IFDIR))
        return nullptr;
    // Made anew from the path: the caller's URL may be relative, or have a NUL at its end.
    const auto* const bytes = reinterpret_cast<const UInt8*>(path.data());
    const auto length = static_cast<CFIndex>(path.size());
    return Make<__CFBundle>(kBundleType, CFURLCreateFromFileSystemRepresentation(allocator, bytes, length, true));
}

// What Contents/Info.plist says, or nothing.
static std::string ExecutableInInfo(CFURLRef folder)
{
    const TReference url(MakeURLBelow(folder, u"Contents/Info.plist"));
    CFDataRef data = nullptr;
    if (!CFURLCreateDataAndPropertiesFromResource(nullptr, static_cast<CFURLRef>(url.Get()), &data, nullptr, nullptr,
                                                  nullptr))
        return std::string();
    const TReference held(data);
    plist::TValue info;
    std::string error;
    if (!plist::Read(BytesOf(data), &info, &error))
        return std::string();
    const plist::TValue* const name = info.Find("CFBundleExecutable");
    return name != nullptr && name->kind == plist::Kind::kString ? name->text : std::string();
}

static std::u16string FolderNameWithoutExtension(CFURLRef folder)
{
    const TReference name(CFURLCopyLastPathComponent(folder));
    const std::u16string& text = UnitsOf(static_cast<CFStringRef>(name.Get()));
    return text.substr(0, text.find_last_of(u'.'));
}

CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle)
{
    const CFURLRef folder = As<__CFBundle>(bundle, kBundleType)->Folder();
    std::u16string name;
    Decode(ExecutableInInfo(folder), kCFStringEncodingUTF8, &name);
    if (name.empty())
        name = FolderNameWithoutExtension(folder);
    TReference executable(MakeURLBelow(folder, u"Contents/MacOS/" + name));
    std::string path;
    if (!AbsolutePath(static_cast<CFURLRef>(executable.Get()), &path) || !IsOfMode(path, S_IFREG))
        return nullptr;
    return static_cast<CFURLRef>(executable.Give());
}
