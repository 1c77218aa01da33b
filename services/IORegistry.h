// Disks in the I/O Registry: finding them by BSD name, reading their plain properties, and walking to their parents.
//
// An object that a function returns is the caller's to release; one that it is given stays the caller's. No function
// reports an error: whatever fails reads as 0. Property keys are those of Apple's IOBSD.h and IOMedia.h.

#ifndef HALVORIX_SERVICES_IOREGISTRY_H
#define HALVORIX_SERVICES_IOREGISTRY_H

#include <IOKit/IOKitLib.h>

extern "C" {

// Takes so many objects from an iterator and keeps the last.
//
// iterator  stays the caller's
// levels    how many; all but the last are released. The iterator is asked so often, whether or not it runs out
// returns   that object, which the caller releases; 0 when levels is 0 or there are fewer objects
io_object_t IterateThroughParentLevels(io_iterator_t iterator, UInt32 levels);

// Returns 1, whatever it is given: a placeholder.
UInt32 IOKitObjectIsParentOfObject(...);

// Says whether an object or one of its ancestors is of a class or of one derived from it, in the IOService plane. Where
// an entry has several parents, the first is followed.
//
// object     stays the caller's, who holds it as before
// className  "IOMedia"
// returns    1 or 0. An IOMedia object is itself a "child" of an IOMedia
UInt32 IOKitObjectIsChildOfObjectOfClass(io_object_t object, const char* className);

// Finds the medium with a BSD name.
//
// bsdName  "disk2" or "disk2s3", without "/dev/"
// returns  the object, which the caller releases, or 0
io_object_t GetIOKitObjectWithBSDName(const char* bsdName);

// Reads what identifies a medium. Every pointer may be null: that is not asked for then. What is asked for stays
// untouched when its property is missing or of another type, but for the name, which is empty then.
//
// media               the medium's object; stays the caller's
// isPartition         receives 1 or 0, as IsDiskAPartition judges the name; only when the name is asked for as well
// bsdName             receives "BSD Name"; empty also when it is not ASCII or does not fit with its NUL
// bsdNameSize         the room at bsdName in bytes; with 0 nothing is written there
// byteSize            receives "Size" in bytes
// preferredBlockSize  receives "Preferred Block Size" in bytes
void GetBSDNameAndSizes(io_object_t media, UInt32* isPartition, char* bsdName, UInt32 bsdNameSize, SInt64* byteSize,
                        SInt32* preferredBlockSize);

// Says whether a medium is an Apple boot helper partition, by its own "Content Hint".
//
// bsdName  "disk2s3", without "/dev/"
// returns  1 when that is the string "Apple_Boot" (Apple partition map) or "426F6F74-0000-11AA-AA11-00306543ECAC" (GUID
//          partition map), upper and lower case told apart; otherwise 0, also when no medium has the name
UInt32 IsDiskAppleBootPartition(const char* bsdName);

// Says whether a medium can be removed, by the nearest "Removable" of itself or its ancestors in the IOService plane.
//
// bsdName  "disk2" or "disk2s3", without "/dev/"
// returns  1 or 0; 0 also when no medium has the name and when that property is no Boolean
UInt32 IsDiskRemovable(const char* bsdName);

// Returns the "Size" in bytes of the medium that is called bsdName, "disk2"; 0 when there is no such medium, and when it has
// no size or one that is no number.
UInt64 NumberBytesOnDisk(const char* bsdName);
}

#endif
