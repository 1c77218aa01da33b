// What the Finder keeps about a file or a folder: the content of FSCatalogInfo's finderInfo. Numbers are in the host's byte
// order.

#ifndef HALVORIX_PLATFORM_FINDER_H
#define HALVORIX_PLATFORM_FINDER_H

#include <MacTypes.h>

enum
{
    kIsInvisible = 0x4000   // in finderFlags
};

#pragma pack(push, 2)

struct FileInfo
{
    OSType fileType;
    OSType fileCreator;
    UInt16 finderFlags;
    Point location;
    UInt16 reservedField;
};
typedef struct FileInfo FileInfo;

struct FolderInfo
{
    Rect windowBounds;
    UInt16 finderFlags;
    Point location;
    UInt16 reservedField;
};
typedef struct FolderInfo FolderInfo;

#pragma pack(pop)

#endif
