// Versions of system software as text, by pattern and by arithmetic.

#ifndef HALVORIX_TESTS_FUZZ_VERSIONSREFERENCE_H
#define HALVORIX_TESTS_FUZZ_VERSIONSREFERENCE_H

#include <cstdint>
#include <string>

// The text of a packed version; empty when it has none.
std::string TextOfVersion(std::uint32_t version, bool blankBeforeStage);

// Reads a version. Returns false when the text is none, and the version is then as it was.
bool VersionOfText(const std::string& text, std::uint32_t* version);

#endif
