// Which process a listing of ps names first.

#ifndef HALVORIX_TESTS_FUZZ_PROCESSLINESREFERENCE_H
#define HALVORIX_TESTS_FUZZ_PROCESSLINESREFERENCE_H

#include <cstddef>
#include <string>

// Returns the ID in the first line of the whole text whose command is name, or 0.
//
// caller  the ID that is passed over
// longest a line of this many bytes, without its line feed, ends the search; 0: none does
int FirstProcessInText(const std::string& text, const std::string& name, int caller, std::size_t longest);

#endif
