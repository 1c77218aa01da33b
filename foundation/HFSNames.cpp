#include "foundation/HFSNames.h"

#include "foundation/ScopedCFType.h"

#include <algorithm>
#include <cstring>

// What an HFSUniStr255 holds.
static const CFIndex kMaxUnits = 255;

bool ConvertCStringToHFSUniStr(const char* text, HFSUniStr255* name)
{
    memset(name, 0, sizeof *name);
    const TScopedCFType string(CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingMacRoman));
    if (!string)
        return false;

    const CFIndex count = std::min(CFStringGetLength(string.Get()), kMaxUnits);
    name->length = static_cast<UInt16>(count);
    CFStringGetCharacters(string.Get(), {0, count}, name->unicode);
    return true;
}
