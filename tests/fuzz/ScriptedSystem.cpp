#include "tests/fuzz/ScriptedSystem.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <sys/stat.h>

// Higher than any descriptor of the process itself.
static const int kFirstDescriptor = 1 << 20;

static const long kChild = 4242;

using TArguments = TCallWatch::TArguments;

TScript::TScript(const char* function, std::function<long(const TArguments&)> answer)
    : fFault(function, {}, 1, ~0u), fWatch(function, [function, answer](const TArguments& arguments) {
          // Looked for before it is decided what the call returns.
          ArmFault(function, {answer(arguments)}, 1, ~0u);
      })
{
}

template <class TPointed>
static TPointed* PointerIn(const TArguments& arguments, std::size_t index)
{
    return reinterpret_cast<TPointed*>(arguments[index]);
}

TScriptedSystem::TScriptedSystem()
    : fScripts{{"pipe", [this](const TArguments& given) { return Pipe(PointerIn<int>(given, 0)); }},
               {"fork", [this](const TArguments&) { return Fork(); }},
               {"waitpid", [this](const TArguments& given) { return Wait(PointerIn<int>(given, 1)); }},
               {"stat",
                [this](const TArguments& given) {
                    return Stat(PointerIn<const char>(given, 0), PointerIn<struct stat>(given, 1));
                }},
               {"open", [this](const TArguments& given) { return Open(PointerIn<const char>(given, 0)); }},
               {"read",
                [this](const TArguments& given) {
                    return Read(static_cast<int>(given[0]), PointerIn<char>(given, 1),
                                static_cast<std::size_t>(given[2]));
                }},
               {"close", [this](const TArguments& given) { return Close(static_cast<int>(given[0])); }}}
{
}

void TScriptedSystem::SetChild(const std::string& output, const std::string& pieces, EChildEnd end)
{
    fOutput = {output, pieces, 0};
    fEnd = end;
}

void TScriptedSystem::SetFile(const std::string& path, const std::string& contents, std::size_t size)
{
    fFiles[path] = {contents, size};
}

std::string TScriptedSystem::WhatIsLeft() const
{
    std::string left;
    if (!fOpen.empty())
        left += std::to_string(fOpen.size()) + " descriptors ";
    if (fChildren != 0)
        left += std::to_string(fChildren) + " children ";
    return left;
}

int TScriptedSystem::Add(TStream stream)
{
    int descriptor = kFirstDescriptor;
    while (fOpen.count(descriptor) != 0)
        ++descriptor;
    fOpen[descriptor] = std::move(stream);
    return descriptor;
}

long TScriptedSystem::Pipe(int* ends)
{
    ends[0] = Add(fOutput);
    ends[1] = Add({});
    return 0;
}

long TScriptedSystem::Fork()
{
    if (fEnd == EChildEnd::kNotForked)
        return -1;
    ++fChildren;
    return kChild;
}

long TScriptedSystem::Wait(int* status)
{
    --fChildren;
    if (fEnd == EChildEnd::kLost)
        return -1;
    // As Linux and a Mac encode them: the exit status above the lowest byte, a signal in it.
    if (status != nullptr)
        *status = fEnd == EChildEnd::kExitedWithOne ? 0x0100 : fEnd == EChildEnd::kKilled ? 9 : 0;
    return kChild;
}

long TScriptedSystem::Stat(const char* path, struct stat* info) const
{
    const auto file = fFiles.find(path);
    if (file == fFiles.end())
        return -1;
    memset(info, 0, sizeof *info);
    info->st_mode = S_IFREG | 0644;
    info->st_size = static_cast<off_t>(file->second.size);
    return 0;
}

long TScriptedSystem::Open(const char* path)
{
    const auto file = fFiles.find(path);
    return file == fFiles.end() ? -1 : Add({file->second.contents, "", 0});
}

std::size_t SizeOfFirstPiece(const std::string& pieces)
{
    if (pieces.empty())
        return SIZE_MAX;
    const char piece = pieces[0];
    return piece >= 'a' && piece <= 'p' ? std::size_t{1} << (piece - 'a') : 1 + static_cast<unsigned char>(piece) % 64u;
}

long TScriptedSystem::Read(int descriptor, char* buffer, std::size_t capacity)
{
    const auto open = fOpen.find(descriptor);
    if (open == fOpen.end())
        return -1;
    TStream& stream = open->second;
    const std::size_t left = stream.bytes.size() - stream.taken;
    const std::size_t count = std::min({capacity, left, SizeOfFirstPiece(stream.pieces)});
    stream.pieces.erase(0, 1);
    memcpy(buffer, stream.bytes.data() + stream.taken, count);
    stream.taken += count;
    return static_cast<long>(count);
}

long TScriptedSystem::Close(int descriptor)
{
    if (fOpen.erase(descriptor) == 0 && fOnClose)
        fOnClose(descriptor);
    return 0;
}
