#include "tests/fuzz/DiskNamesReference.h"

#include <algorithm>

static bool Begins(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

bool BeginsLikeARawDisk(const std::string& pathname)
{
    return Begins(pathname, "/dev/rdisk");
}

bool IsNameOfPartition(const std::string& name)
{
    const std::size_t last = name.find_last_of("sk");
    return last != std::string::npos && name[last] == 's';
}

static std::size_t BehindLastK(const std::string& name)
{
    return name.rfind('k') + 1;   // 0 where there is none
}

std::uint32_t NumberBehindLastK(const std::string& name)
{
    std::string reversed = name.substr(BehindLastK(name));
    std::reverse(reversed.begin(), reversed.end());
    std::uint64_t number = 0;
    for (const char character : reversed)
        number = (number * 10 + static_cast<unsigned char>(character) + 48) % (std::uint64_t{1} << 32);
    return static_cast<std::uint32_t>(number);
}

std::string CutToDisk(std::string pathname)
{
    const auto start = pathname.begin() + static_cast<std::ptrdiff_t>(BehindLastK(pathname));
    std::replace(start, pathname.end(), 's', '\0');
    return pathname;
}

std::string CutToTrack(std::string pathname)
{
    const std::size_t last = pathname.rfind('s');
    if (last != std::string::npos)
        pathname[last] = '\0';
    return pathname;
}

// What is left from the first "disk" on that is found by going on behind each character that does not fit.
static std::string FromDiskOn(std::string text)
{
    while (!Begins(text, "disk")) {
        std::size_t fitting = 0;
        while (Begins(text, std::string("disk").substr(0, fitting + 1)))
            ++fitting;
        if (text.size() <= fitting)
            return "";
        text.erase(0, fitting + 1);
    }
    return text;
}

std::string BSDNameIn(const std::string& pathname, std::size_t longest)
{
    const std::string name = FromDiskOn(pathname);
    const bool digitsFollow = name.size() > 4 && name.find_first_not_of("0123456789s", 4) == std::string::npos;
    return digitsFollow && name.size() <= longest ? name : "";
}

std::string MountPathOf(const std::string& pathname, std::size_t room)
{
    std::string path;
    if (Begins(pathname, "/Volumes/")) {
        const std::size_t slash = pathname.find('/', 9);
        path = slash != std::string::npos ? pathname.substr(0, slash) : "";
    } else if (Begins(pathname, "/")) {
        path = "/";
    }
    return path.size() <= 1022 && path.size() < room ? path : "";
}
