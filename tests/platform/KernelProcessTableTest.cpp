#include "tests/support/MachineTest.h"

#include <sys/sysctl.h>

#include <cerrno>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

class KernelProcessTable : public TMachineTest
{
protected:
    static int Read(void* buffer, size_t* size)
    {
        int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL};
        return sysctl(name, 3, buffer, size, nullptr, 0);
    }

    static std::vector<kinfo_proc> AllProcesses()
    {
        size_t size = 0;
        EXPECT_EQ(0, Read(nullptr, &size));
        std::vector<kinfo_proc> processes(size / sizeof(kinfo_proc));
        EXPECT_EQ(0, Read(processes.data(), &size));
        processes.resize(size / sizeof(kinfo_proc));
        return processes;
    }

    // The name in the table, or empty.
    static std::string NameOf(pid_t process)
    {
        for (const kinfo_proc& one : AllProcesses()) {
            if (one.kp_proc.p_pid == process)
                return one.kp_proc.p_comm;
        }
        return "";
    }

    // Starts an idle program of this name; it is stopped when the machine ends.
    std::string NameOfStarted(const std::string& name)
    {
        lab::TStart start;
        start.name = name;
        pid_t process = 0;
        EXPECT_EQ("", machine.Start(start, &process));
        std::string seen;
        WaitUntil([&] { return (seen = NameOf(process)) == name.substr(0, 16); }, 5);
        return seen;
    }
};

TEST_F(KernelProcessTable, ARecordIsAPowerPCMacs)
{
    kinfo_proc process = {};
    EXPECT_EQ(492u, sizeof process);
    EXPECT_EQ(24, reinterpret_cast<char*>(&process.kp_proc.p_pid) - reinterpret_cast<char*>(&process));
    EXPECT_EQ(163, process.kp_proc.p_comm - reinterpret_cast<char*>(&process));
    EXPECT_EQ(17u, sizeof process.kp_proc.p_comm);
}

TEST_F(KernelProcessTable, HoldsThisProcessAndProcessOne)
{
    EXPECT_NE("", NameOf(getpid()));
    EXPECT_EQ("lab-init", NameOf(1));
}

TEST_F(KernelProcessTable, NamesAreCutToSixteenCharactersNotFifteen)
{
    EXPECT_EQ("Fourteen_chars", NameOfStarted("Fourteen_chars"));
    EXPECT_EQ("Fifteen_letters", NameOfStarted("Fifteen_letters"));
    EXPECT_EQ("Sixteen_letters_", NameOfStarted("Sixteen_letters_"));
    EXPECT_EQ("Seventeen_letter", NameOfStarted("Seventeen_letters"));
}

TEST_F(KernelProcessTable, AZombieCounts)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(0);
    siginfo_t info = {};
    waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT);

    EXPECT_NE("", NameOf(child));
    waitpid(child, nullptr, 0);
    EXPECT_EQ("", NameOf(child));
}

TEST_F(KernelProcessTable, TheSizeThatIsAskedForHasRoomForFiveMore)
{
    size_t wanted = 0;
    ASSERT_EQ(0, Read(nullptr, &wanted));
    EXPECT_EQ((AllProcesses().size() + 5) * sizeof(kinfo_proc), wanted);
}

TEST_F(KernelProcessTable, ABufferThatIsTooSmallIsFilledWithWholeRecordsAndFails)
{
    ASSERT_GE(AllProcesses().size(), 2u);
    std::vector<char> buffer(2 * sizeof(kinfo_proc), 'x');
    size_t size = sizeof(kinfo_proc) + 100;
    errno = 0;

    EXPECT_EQ(-1, Read(buffer.data(), &size));

    EXPECT_EQ(ENOMEM, errno);
    EXPECT_EQ(sizeof(kinfo_proc), size);
    EXPECT_EQ('x', buffer[sizeof(kinfo_proc)]);
}

TEST_F(KernelProcessTable, OtherNamesAreNotThere)
{
    size_t size = 0;
    int other[] = {CTL_KERN, KERN_PROC, 1};
    EXPECT_EQ(-1, sysctl(other, 3, nullptr, &size, nullptr, 0));
    EXPECT_EQ(ENOENT, errno);
}

TEST_F(KernelProcessTable, TheTableCannotBeWritten)
{
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL};
    size_t size = 0;
    EXPECT_EQ(-1, sysctl(name, 3, nullptr, &size, &size, sizeof size));
    EXPECT_EQ(EPERM, errno);
}
