// A growable array of fixed-size records, held by value in one heap block.

#ifndef HALVORIX_FOUNDATION_TARRAY_H
#define HALVORIX_FOUNDATION_TARRAY_H

#include <CoreServices/CoreServices.h>

// The block always holds exactly the records that are counted, no spare room: each change allocates a new block, copies
// into it and frees the old one. That suits a few records that change seldom.
//
// Records are plain bytes: nothing is constructed or destroyed in them. Indexes count from 0.
class TArray
{
public:
    // elementSize  bytes of each record; less than 4 GB
    explicit TArray(unsigned long elementSize);

    // Frees the block.
    ~TArray();

    TArray(const TArray&) = delete;
    TArray& operator=(const TArray&) = delete;

    // Returns how many records there are.
    UInt32 Count() const { return fCount; }

    // Returns the record at this index, or null when index is Count() or more. The record stays the array's and is
    // valid until the next change of the array.
    void* ElementAtIndex(unsigned long index) const;

    // Appends a copy of a record.
    //
    // record   one record's bytes; stays the caller's
    // returns  true, or false when there is no memory; the array is unchanged then
    bool AddElement(const void* record);

    // Puts a copy of a record at this index: behind the last record when index is Count(), before the last when it is
    // Count() - 1. Further to the front it is no insertion, since one record and no more is moved up: the record at
    // index goes over the one behind it, and the new record stands at index and at the end as well. [A, B, C] with X at
    // 2 becomes [A, B, X, C], but with X at 0 it becomes [X, A, C, X].
    //
    // record   one record's bytes, not within this array; stays the caller's
    // index    0 to Count()
    // returns  true, or false when index is above Count() or there is no memory; the array is unchanged then
    bool AddElementAtIndex(const void* record, unsigned long index);

    // Takes out the record at this index; those behind it move down. Does nothing when index is Count() or more, or
    // when there is no memory for the smaller block. Without its last record the array holds no block.
    void DeleteElementAtIndex(unsigned long index);

private:
    UInt8* fData;   // null while there is no record
    UInt32 fElementSize;
    UInt32 fCount;
};

#endif
