// Processes that ps lists: searched in one piece, and as they come through a pipe.
//
// An input is: a line, the name that is looked for; a line, the pieces in which the listing comes (TScriptedSystem::SetChild);
// and the listing. In that, "~$" stands for the caller's own process ID, and "~" before any other character for that character
// so many times as the one behind it says: 2200 for each unit of its last four bits. NULs, which ps never prints, are left
// out, and so is what is behind 36,000 bytes.

#include "services/Processes.h"
#include "tests/fuzz/Comparison.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/ProcessLinesReference.h"
#include "tests/fuzz/Room.h"
#include "tests/fuzz/ScriptedSystem.h"
#include "tests/fuzz/Targets.h"

#include <algorithm>
#include <cstdint>
#include <unistd.h>

static const std::size_t kLongestListing = 36000;

// What fits into the text that ps is read into.
static const std::size_t kLongestLine = 32767;

static std::string Expanded(const std::string& text)
{
    std::string expanded;
    for (std::size_t i = 0; i < text.size() && expanded.size() < kLongestListing; ++i) {
        if (text[i] != '~' || i + 1 == text.size()) {
            expanded += text[i];
        } else if (text[++i] == '$') {
            expanded += std::to_string(getpid());
        } else if (i + 1 < text.size()) {
            expanded.append(2200 * (static_cast<unsigned char>(text[i + 1]) & 0x0Fu), text[i]);
            ++i;
        }
    }
    expanded.erase(std::remove(expanded.begin(), expanded.end(), '\0'), expanded.end());
    return expanded.substr(0, kLongestListing);
}

static void TryInOnePiece(const TComparison& compare, const std::string& text, const std::string& name)
{
    const TRoom buffer(text);
    std::uint32_t remainder = 0xDEADBEEF;
    const int process = SearchBufferFor_PID(buffer.Get(), &remainder, name.c_str());

    const int expected = FirstProcessInText(text, name, getpid(), 0);
    compare.Same("the process in the whole text", static_cast<unsigned>(expected), static_cast<unsigned>(process));
    const std::string tail = expected != 0 ? "" : text.substr(text.rfind('\n') + 1);
    compare.Same("the length of the unfinished line", tail.size(), remainder);
    compare.Same("the unfinished line", tail, std::string(buffer.Get(), remainder));
}

void TryProcessLines(const std::string& input)
{
    const TComparison compare(input);
    TInput parts(input);
    const std::string name = parts.TextLine();
    const std::string pieces = parts.Line();
    const std::string text = Expanded(parts.Rest());

    TryInOnePiece(compare, text, name);

    TScriptedSystem system;
    system.SetChild(text, pieces, EChildEnd::kExitedWithZero);
    const int process = Get_ProcessID(name.c_str());
    compare.Same("the process in a text in pieces",
                 static_cast<unsigned>(FirstProcessInText(text, name, getpid(), kLongestLine)),
                 static_cast<unsigned>(process));
    compare.Same("what is left of the child", "", system.WhatIsLeft());
}
