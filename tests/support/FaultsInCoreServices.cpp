// The functions of the File Manager, the Process Manager and their neighbours in the table of faults.

#include "tests/support/FaultTable.h"

#include <ApplicationServices/ApplicationServices.h>
#include <CoreServices/CoreServices.h>
#include <utility>

static std::function<void(TCatalogAnswer*)>* gCatalogEdit = nullptr;

// What the caller sees of an answer of the catalog. count is null when one item was asked for.
static OSErr EditedCatalog(OSErr status, FSCatalogInfo* items, ItemCount* count)
{
    if (gCatalogEdit == nullptr || gInside != 0)
        return status;
    TCatalogAnswer answer{status, items, count != nullptr ? *count : 1};
    (*gCatalogEdit)(&answer);
    if (count != nullptr)
        *count = answer.count;
    return answer.status;
}

extern "C" {

static TListed kAddAtomic("AddAtomic", kNeverFails);
SInt32 __real_AddAtomic(SInt32, SInt32*);
SInt32 __wrap_AddAtomic(SInt32 amount, SInt32* address)
{
    return Call(kAddAtomic, __real_AddAtomic, amount, address);
}

static TListed kFNNotify("FNNotify", Fails(ioErr));
OSStatus __real_FNNotify(const FSRef*, FNMessage, OptionBits);
OSStatus __wrap_FNNotify(const FSRef* item, FNMessage message, OptionBits options)
{
    return Call(kFNNotify, __real_FNNotify, item, message, options);
}

static TListed kFSCloseIterator("FSCloseIterator", FailsThoughDone(ioErr));
OSErr __real_FSCloseIterator(FSIterator);
OSErr __wrap_FSCloseIterator(FSIterator iterator)
{
    return Call(kFSCloseIterator, __real_FSCloseIterator, iterator);
}

static TListed kFSCompareFSRefs("FSCompareFSRefs", Fails(errFSRefsDifferent));
OSErr __real_FSCompareFSRefs(const FSRef*, const FSRef*);
OSErr __wrap_FSCompareFSRefs(const FSRef* one, const FSRef* other)
{
    return Call(kFSCompareFSRefs, __real_FSCompareFSRefs, one, other);
}

static TListed kFSGetCatalogInfo("FSGetCatalogInfo", Fails(ioErr));
OSErr __real_FSGetCatalogInfo(const FSRef*, FSCatalogInfoBitmap, FSCatalogInfo*, HFSUniStr255*, FSSpecPtr, FSRef*);
OSErr __wrap_FSGetCatalogInfo(const FSRef* item, FSCatalogInfoBitmap which, FSCatalogInfo* info, HFSUniStr255* name,
                              FSSpecPtr spec, FSRef* parent)
{
    const OSErr status = Call(kFSGetCatalogInfo, __real_FSGetCatalogInfo, item, which, info, name, spec, parent);
    return EditedCatalog(status, info, nullptr);
}

static TListed kFSGetCatalogInfoBulk("FSGetCatalogInfoBulk", Fails(ioErr));
OSErr __real_FSGetCatalogInfoBulk(FSIterator, ItemCount, ItemCount*, Boolean*, FSCatalogInfoBitmap, FSCatalogInfo*,
                                  FSRef*, FSSpecPtr, HFSUniStr255*);
OSErr __wrap_FSGetCatalogInfoBulk(FSIterator iterator, ItemCount maximum, ItemCount* count, Boolean* changed,
                                  FSCatalogInfoBitmap which, FSCatalogInfo* infos, FSRef* items, FSSpecPtr specs,
                                  HFSUniStr255* names)
{
    const OSErr status = Call(kFSGetCatalogInfoBulk, __real_FSGetCatalogInfoBulk, iterator, maximum, count, changed,
                              which, infos, items, specs, names);
    return EditedCatalog(status, infos, count);
}

static TListed kFSGetVolumeInfo("FSGetVolumeInfo", Fails(nsvErr));
OSErr __real_FSGetVolumeInfo(FSVolumeRefNum, ItemCount, FSVolumeRefNum*, FSVolumeInfoBitmap, FSVolumeInfo*,
                             HFSUniStr255*, FSRef*);
OSErr __wrap_FSGetVolumeInfo(FSVolumeRefNum volume, ItemCount index, FSVolumeRefNum* actual, FSVolumeInfoBitmap which,
                             FSVolumeInfo* info, HFSUniStr255* name, FSRef* root)
{
    return Call(kFSGetVolumeInfo, __real_FSGetVolumeInfo, volume, index, actual, which, info, name, root);
}

static TListed kFSOpenIterator("FSOpenIterator", Fails(ioErr));
OSErr __real_FSOpenIterator(const FSRef*, FSIteratorFlags, FSIterator*);
OSErr __wrap_FSOpenIterator(const FSRef* folder, FSIteratorFlags flags, FSIterator* iterator)
{
    return Call(kFSOpenIterator, __real_FSOpenIterator, folder, flags, iterator);
}

static TListed kFSPathMakeRef("FSPathMakeRef", Fails(fnfErr));
OSStatus __real_FSPathMakeRef(const UInt8*, FSRef*, Boolean*);
OSStatus __wrap_FSPathMakeRef(const UInt8* path, FSRef* item, Boolean* isDirectory)
{
    return Call(kFSPathMakeRef, __real_FSPathMakeRef, path, item, isDirectory);
}

static TListed kFSSetCatalogInfo("FSSetCatalogInfo", Fails(ioErr));
OSErr __real_FSSetCatalogInfo(const FSRef*, FSCatalogInfoBitmap, const FSCatalogInfo*);
OSErr __wrap_FSSetCatalogInfo(const FSRef* item, FSCatalogInfoBitmap which, const FSCatalogInfo* info)
{
    return Call(kFSSetCatalogInfo, __real_FSSetCatalogInfo, item, which, info);
}

static TListed kGetFrontProcess("GetFrontProcess", Fails(procNotFound));
OSErr __real_GetFrontProcess(ProcessSerialNumber*);
OSErr __wrap_GetFrontProcess(ProcessSerialNumber* number)
{
    return Call(kGetFrontProcess, __real_GetFrontProcess, number);
}

static TListed kGetProcessPID("GetProcessPID", Fails(procNotFound));
OSStatus __real_GetProcessPID(const ProcessSerialNumber*, pid_t*);
OSStatus __wrap_GetProcessPID(const ProcessSerialNumber* number, pid_t* process)
{
    return Call(kGetProcessPID, __real_GetProcessPID, number, process);
}

static TListed kIncrementAtomic("IncrementAtomic", kNeverFails);
SInt32 __real_IncrementAtomic(SInt32*);
SInt32 __wrap_IncrementAtomic(SInt32* address)
{
    return Call(kIncrementAtomic, __real_IncrementAtomic, address);
}

static TListed kUCConvertToUTC("UCConvertCFAbsoluteTimeToUTCDateTime", Fails(kUTCOverflowErr));
OSStatus __real_UCConvertCFAbsoluteTimeToUTCDateTime(CFAbsoluteTime, UTCDateTime*);
OSStatus __wrap_UCConvertCFAbsoluteTimeToUTCDateTime(CFAbsoluteTime time, UTCDateTime* date)
{
    return Call(kUCConvertToUTC, __real_UCConvertCFAbsoluteTimeToUTCDateTime, time, date);
}

static TListed kPBHGetVolParms("PBHGetVolParmsSync", Fails(ioErr));
OSErr __real_PBHGetVolParmsSync(HParmBlkPtr);
OSErr __wrap_PBHGetVolParmsSync(HParmBlkPtr block)
{
    return Call(kPBHGetVolParms, __real_PBHGetVolParmsSync, block);
}
}

TCatalogEdit::TCatalogEdit(std::function<void(TCatalogAnswer*)> edit)
{
    gCatalogEdit = new std::function<void(TCatalogAnswer*)>(std::move(edit));
}

TCatalogEdit::~TCatalogEdit()
{
    delete gCatalogEdit;
    gCatalogEdit = nullptr;
}
