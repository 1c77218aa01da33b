#include "platform/Numbers.h"

#include "platform/Objects.h"

#include <cmath>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <type_traits>

using namespace platform;

struct __CFBoolean : TObject
{
    constexpr __CFBoolean(const TType& type, bool value) : TObject(type, kImmortal), fValue(value) {}
    const bool fValue;
};

struct __CFNumber : TObject
{
    __CFNumber(const TType& type, const TNumber& value) : TObject(type, 1), fValue(value) {}
    const TNumber fValue;
};

struct __CFDate : TObject
{
    __CFDate(const TType& type, CFAbsoluteTime moment) : TObject(type, 1), fMoment(moment) {}
    const CFAbsoluteTime fMoment;
};

// Truth values

static const TType kBooleanType = {"CFBoolean", 21, nullptr, nullptr, nullptr};
static __CFBoolean gTrue(kBooleanType, true);
static __CFBoolean gFalse(kBooleanType, false);
const CFBooleanRef kCFBooleanTrue = &gTrue;
const CFBooleanRef kCFBooleanFalse = &gFalse;

CFTypeID CFBooleanGetTypeID(void)
{
    return kBooleanType.identifier;
}

Boolean CFBooleanGetValue(CFBooleanRef boolean)
{
    return As<__CFBoolean>(boolean, kBooleanType)->fValue;
}

// Numbers

constexpr double kTwoTo63 = 9223372036854775808.0;

// The integer that a fraction's value is, if it is one.
static bool IsWhole(double real, std::int64_t* integer)
{
    if (!(real >= -kTwoTo63 && real < kTwoTo63) || real != std::trunc(real))
        return false;
    *integer = static_cast<std::int64_t>(real);
    return true;
}

template <class TValue>
static CFComparisonResult Compare(TValue one, TValue other)
{
    return one < other ? kCFCompareLessThan : one > other ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

static CFComparisonResult Opposite(CFComparisonResult result)
{
    return static_cast<CFComparisonResult>(-result);
}

static CFComparisonResult CompareReals(double one, double other)
{
    if (std::isnan(one))
        return std::isnan(other)                              ? kCFCompareEqualTo
               : Compare(0.0, other) == kCFCompareGreaterThan ? kCFCompareGreaterThan
                                                              : kCFCompareLessThan;
    return std::isnan(other) ? Opposite(CompareReals(other, one)) : Compare(one, other);
}

static CFComparisonResult CompareIntegers(const TNumber& one, const TNumber& other)
{
    if (one.wide != other.wide)
        return one.wide ? kCFCompareGreaterThan : kCFCompareLessThan;
    // Of two wide ones, the low 64 bits as signed numbers stand in the same order.
    return Compare(one.integer, other.integer);
}

static CFComparisonResult CompareIntegerWithReal(const TNumber& whole, double real)
{
    if (std::isnan(real))
        return CompareReals(static_cast<double>(whole.integer), real);
    if (whole.wide)
        return Compare(static_cast<double>(static_cast<std::uint64_t>(whole.integer)), real);
    if (real < -kTwoTo63)
        return kCFCompareGreaterThan;
    if (real >= kTwoTo63)
        return kCFCompareLessThan;
    // As integers, since a double does not hold each of them; then by what was cut off.
    const auto cut = static_cast<std::int64_t>(real);
    return whole.integer != cut ? Compare(whole.integer, cut) : Compare(static_cast<double>(cut), real);
}

static CFComparisonResult CompareValues(const TNumber& one, const TNumber& other)
{
    if (one.isReal)
        return other.isReal ? CompareReals(one.real, other.real) : Opposite(CompareIntegerWithReal(other, one.real));
    return other.isReal ? CompareIntegerWithReal(one, other.real) : CompareIntegers(one, other);
}

static bool ValuesAreEqual(const TNumber& one, const TNumber& other)
{
    return CompareValues(one, other) == kCFCompareEqualTo;
}

static bool NumbersAreEqual(const TObject* one, const TObject* other)
{
    return ValuesAreEqual(static_cast<const __CFNumber*>(one)->fValue, static_cast<const __CFNumber*>(other)->fValue);
}

static CFHashCode HashOfNumber(const TObject* number)
{
    const TNumber& value = static_cast<const __CFNumber*>(number)->fValue;
    std::int64_t integer = value.integer;
    if (value.isReal && !IsWhole(value.real, &integer))
        return std::hash<double>()(value.real);
    return std::hash<std::int64_t>()(integer);
}

static const TType kNumberType = {"CFNumber", 22, Destroy<__CFNumber>, NumbersAreEqual, HashOfNumber};

namespace platform {

CFNumberRef MakeNumber(TNumber value)
{
    return Make<__CFNumber>(kNumberType, value);
}

TNumber ValueOf(CFNumberRef number)
{
    return As<__CFNumber>(number, kNumberType)->fValue;
}

}   // namespace platform

CFTypeID CFNumberGetTypeID(void)
{
    return kNumberType.identifier;
}

// Calls `use` with a null pointer to the C type that a number type stands for. Returns false when there is no such type.
template <class TUse>
static bool WithCType(CFNumberType type, TUse use)
{
    switch (type) {
    case kCFNumberSInt8Type:
    case kCFNumberCharType:
        return use(static_cast<SInt8*>(nullptr));
    case kCFNumberSInt16Type:
    case kCFNumberShortType:
        return use(static_cast<SInt16*>(nullptr));
    case kCFNumberSInt32Type:
    case kCFNumberIntType:
        return use(static_cast<std::int32_t*>(nullptr));
    case kCFNumberSInt64Type:
    case kCFNumberLongLongType:
        return use(static_cast<std::int64_t*>(nullptr));
    case kCFNumberLongType:
    case kCFNumberCFIndexType:
        return use(static_cast<long*>(nullptr));
    case kCFNumberFloat32Type:
    case kCFNumberFloatType:
        return use(static_cast<float*>(nullptr));
    case kCFNumberFloat64Type:
    case kCFNumberDoubleType:
        return use(static_cast<double*>(nullptr));
    }
    return false;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value)
{
    TNumber number;
    const bool known = WithCType(type, [&](auto* null) {
        std::remove_pointer_t<decltype(null)> read;
        memcpy(&read, value, sizeof read);
        if constexpr (std::is_floating_point_v<decltype(read)>) {
            number.isReal = true;
            number.real = static_cast<double>(read);
        } else {
            number.integer = read;
        }
        return true;
    });
    return known ? MakeNumber(number) : nullptr;
}

template <class TResult>
static TResult ClampToInteger(double real)
{
    using TLimits = std::numeric_limits<TResult>;
    if (std::isnan(real))
        return 0;
    if (real < static_cast<double>(TLimits::min()))
        return TLimits::min();
    // The largest 64-bit integer is no double; the next one above it is the first that does not fit.
    if (real >= -static_cast<double>(TLimits::min()))
        return TLimits::max();
    return static_cast<TResult>(real);
}

// The number as a value of the C type, exact or approximate.
template <class TResult>
static TResult Convert(const TNumber& number)
{
    if constexpr (std::is_floating_point_v<TResult>) {
        if (number.isReal)
            return static_cast<TResult>(number.real);
        return number.wide ? static_cast<TResult>(static_cast<std::uint64_t>(number.integer))
                           : static_cast<TResult>(number.integer);
    } else {
        return number.isReal ? ClampToInteger<TResult>(number.real) : static_cast<TResult>(number.integer);
    }
}

// Whether the converted value is the number. An integer of 2^63 and more counts as its low 64 bits, as on a Mac.
template <class TResult>
static bool IsExact(const TNumber& number, TResult converted)
{
    TNumber back;
    if constexpr (std::is_floating_point_v<TResult>) {
        if (std::isnan(converted))
            return sizeof(TResult) == sizeof(double);   // as on a Mac
        back.isReal = true;
        back.real = static_cast<double>(converted);
    } else {
        back.integer = converted;
        back.wide = number.wide && sizeof(TResult) == sizeof number.integer;
    }
    return ValuesAreEqual(number, back);
}

Boolean CFNumberIsFloatType(CFNumberRef number)
{
    return ValueOf(number).isReal;
}

CFComparisonResult CFNumberCompare(CFNumberRef one, CFNumberRef other, void*)
{
    return CompareValues(ValueOf(one), ValueOf(other));
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value)
{
    const TNumber from = ValueOf(number);
    return WithCType(type, [&](auto* null) {
        const auto converted = Convert<std::remove_pointer_t<decltype(null)>>(from);
        memcpy(value, &converted, sizeof converted);
        return IsExact(from, converted);
    });
}

// Dates

static bool DatesAreEqual(const TObject* one, const TObject* other)
{
    return static_cast<const __CFDate*>(one)->fMoment == static_cast<const __CFDate*>(other)->fMoment;
}

static CFHashCode HashOfDate(const TObject* date)
{
    return std::hash<double>()(static_cast<const __CFDate*>(date)->fMoment);
}

static const TType kDateType = {"CFDate", 33, Destroy<__CFDate>, DatesAreEqual, HashOfDate};

CFAbsoluteTime CFAbsoluteTimeGetCurrent(void)
{
    // From 1 January 1970, where the system's clock starts, to 1 January 2001: 11323 days.
    constexpr double kEpoch = 11323.0 * 86400;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) - kEpoch + static_cast<double>(now.tv_nsec) / 1e9;
}

CFTypeID CFDateGetTypeID(void)
{
    return kDateType.identifier;
}

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime moment)
{
    return Make<__CFDate>(kDateType, moment);
}

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date)
{
    return As<__CFDate>(date, kDateType)->fMoment;
}
