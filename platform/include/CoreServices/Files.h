// The File Manager: references to files and folders, what the catalog knows of them, and the mounted volumes.
//
// Results are noErr or one of MacErrors.h. Outputs that nobody wants are null. What a function fails to find it leaves
// untouched, unless said otherwise.
//
// Members of the records lie at even places, not at multiples of their size: no reference may be bound to one. Who passes
// such a member by reference, as the EXPECT macros do, passes a copy: UInt32{date.lowSeconds}.

#ifndef HALVORIX_PLATFORM_FILES_H
#define HALVORIX_PLATFORM_FILES_H

#include <CoreServices/UTCUtils.h>
#include <MacTypes.h>
#include <hfs/hfs_unistr.h>

extern "C" {

#pragma pack(push, 2)

// The number of a mounted volume: -100 for the start-up volume, then downwards.
typedef SInt16 FSVolumeRefNum;
enum
{
    kFSInvalidVolumeRefNum = 0
};

#ifdef __LP64__
typedef int FSIORefNum;
#else
typedef SInt16 FSIORefNum;
#endif

// One file or folder. It is plain bytes: copied by assignment, never released, compared by FSCompareFSRefs alone.
struct FSRef
{
    UInt8 hidden[80];
};
typedef struct FSRef FSRef;

// The older kind of reference. None is ever made: its arguments must be null.
struct FSSpec;
typedef struct FSSpec* FSSpecPtr;

typedef UInt32 FSCatalogInfoBitmap;
enum
{
    kFSCatInfoNone = 0,
    kFSCatInfoNodeFlags = 0x0002,
    kFSCatInfoVolume = 0x0004,
    kFSCatInfoContentMod = 0x0040,
    kFSCatInfoFinderInfo = 0x0800,
    kFSCatInfoDataSizes = 0x4000,
    kFSCatInfoRsrcSizes = 0x8000,
    kFSCatInfoGettableInfo = 0x3ffff,
    kFSCatInfoSettableInfo = 0x1fe3
};
enum
{
    kFSNodeIsDirectoryBit = 4,
    kFSNodeIsDirectoryMask = 0x0010   // in nodeFlags
};

// 144 bytes. Fields that were not asked for keep what they held.
struct FSCatalogInfo
{
    UInt16 nodeFlags;
    FSVolumeRefNum volume;
    UInt32 parentDirID;
    UInt32 nodeID;
    UInt8 sharingFlags;
    UInt8 userPrivileges;
    UInt8 reserved1;
    UInt8 reserved2;
    UTCDateTime createDate;
    UTCDateTime contentModDate;
    UTCDateTime attributeModDate;
    UTCDateTime accessDate;
    UTCDateTime backupDate;
    UInt32 permissions[4];
    UInt8 finderInfo[16];   // FileInfo or FolderInfo of Finder.h
    UInt8 extFinderInfo[16];
    UInt64 dataLogicalSize;    // bytes; 0 of a folder, as the three others
    UInt64 dataPhysicalSize;   // in whole allocation blocks
    UInt64 rsrcLogicalSize;
    UInt64 rsrcPhysicalSize;
    UInt32 valence;
    TextEncoding textEncodingHint;
};
typedef struct FSCatalogInfo FSCatalogInfo;

typedef struct OpaqueFSIterator* FSIterator;
typedef OptionBits FSIteratorFlags;
enum
{
    kFSIterateFlat = 0,      // what is in the folder
    kFSIterateSubtree = 1,   // and in the folders therein
    kFSIterateDelete = 2
};

typedef UInt32 FSVolumeInfoBitmap;
enum
{
    kFSVolInfoNone = 0,
    kFSVolInfoSizes = 0x0040,    // totalBytes and freeBytes
    kFSVolInfoFSInfo = 0x4000,   // filesystemID and signature
    kFSVolInfoGettableInfo = 0xffff
};

struct FSVolumeInfo
{
    UTCDateTime createDate;
    UTCDateTime modifyDate;
    UTCDateTime backupDate;
    UTCDateTime checkedDate;
    UInt32 fileCount;
    UInt32 folderCount;
    UInt64 totalBytes;
    UInt64 freeBytes;
    UInt32 blockSize;
    UInt32 totalBlocks;
    UInt32 freeBlocks;
    UInt32 nextAllocation;
    UInt32 rsrcClumpSize;
    UInt32 dataClumpSize;
    UInt32 nextCatalogID;
    UInt8 finderInfo[32];
    UInt16 flags;
    UInt16 filesystemID;
    UInt16 signature;
    UInt16 driveNumber;
    FSIORefNum driverRefNum;
};
typedef struct FSVolumeInfo FSVolumeInfo;

// 32 bytes where pointers have 4.
struct GetVolParmsInfoBuffer
{
    SInt16 vMVersion;
    SInt32 vMAttrib;
    Handle vMLocalHand;
    SInt32 vMServerAdr;
    SInt32 vMVolumeGrade;
    SInt16 vMForeignPrivID;
    SInt32 vMExtendedAttributes;
    void* vMDeviceID;   // the BSD name, a C string that is never freed
    UniCharCount vMMaxNameLength;
};
typedef struct GetVolParmsInfoBuffer GetVolParmsInfoBuffer;

// Parameter blocks, as far as PBHGetVolParmsSync looks at them.
typedef struct QElem* QElemPtr;
typedef void (*IOCompletionUPP)(union ParamBlockRec*);

struct HIOParam
{
    QElemPtr qLink;
    SInt16 qType;
    SInt16 ioTrap;
    Ptr ioCmdAddr;
    IOCompletionUPP ioCompletion;
    volatile OSErr ioResult;
    StringPtr ioNamePtr;
    FSVolumeRefNum ioVRefNum;
    FSIORefNum ioRefNum;
    SInt8 ioVersNum;
    SInt8 ioPermssn;
    Ptr ioMisc;
    Ptr ioBuffer;
    SInt32 ioReqCount;
    SInt32 ioActCount;
    SInt16 ioPosMode;
    SInt32 ioPosOffset;
};
typedef struct HIOParam HIOParam;

union HParamBlockRec {
    HIOParam ioParam;
};
typedef union HParamBlockRec HParamBlockRec;
typedef HParamBlockRec* HParmBlkPtr;

#pragma pack(pop)

// References

// path         UTF-8, NUL-terminated; a relative one starts at the working folder, symbolic links are followed
// ref          receives the reference
// isDirectory  receives 1 or 0; may be null
// returns      fnfErr when there is nothing at the path, afpAccessDenied, errFSNameTooLong, paramErr for null
OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory);

// size     of the buffer in bytes, the NUL included
// returns  pathTooLongErr when it does not fit, errFSBadFSRef, fnfErr when the file or folder is no longer there
OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 size);

// Returns noErr when both are the same file or folder, whatever path they came from; otherwise diffVolErr or
// errFSRefsDifferent; errFSBadFSRef.
OSErr FSCompareFSRefs(const FSRef* one, const FSRef* other);

// Catalog

// whichInfo  what is wanted; anything but NodeFlags, Volume, ContentMod, FinderInfo, DataSizes and RsrcSizes ends the
//            process
// parent     receives the folder it stands in; of a volume's root a reference that is none
// returns    errFSBadFSRef, fnfErr, errFSBadInfoBitmap
OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* info, HFSUniStr255* name,
                       FSSpecPtr spec, FSRef* parent);

// whichInfo  what is set; anything settable but ContentMod and FinderInfo ends the process
// returns    as FSGetCatalogInfo; errFSMissingCatInfo for a null record, wPrErr, afpAccessDenied
//
// Dates are kept in whole seconds.
OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, const FSCatalogInfo* info);

// Starts to go through a folder, by the names of its items; a folder comes before what is in it. Another volume that is
// mounted there is not entered.
//
// iterator  receives the iterator, which FSCloseIterator frees; while it is open it counts as a live object
// returns   errFSNotAFolder, errFSBadIteratorFlags, errFSIteratorNotSupported (kFSIterateDelete), errFSBadFSRef, fnfErr
OSErr FSOpenIterator(const FSRef* container, FSIteratorFlags flags, FSIterator* iterator);

// Hands out the next items. Together with the last of them, or when there are none left, comes errFSNoMoreItems; so
// a folder of 5 gives 3 with noErr, 2 with errFSNoMoreItems, and one of 3 gives 3 with noErr, 0 with errFSNoMoreItems.
//
// maximum           how many items the arrays hold; 0 is errFSBadItemCount
// actual            receives how many items were handed out, whatever the result
// containerChanged  receives 0
// returns           errFSIteratorNotFound, and as FSGetCatalogInfo
OSErr FSGetCatalogInfoBulk(FSIterator iterator, ItemCount maximum, ItemCount* actual, Boolean* containerChanged,
                           FSCatalogInfoBitmap whichInfo, FSCatalogInfo* infos, FSRef* refs, FSSpecPtr specs,
                           HFSUniStr255* names);

OSErr FSCloseIterator(FSIterator iterator);

// Notifications

typedef UInt32 FNMessage;
enum
{
    kFNDirectoryModifiedMessage = 1
};
enum
{
    kFNNoImplicitAllSubscription = 1,
    kFNNotifyInBackground = 2
};

// Tells everybody who looks at a folder that it changed.
//
// folder   errFSNotAFolder when it is a file
// message  kFNDirectoryModifiedMessage; anything else is paramErr
OSStatus FNNotify(const FSRef* folder, FNMessage message, OptionBits flags);

// Volumes

// volume         the number of a mounted volume, or kFSInvalidVolumeRefNum to go by the index
// index          1 for the first mounted volume, 2 for the next ...; 0 to go by the number
// actualVolume   receives the number
// whichInfo      what is wanted; anything but Sizes and FSInfo ends the process
// rootDirectory  receives the volume's root
// returns        nsvErr when no mounted volume has the number or the index is beyond the last; errFSBadInfoBitmap
OSErr FSGetVolumeInfo(FSVolumeRefNum volume, ItemCount index, FSVolumeRefNum* actualVolume,
                      FSVolumeInfoBitmap whichInfo, FSVolumeInfo* info, HFSUniStr255* volumeName, FSRef* rootDirectory);

// Tells about the volume with the number ioVRefNum, when ioNamePtr is null; into the GetVolParmsInfoBuffer at ioBuffer.
//
// ioReqCount  how many bytes of it are wanted, counted as where pointers have 4: with 32 every field is filled, with 28
//             all but the last. On a host of wider pointers the buffer must be as large as its type.
// ioActCount  receives how many bytes of those were filled, counted alike
// returns     and sets ioResult to: nsvErr, paramErr without a buffer
OSErr PBHGetVolParmsSync(HParmBlkPtr block);
}

#endif
