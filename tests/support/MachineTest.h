// What every test inside the sandbox needs: a machine, and the check that nothing is left behind.

#ifndef HALVORIX_TESTS_SUPPORT_MACHINETEST_H
#define HALVORIX_TESTS_SUPPORT_MACHINETEST_H

#include "lab/Machine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>

// What a process holds that it has to give back.
struct THeld
{
    int descriptors = 0;              // open file descriptors
    int children = 0;                 // children, zombies included
    std::uint64_t objects = 0;        // live Core Foundation objects
    std::uint64_t references = 0;     // live IOKit references
    std::uint64_t overReleases = 0;   // releases of what was not held
};

// Counts what this process holds now (the children by /proc, the objects in this process's file of counts).
THeld HeldByThisProcess();

// Polls until the condition holds. Returns false when it did not hold within the deadline (generous: programs run under
// an emulator and sanitizers).
bool WaitUntil(const std::function<bool()>& condition, double seconds = 30);

// Each test runs in a process and a machine of its own. Whatever the test leaves behind fails it.
class TMachineTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts an idle process that ps shows under this name.
    pid_t StartProcess(const std::string& name);

    // For the few tests of a documented leak: what TearDown is to find beyond what SetUp saw.
    THeld fExpectedLeft;
    lab::TMachine machine;

private:
    THeld fBefore;
};

#endif
