#include "tests/support/MachineTest.h"

#include <ApplicationServices/ApplicationServices.h>

#include <sys/wait.h>
#include <unistd.h>

class FrontProcess : public TMachineTest
{
};

TEST_F(FrontProcess, IsTheOneThatTheMachineNames)
{
    ASSERT_EQ("", machine.WriteText("front-process", "1\n"));

    ProcessSerialNumber number = {77, 77};
    pid_t process = 0;
    ASSERT_EQ(noErr, GetFrontProcess(&number));
    EXPECT_EQ(0u, number.highLongOfPSN);
    EXPECT_EQ(noErr, GetProcessPID(&number, &process));
    EXPECT_EQ(1, process);
}

TEST_F(FrontProcess, ASerialNumberIsNoProcessID)
{
    lab::TStart start;
    start.name = "Finder";
    pid_t finder = 0;
    ASSERT_EQ("", machine.Start(start, &finder));
    ASSERT_EQ("", machine.WriteText("front-process", std::to_string(finder)));

    ProcessSerialNumber number = {};
    ASSERT_EQ(noErr, GetFrontProcess(&number));
    EXPECT_NE(static_cast<UInt32>(finder), number.lowLongOfPSN);
    const ProcessSerialNumber wrong = {0, static_cast<UInt32>(finder)};
    pid_t process = 77;
    EXPECT_EQ(procNotFound, GetProcessPID(&wrong, &process));
    EXPECT_EQ(77, process);
}

TEST_F(FrontProcess, ThereIsNoneWhenNobodyIsLoggedIn)
{
    ProcessSerialNumber number = {77, 77};
    machine.Remove("front-process");
    EXPECT_EQ(procNotFound, GetFrontProcess(&number));
    ASSERT_EQ("", machine.WriteText("front-process", "0\n"));
    EXPECT_EQ(procNotFound, GetFrontProcess(&number));
    EXPECT_EQ(77u, number.lowLongOfPSN);
}

TEST_F(FrontProcess, AProcessThatEndedIsNotFound)
{
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const pid_t child = fork();
    if (child == 0) {
        char byte;
        close(ends[1]);
        _exit(read(ends[0], &byte, 1) == 0 ? 0 : 1);
    }
    ASSERT_EQ("", machine.WriteText("front-process", std::to_string(child)));
    ProcessSerialNumber number = {};
    EXPECT_EQ(noErr, GetFrontProcess(&number));
    close(ends[0]);
    close(ends[1]);
    waitpid(child, nullptr, 0);

    pid_t process = 77;
    EXPECT_EQ(procNotFound, GetProcessPID(&number, &process));
    EXPECT_EQ(77, process);
    EXPECT_EQ(procNotFound, GetFrontProcess(&number));
}

TEST_F(FrontProcess, SomeSerialNumbersAreFixed)
{
    pid_t process = 77;
    const ProcessSerialNumber none = {0, kNoProcess};
    EXPECT_EQ(procNotFound, GetProcessPID(&none, &process));
    EXPECT_EQ(77, process);
    const ProcessSerialNumber self = {0, kCurrentProcess};
    EXPECT_EQ(noErr, GetProcessPID(&self, &process));
    EXPECT_EQ(getpid(), process);
    EXPECT_EQ(paramErr, GetProcessPID(nullptr, &process));
    EXPECT_EQ(paramErr, GetProcessPID(&self, nullptr));
    EXPECT_EQ(paramErr, GetFrontProcess(nullptr));
}
