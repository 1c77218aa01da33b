// Accented letters and what they are made of.

#ifndef HALVORIX_PLATFORM_COMPOSITION_H
#define HALVORIX_PLATFORM_COMPOSITION_H

#include <string>

namespace platform {

// The letter that a base and a combining mark make up, or 0.
char16_t Composed(char16_t base, char16_t mark);

// The text with each accented letter of Latin, Greek, Cyrillic and kana as its base and its marks, as Mac OS X's file systems
// keep names. Marks stay in the order they stand in.
std::u16string Decomposed(const std::u16string& text);

}   // namespace platform

#endif
