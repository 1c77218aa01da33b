// Numbers, dates and data as the text that property lists have for them, and back.

#ifndef HALVORIX_PLATFORM_PROPERTYLISTLEAVES_H
#define HALVORIX_PLATFORM_PROPERTYLISTLEAVES_H

#include "platform/PropertyList.h"

namespace plist {

// From 0 to 9.
bool IsDigit(char c);

// Each of these reads what stands between the tags. False when it is no such text; the value is then undefined.

// Decimal digits, with or without a minus sign: from -2^63 to 2^64 less one.
bool ReadInteger(const std::string& text, TValue* value);

// Decimal digits with a fraction and an exponent or without, or "nan", "+infinity" and "-infinity".
bool ReadReal(const std::string& text, TValue* value);

// "2008-10-15T12:34:56Z", a day and a time that there is, from the year 1 on.
bool ReadDate(const std::string& text, TValue* value);

// Base64, with blanks anywhere and the padding it needs.
bool ReadData(const std::string& text, TValue* value);

// And the text of a value, which must be of the kind.
std::string IntegerText(const TValue& value);
std::string RealText(double real);
std::string DateText(double moment);

// Lines of base64 that fill 76 columns, a tab counting as 8; more than 8 tabs are left out.
// level  how many tabs the data's tag stands behind
std::string DataLines(const std::string& bytes, size_t level);

}   // namespace plist

#endif
