// A scratch buffer that grows with what is asked of it.

#ifndef HALVORIX_FOUNDATION_BUFFERS_H
#define HALVORIX_FOUNDATION_BUFFERS_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Sees to it that a buffer has a size. It never shrinks.
//
// buffer   the buffer, or null at first; the caller frees it with ::operator delete. A larger one takes its place when
//          its size is less than wanted; the old one is freed then
// size     bytes of the buffer, 0 at first; becomes wanted when the buffer grows
// wanted   how many bytes are needed
// keep     whether a larger buffer begins with what the old one held; its other bytes are 0
// returns  true, or false when there is no memory; nothing has changed then
//
// A buffer that is large enough already has its first `wanted` bytes cleared, and no more, even when keep is true: "keep"
// says what happens when a buffer grows. After 8 bytes "ABCDEFGH", wanting 3 leaves three zeros and "DEFGH".
bool AdjustBufferSize(void** buffer, UInt32* size, UInt32 wanted, bool keep);
}

#endif
