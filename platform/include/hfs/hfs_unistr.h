// A name as HFS Plus holds it.

#ifndef HALVORIX_PLATFORM_HFS_UNISTR_H
#define HALVORIX_PLATFORM_HFS_UNISTR_H

#include <cstdint>

struct HFSUniStr255
{
    std::uint16_t length;   // UTF-16 units
    std::uint16_t
        unicode[255];   // in the host's byte order; a slash of the name is a slash here, and a colon in a path
};
typedef struct HFSUniStr255 HFSUniStr255;

#endif
