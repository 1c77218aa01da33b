// Names and paths of disks.
//
// An input is: a line, the length that a BSD name may have, below 300; a line, the room for a mount path, below 1,100 (both
// hexadecimal); and a pathname up to its first NUL.

#include "services/BSDNames.h"
#include "tests/fuzz/Comparison.h"
#include "tests/fuzz/DiskNamesReference.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Room.h"
#include "tests/fuzz/Targets.h"

// What becomes of a text that is changed in place, without its last NUL.
static std::string Changed(const std::string& text, void (*change)(char*))
{
    const TRoom changed(text);
    change(changed.Get());
    return changed.Bytes().substr(0, text.size());
}

static void TryBSDName(const TComparison& compare, const std::string& pathname, UInt32 longest)
{
    const std::string name = BSDNameIn(pathname, longest);
    std::string expected(longest + 1, '?');
    if (!name.empty())
        expected.replace(0, name.size() + 1, name.c_str(), name.size() + 1);

    const TRoom room(longest + 1);
    const UInt32 found = ExtractBSDNameFromPathname(TRoom(pathname).Get(), room.Get(), longest);
    compare.Same("whether there is a BSD name", !name.empty(), found);
    compare.Same("the BSD name's buffer", expected, room.Bytes());
}

static void TryVolumePath(const TComparison& compare, const std::string& pathname, UInt32 size)
{
    std::string expected = MountPathOf(pathname, size);
    const UInt32 isThere = expected.empty() ? 0 : 1;
    expected.resize(size, '\0');

    const TRoom room(size);
    const UInt32 found = ExtractVolumePathFromPathname(TRoom(pathname).Get(), room.Get(), size);
    compare.Same("whether there is a mount path", isThere, found);
    compare.Same("the mount path's buffer", expected, room.Bytes());
}

void TryDiskNames(const std::string& input)
{
    const TComparison compare(input);
    TInput parts(input);
    const auto longestName = static_cast<UInt32>(parts.Number(300));
    const auto pathRoom = static_cast<UInt32>(parts.Number(1100));
    const std::string pathname = parts.Rest().c_str();
    const TRoom text(pathname);

    compare.Same("whether it is a raw disk", BeginsLikeARawDisk(pathname), PathnameIsRawDisk(text.Get()));
    compare.Same("whether it is a partition", IsNameOfPartition(pathname), IsDiskAPartition(text.Get()));
    compare.Same("the slice number", NumberBehindLastK(pathname), ReturnPartitionSliceNumber(text.Get()));
    compare.Same("the disk's pathname", CutToDisk(pathname), Changed(pathname, ConvertPartitionPathnameToDiskPathname));
    compare.Same("the track's pathname", CutToTrack(pathname),
                 Changed(pathname, ConvertPartitionPathnameToTrackPathname));
    TryBSDName(compare, pathname, longestName);
    TryVolumePath(compare, pathname, pathRoom);
}
