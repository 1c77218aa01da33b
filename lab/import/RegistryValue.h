// One value of a registry as ioreg prints it: a text, number, truth, data, array, dictionary or set, or nothing at all.

#ifndef HALVORIX_LAB_IMPORT_REGISTRYVALUE_H
#define HALVORIX_LAB_IMPORT_REGISTRYVALUE_H

#include "platform/PropertyList.h"

#include <cstddef>
#include <string>

namespace import {

// Reads what stands behind "KEY = ". Returns false when it is no value, or not a whole one.
//
// Texts are never escaped: the outermost one ends with the value, one in a container at the first quote behind which the
// container goes on. They are MacRoman unless they are UTF-8. Data that is shown as texts has a zero behind each of them:
// how many stood behind the last one cannot be told. A set becomes an array. What a Mac could not print is nothing, and
// data that its publisher painted over holds no digits: both are empty here and counted in `unreadable`.
bool ReadRegistryValue(const std::string& text, plist::TValue* value, std::size_t* unreadable);

// The bytes as UTF-8: what is none is MacRoman, with a question mark for each character that a property list cannot hold.
std::string ReadableText(const std::string& bytes);

}   // namespace import

#endif
