// CFStringCompare, with the options that are taken.

#include "platform/Composition.h"
#include "platform/Strings.h"

#include <algorithm>

using namespace platform;

// Small letters for capitals, of ASCII and of accented letters by their bases: the marks stay apart.
static std::u16string Folded(const std::u16string& text)
{
    std::u16string folded = Decomposed(text);
    for (char16_t& unit : folded) {
        if (unit >= u'A' && unit <= u'Z')
            unit = static_cast<char16_t>(unit + (u'a' - u'A'));
    }
    return folded;
}

static bool IsDigit(char16_t unit)
{
    return unit >= u'0' && unit <= u'9';
}

// The digits at `at` without the zeros before them; moves behind them.
static std::u16string NextNumber(const std::u16string& text, size_t* at)
{
    const auto isZero = [](char16_t unit) { return unit == u'0'; };
    const auto begin = text.begin() + static_cast<std::ptrdiff_t>(*at);
    const auto end = std::find_if_not(begin, text.end(), IsDigit);
    *at = static_cast<size_t>(end - text.begin());
    return std::u16string(std::find_if_not(begin, end, isZero), end);
}

static int CompareNumbers(const std::u16string& one, const std::u16string& other)
{
    if (one.size() != other.size())
        return one.size() < other.size() ? -1 : 1;
    return one.compare(other);
}

static int CompareNumerically(const std::u16string& one, const std::u16string& other)
{
    size_t i = 0;
    size_t j = 0;
    while (i < one.size() && j < other.size()) {
        if (IsDigit(one[i]) && IsDigit(other[j])) {
            const int order = CompareNumbers(NextNumber(one, &i), NextNumber(other, &j));
            if (order != 0)
                return order;
        } else if (one[i] != other[j]) {
            return one[i] < other[j] ? -1 : 1;
        } else {
            ++i;
            ++j;
        }
    }
    return i < one.size() ? 1 : j < other.size() ? -1 : 0;
}

CFComparisonResult CFStringCompare(CFStringRef one, CFStringRef other, CFOptionFlags options)
{
    std::u16string first = UnitsOf(one);
    std::u16string second = UnitsOf(other);
    if ((options & kCFCompareCaseInsensitive) != 0) {
        first = Folded(first);
        second = Folded(second);
    } else if ((options & kCFCompareNonliteral) != 0) {
        first = Decomposed(first);
        second = Decomposed(second);
    }
    const int order =
        (options & kCFCompareNumerically) != 0 ? CompareNumerically(first, second) : first.compare(second);
    return order < 0 ? kCFCompareLessThan : order > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}
