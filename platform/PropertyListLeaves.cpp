#include "platform/PropertyListLeaves.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace plist {

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Integers

bool ReadInteger(const std::string& text, TValue* value)
{
    const bool negative = !text.empty() && text[0] == '-';
    const std::string digits = text.substr(negative ? 1 : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos)
        return false;
    errno = 0;
    const unsigned long long magnitude = strtoull(digits.c_str(), nullptr, 10);
    constexpr unsigned long long kTwoTo63 = 1ull << 63;
    if (errno == ERANGE || (negative && magnitude > kTwoTo63))
        return false;
    *value = TValue::Integer(static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude));
    value->wide = !negative && magnitude >= kTwoTo63;
    return true;
}

std::string IntegerText(const TValue& value)
{
    return value.wide ? std::to_string(static_cast<std::uint64_t>(value.integer)) : std::to_string(value.integer);
}

// Reals

// Whether the text is [sign] digits [. digits] [e [sign] digits], with a digit before the e.
static bool IsDecimal(const std::string& text)
{
    size_t at = text.find_first_of("+-") == 0 ? 1 : 0;
    size_t digits = 0;
    for (; at < text.size() && IsDigit(text[at]); ++at)
        ++digits;
    if (at < text.size() && text[at] == '.') {
        for (++at; at < text.size() && IsDigit(text[at]); ++at)
            ++digits;
    }
    if (digits == 0 || at == text.size())
        return digits != 0;
    if (text[at] != 'e' && text[at] != 'E')
        return false;
    ++at;
    if (at < text.size() && (text[at] == '+' || text[at] == '-'))
        ++at;
    return at < text.size() && text.find_first_not_of("0123456789", at) == std::string::npos;
}

bool ReadReal(const std::string& text, TValue* value)
{
    static const struct
    {
        const char* name;
        double value;
    } kNamed[] = {{"nan", std::numeric_limits<double>::quiet_NaN()},
                  {"+infinity", std::numeric_limits<double>::infinity()},
                  {"-infinity", -std::numeric_limits<double>::infinity()}};
    *value = TValue();
    value->kind = Kind::kReal;
    for (const auto& named : kNamed) {
        value->real = named.value;
        if (text == named.name)
            return true;
    }
    value->real = strtod(text.c_str(), nullptr);
    return IsDecimal(text);
}

std::string RealText(double real)
{
    if (std::isnan(real))
        return "nan";
    if (std::isinf(real))
        return real > 0 ? "+infinity" : "-infinity";
    if (real == 0)
        return "0.0";
    char text[32];
    snprintf(text, sizeof text, "%.17g", real);
    return text;
}

// Dates

// Days from 1 January 2001 to this day of the Gregorian calendar.
static long DaysSince2001(long year, long month, long day)
{
    static const long kBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const long past = year - 1;
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    const long days =
        past * 365 + past / 4 - past / 100 + past / 400 + kBefore[month - 1] + (leap && month > 2) + day - 1;
    constexpr long kDaysTo2001 = 2000L * 365 + 500 - 20 + 5;
    return days - kDaysTo2001;
}

bool ReadDate(const std::string& text, TValue* value)
{
    static const char kShape[] = "dddd-dd-ddTdd:dd:ddZ";
    if (text.size() != sizeof kShape - 1)
        return false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (kShape[i] == 'd' ? !IsDigit(text[i]) : text[i] != kShape[i])
            return false;
    }
    const auto number = [&text](size_t at, size_t length) { return atol(text.substr(at, length).c_str()); };
    const long year = number(0, 4);
    const long month = number(5, 2);
    const long day = number(8, 2);
    if (year < 1 || month < 1 || month > 12 || day < 1 || number(11, 2) > 23 || number(14, 2) > 59 ||
        number(17, 2) > 59)
        return false;
    const long nextMonth = month == 12 ? DaysSince2001(year + 1, 1, 1) : DaysSince2001(year, month + 1, 1);
    const long days = DaysSince2001(year, month, day);
    if (days >= nextMonth)
        return false;
    *value = TValue();
    value->kind = Kind::kDate;
    value->real = static_cast<double>(days) * 86400 +
                  static_cast<double>(number(11, 2) * 3600 + number(14, 2) * 60 + number(17, 2));
    return true;
}

// The day of the Gregorian calendar that lies so many days after 1 January 2001.
static void DayOf(long days, long* year, long* month, long* day)
{
    // Counted from 1 March of year 0, so that a leap day is a year's last: 730791 days before.
    const long since = days + 730791;
    const long era = (since >= 0 ? since : since - 146096) / 146097;
    const long dayOfEra = since - era * 146097;
    const long yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const long dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const long monthFromMarch = (5 * dayOfYear + 2) / 153;
    *day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    *month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    *year = yearOfEra + era * 400 + (*month <= 2);
}

std::string DateText(double moment)
{
    const double whole = std::floor(moment);
    const double days = std::floor(whole / 86400);
    const long second = static_cast<long>(whole - days * 86400);
    long year = 0;
    long month = 0;
    long day = 0;
    DayOf(static_cast<long>(days), &year, &month, &day);
    char text[128];
    snprintf(text, sizeof text, "%04ld-%02ld-%02ldT%02ld:%02ld:%02ldZ", year, month, day, second / 3600,
             second / 60 % 60, second % 60);
    return text;
}

// Data

static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The six bits that a character of base64 stands for, or -1 when it is none. Not looked up in kAlphabet: a registry has many
// thousands of them, and every process of a machine reads it.
static int BitsOf(char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return 26 + c - 'a';
    if (IsDigit(c))
        return 52 + c - '0';
    if (c == '+')
        return 62;
    return c == '/' ? 63 : -1;
}

bool ReadData(const std::string& text, TValue* value)
{
    std::string bytes;
    unsigned group = 0;
    int digits = 0;
    int padding = 0;
    for (const char c : text) {
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r')
            continue;
        const int bits = BitsOf(c);
        if (c == '=' && digits % 4 >= 2) {
            ++padding;
        } else if (bits < 0 || padding != 0) {
            return false;
        }
        group = group << 6 | (c == '=' ? 0u : static_cast<unsigned>(bits));
        if (++digits % 4 == 0) {
            for (int shift = 16; shift >= 8 * padding; shift -= 8)
                bytes += static_cast<char>(group >> shift & 0xFF);
            group = 0;
        }
    }
    *value = TValue::Data(std::move(bytes));
    return digits % 4 == 0;
}

// The base64 digits of up to three bytes, padded to four.
static std::string Group(const std::string& bytes, size_t at)
{
    const size_t count = std::min<size_t>(3, bytes.size() - at);
    unsigned bits = 0;
    for (size_t i = 0; i < 3; ++i)
        bits = bits << 8 | (i < count ? static_cast<unsigned char>(bytes[at + i]) : 0u);
    std::string group;
    for (size_t i = 0; i < 4; ++i)
        group += i <= count ? kAlphabet[bits >> (18 - 6 * i) & 0x3F] : '=';
    return group;
}

// Lines fill 76 columns, a tab counting as 8; more than 8 tabs are left out.
std::string DataLines(const std::string& bytes, size_t level)
{
    const std::string indent(std::min<size_t>(level, 8), '\t');
    const size_t width = 76 - 8 * indent.size();
    std::string lines;
    std::string line;
    for (size_t at = 0; at < bytes.size(); at += 3) {
        line += Group(bytes, at);
        if (line.size() == width) {
            lines += indent + line + "\n";
            line.clear();
        }
    }
    return line.empty() ? lines : lines + indent + line + "\n";
}

}   // namespace plist
