// The writer of XML property lists: what Apple's own writes, to the byte.

#include "platform/PropertyList.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace plist {
namespace {

std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '>')
            escaped += "&gt;";
        else
            escaped += c;
    }
    return escaped;
}

// The base64 digits of up to three bytes, padded to four.
std::string Group(const std::string& bytes, size_t at)
{
    static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
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

// The day of the Gregorian calendar that lies so many days after 1 January 2001.
void DayOf(long days, long* year, long* month, long* day)
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

std::string IntegerText(const TValue& value)
{
    return value.wide ? std::to_string(static_cast<std::uint64_t>(value.integer)) : std::to_string(value.integer);
}

void WriteValue(const TValue& value, size_t level, std::string* xml);

void WriteContainer(const TValue& value, size_t level, std::string* xml)
{
    const std::string indent(level, '\t');
    const std::string name = value.kind == Kind::kArray ? "array" : "dict";
    if (value.items.empty() && value.entries.empty()) {
        *xml += indent + "<" + name + "/>\n";
        return;
    }
    *xml += indent + "<" + name + ">\n";
    for (const TValue& item : value.items)
        WriteValue(item, level + 1, xml);
    for (const auto& entry : value.entries) {
        *xml += indent + "\t<key>" + Escaped(entry.first) + "</key>\n";
        WriteValue(entry.second, level + 1, xml);
    }
    *xml += indent + "</" + name + ">\n";
}

void WriteLeaf(const char* name, const std::string& text, size_t level, std::string* xml)
{
    *xml += std::string(level, '\t') + "<" + name + ">" + text + "</" + name + ">\n";
}

void WriteValue(const TValue& value, size_t level, std::string* xml)
{
    const std::string indent(level, '\t');
    switch (value.kind) {
    case Kind::kString:
        return WriteLeaf("string", Escaped(value.text), level, xml);
    case Kind::kInteger:
        return WriteLeaf("integer", IntegerText(value), level, xml);
    case Kind::kReal:
        return WriteLeaf("real", RealText(value.real), level, xml);
    case Kind::kDate:
        return WriteLeaf("date", DateText(value.real), level, xml);
    case Kind::kBoolean:
        *xml += indent + (value.boolean ? "<true/>\n" : "<false/>\n");
        return;
    case Kind::kData:
        *xml += indent + "<data>\n" + DataLines(value.text, level) + indent + "</data>\n";
        return;
    case Kind::kArray:
    case Kind::kDictionary:
        return WriteContainer(value, level, xml);
    }
}

}   // namespace

std::string Write(const TValue& value)
{
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                      "<plist version=\"1.0\">\n";
    WriteValue(value, 0, &xml);
    return xml + "</plist>\n";
}

}   // namespace plist
