#include "foundation/CStrings.h"

#include <algorithm>
#include <cstring>

// A part of a text.
struct TPart
{
    std::size_t start;
    std::size_t length;
};

// What is left of a text without the blanks at both ends. Of blanks alone nothing is left, at their end.
static TPart TrimmedPart(const char* text)
{
    const std::size_t start = strspn(text, " ");
    std::size_t end = start + strlen(text + start);
    while (end > start && text[end - 1] == ' ')
        --end;
    return {start, end - start};
}

char* StripSpaces(char* text)
{
    const TPart part = TrimmedPart(text);
    text[part.start + part.length] = 0;
    return text + part.start;
}

void CatStrings(char* destination, const char* source, UInt32 capacity, UInt32* used, bool trim)
{
    // Without this, capacity - *used - 1 would be a large number.
    if (*used >= capacity)
        return;

    const TPart part = trim ? TrimmedPart(source) : TPart{0, strlen(source)};
    const std::size_t count = std::min<std::size_t>(part.length, capacity - *used - 1);
    memcpy(destination + *used, source + part.start, count);
    *used += static_cast<UInt32>(count);
}

void StoreCString(char* destination, const char* source, UInt32 capacity)
{
    if (capacity == 0)
        return;
    UInt32 used = 0;
    CatStrings(destination, source, capacity, &used, false);
    destination[used] = 0;
}

bool AppendText(char* destination, const char* source, std::size_t size)
{
    const std::size_t used = strlen(destination);
    const std::size_t length = strlen(source);
    const std::size_t copied = std::min(length, size - used - 1);
    memcpy(destination + used, source, copied);
    destination[used + copied] = 0;
    return copied == length;
}
