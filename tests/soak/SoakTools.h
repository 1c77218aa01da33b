// The daemon's tools, which fail now and then, and a driver that goes and comes back.

#ifndef HALVORIX_TESTS_SOAK_SOAKTOOLS_H
#define HALVORIX_TESTS_SOAK_SOAKTOOLS_H

#include "lab/Machine.h"

#include <random>
#include <string>

class TSoakTools
{
public:
    // machine, random  outlive this object
    TSoakTools(lab::TMachine& machine, std::mt19937& random) : fMachine(machine), fRandom(random) {}

    // One of the tools fails from here on: by its status, by a signal, with output that means nothing, by hanging, or since
    // it is missing. The tool that failed before works again.
    void LetOneFail();

    // Kills a tool that hangs, since nobody else will; call now and then.
    void EndHanging() const;

    // All tools work again.
    void LetAllWork();

    unsigned Failures() const { return fFailures; }

private:
    lab::TMachine& fMachine;
    std::mt19937& fRandom;
    std::string fFailing;   // the tool; empty: none
    bool fHangs = false;
    unsigned fFailures = 0;
};

#endif
