// A system of which each answer is made up, for code that would otherwise need children and files thousands of times a
// second. It stands on the table of faults (tests/support/Faults.h): the product's calls arrive here.

#ifndef HALVORIX_TESTS_FUZZ_SCRIPTEDSYSTEM_H
#define HALVORIX_TESTS_FUZZ_SCRIPTEDSYSTEM_H

#include "tests/support/Faults.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>

// Answers every call of one function of the table while it lives.
class TScript
{
public:
    // answer  gets the arguments as integers, pointers included, and gives the result
    TScript(const char* function, std::function<long(const TCallWatch::TArguments&)> answer);

private:
    TFault fFault;
    TCallWatch fWatch;
};

// How a child ends.
enum class EChildEnd
{
    kExitedWithZero,
    kExitedWithOne,
    kKilled,
    kLost,       // waitpid fails
    kNotForked   // fork fails
};

// How many bytes the first read of a child's output finds at most, by its pieces (TScriptedSystem::SetChild).
std::size_t SizeOfFirstPiece(const std::string& pieces);

// Children and files that seem to be there. No others are. One such system at a time.
class TScriptedSystem
{
public:
    TScriptedSystem();

    // The next child that is forked: what it prints, and how many bytes the first reads find at most, by a character for
    // each: a to p are 1 to 32768, each twice the one before; any other is 1 to 64. Further reads find all there is.
    void SetChild(const std::string& output, const std::string& pieces, EChildEnd end);

    // A file. size: what stat tells.
    void SetFile(const std::string& path, const std::string& contents, std::size_t size);

    // Who is told when a descriptor is closed that is none of a child or file.
    void SetOnClose(std::function<void(int)> onClose) { fOnClose = std::move(onClose); }

    // Says what was not given back, or twice: descriptors, children. Empty when all is well.
    std::string WhatIsLeft() const;

private:
    struct TFile
    {
        std::string contents;
        std::size_t size = 0;
    };

    // What can be read from a descriptor.
    struct TStream
    {
        std::string bytes;
        std::string pieces;
        std::size_t taken = 0;   // of the bytes
    };

    long Pipe(int* ends);
    long Fork();
    long Wait(int* status);
    long Stat(const char* path, struct stat* info) const;
    long Open(const char* path);
    long Read(int descriptor, char* buffer, std::size_t capacity);
    long Close(int descriptor);
    int Add(TStream stream);

    TStream fOutput;
    EChildEnd fEnd = EChildEnd::kNotForked;
    std::map<std::string, TFile> fFiles;
    std::map<int, TStream> fOpen;
    std::function<void(int)> fOnClose;
    int fChildren = 0;
    TScript fScripts[7];
};

#endif
