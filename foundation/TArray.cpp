#include "foundation/TArray.h"

#include <cstddef>
#include <cstring>
#include <new>

TArray::TArray(unsigned long elementSize) : fData(nullptr), fElementSize(static_cast<UInt32>(elementSize)), fCount(0) {}

TArray::~TArray()
{
    delete[] fData;
}

void* TArray::ElementAtIndex(unsigned long index) const
{
    if (index >= fCount)
        return nullptr;
    return fData + static_cast<std::size_t>(index) * fElementSize;
}

bool TArray::AddElement(const void* record)
{
    const std::size_t used = static_cast<std::size_t>(fCount) * fElementSize;
    UInt8* const block = new (std::nothrow) UInt8[used + fElementSize];
    if (block == nullptr)
        return false;
    if (used != 0)
        memcpy(block, fData, used);
    memcpy(block + used, record, fElementSize);
    delete[] fData;
    fData = block;
    ++fCount;
    return true;
}

bool TArray::AddElementAtIndex(const void* record, unsigned long index)
{
    if (index > fCount)
        return false;
    if (!AddElement(record))
        return false;
    if (index == fCount - 1)
        return true;

    // One record, not all that follow: see the header.
    UInt8* const place = fData + static_cast<std::size_t>(index) * fElementSize;
    memcpy(place + fElementSize, place, fElementSize);
    memcpy(place, record, fElementSize);
    return true;
}

void TArray::DeleteElementAtIndex(unsigned long index)
{
    if (index >= fCount)
        return;

    const std::size_t before = static_cast<std::size_t>(index) * fElementSize;
    const std::size_t after = (fCount - static_cast<std::size_t>(index) - 1) * fElementSize;
    UInt8* block = nullptr;
    if (before + after != 0) {
        block = new (std::nothrow) UInt8[before + after];
        if (block == nullptr)
            return;
        memcpy(block, fData, before);
        memcpy(block + before, fData + before + fElementSize, after);
    }
    delete[] fData;
    fData = block;
    --fCount;
}
