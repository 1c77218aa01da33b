// XML property lists as plain C++ values: what the machine folder's files are made of, and what Core Foundation's
// property-list functions here read and write.

#ifndef HALVORIX_PLATFORM_PROPERTYLIST_H
#define HALVORIX_PLATFORM_PROPERTYLIST_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace plist {

enum class Kind
{
    kString,
    kInteger,
    kReal,
    kBoolean,
    kData,
    kDate,
    kArray,
    kDictionary
};

struct TValue
{
    Kind kind = Kind::kString;
    std::string text;            // kString: UTF-8; kData: the bytes
    std::int64_t integer = 0;    // kInteger; numbers from 2^63 on stand as their two's complement
    bool wide = false;           // kInteger: the number is 2^63 or more, `integer` holds its low 64 bits
    double real = 0;             // kReal; kDate: seconds since 1 January 2001, 0:00 UTC
    bool boolean = false;        // kBoolean
    std::vector<TValue> items;   // kArray
    std::vector<std::pair<std::string, TValue>> entries;   // kDictionary, in the file's order, each key once

    static TValue String(std::string value);
    static TValue Integer(std::int64_t value);
    static TValue Boolean(bool value);
    static TValue Data(std::string bytes);
    static TValue Array();
    static TValue Dictionary();

    // The entry with this key, or null. Only a dictionary has entries.
    const TValue* Find(const std::string& key) const;
    TValue* Find(const std::string& key);
    // Sets the entry with this key, at its place when it is there and at the end otherwise.
    void Set(const std::string& key, TValue value);
};

// How deep arrays and dictionaries may stand in one another.
constexpr int kMaximumDepth = 512;

// Reads one XML property list. Returns false and one line that names the line of the text when it is not one.
bool Read(const std::string& xml, TValue* value, std::string* error);

// Writes an XML property list, with tabs and the keys in their order.
std::string Write(const TValue& value);

}   // namespace plist

#endif
