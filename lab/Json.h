// Values as JSON, for programs that read what the lab prints.

#ifndef HALVORIX_LAB_JSON_H
#define HALVORIX_LAB_JSON_H

#include "platform/PropertyList.h"

#include <string>
#include <utility>
#include <vector>

namespace lab {

// The value in one line without a line feed, dictionaries in their order. Bytes become hexadecimal digits, a date its seconds
// since 2001. Texts that are no UTF-8 are taken for Latin-1, so that what comes out is always JSON.
std::string WriteJson(const plist::TValue& value);

// A dictionary of these.
plist::TValue MakeObject(std::vector<std::pair<std::string, plist::TValue>> entries);

plist::TValue MakeReal(double number);
plist::TValue MakeInteger(std::size_t number);
plist::TValue MakeTexts(const std::vector<std::string>& texts);

}   // namespace lab

#endif
