// Disk Arbitration's requests about volumes: mounting, unmounting and renaming, which init does.

#include "platform/DiskRequests.h"
#include "platform/Strings.h"

#include <algorithm>
#include <cstdio>

using namespace platform;

// Adds a line for each of the options, which stand separated by commas.
static void AddOptions(const std::string& options, std::string* request)
{
    for (std::size_t start = 0; start < options.size();) {
        const std::size_t end = std::min(options.find(',', start), options.size());
        if (end > start)
            *request += "option " + options.substr(start, end - start) + "\n";
        start = end + 1;
    }
}

// The text as the machine's files have it: what is not printable ASCII, and the backslash, as \xHH.
static std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        char digits[5];
        snprintf(digits, sizeof digits, "\\x%02x", static_cast<unsigned>(byte));
        escaped += byte >= 0x20 && byte < 0x7f && byte != '\\' ? std::string(1, character) : digits;
    }
    return escaped;
}

void DADiskMountWithArguments(DADiskRef disk, CFURLRef path, DADiskMountOptions options, DADiskMountCallback callback,
                              void* context, CFStringRef arguments[])
{
    const TMedium medium = MediumOf(disk);
    TDiskRequests& requests = RequestsOf(SessionOf(disk));
    std::string all;
    for (std::size_t i = 0; arguments != nullptr && arguments[i] != nullptr; ++i)
        all += "," + UTF8Of(arguments[i]);
    std::string request = "mount " + medium.bsdName + "\n";
    AddOptions(all, &request);

    if (path != nullptr || options != kDADiskMountOptionDefault)
        requests.Answer(medium, kDAReturnUnsupported, {callback, context});
    else if (all.find('\n') != std::string::npos)
        requests.Answer(medium, kDAReturnBadArgument, {callback, context});
    else
        requests.File(medium, "mount", request, {callback, context});
}

void DADiskMount(DADiskRef disk, CFURLRef path, DADiskMountOptions options, DADiskMountCallback callback, void* context)
{
    DADiskMountWithArguments(disk, path, options, callback, context, nullptr);
}

void DADiskUnmount(DADiskRef disk, DADiskUnmountOptions options, DADiskUnmountCallback callback, void* context)
{
    const TMedium medium = MediumOf(disk);
    TDiskRequests& requests = RequestsOf(SessionOf(disk));
    const bool force = (options & kDADiskUnmountOptionForce) != 0;
    if ((options & ~static_cast<DADiskUnmountOptions>(kDADiskUnmountOptionForce)) != 0)
        requests.Answer(medium, kDAReturnUnsupported, {callback, context});
    else
        requests.File(medium, "unmount", "unmount " + medium.bsdName + "\n" + (force ? "force\n" : ""),
                      {callback, context});
}

void DADiskRename(DADiskRef disk, CFStringRef name, DADiskRenameOptions options, DADiskRenameCallback callback,
                  void* context)
{
    const TMedium medium = MediumOf(disk);
    TDiskRequests& requests = RequestsOf(SessionOf(disk));
    const std::string request = "rename " + medium.bsdName + "\nname " + Escaped(UTF8Of(name)) + "\n";
    if (options != kDADiskRenameOptionDefault)
        requests.Answer(medium, kDAReturnUnsupported, {callback, context});
    else
        requests.File(medium, "rename", request, {callback, context});
}
