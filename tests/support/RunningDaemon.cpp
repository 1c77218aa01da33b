#include "tests/support/RunningDaemon.h"

#include "tests/support/MachineTest.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

std::vector<std::string> DaemonCommand(const std::vector<std::string>& arguments)
{
    return lab::CommandFor("/usr/local/sbin/halvorixd", arguments);
}

std::vector<std::string> NoLeakCheckAtExit()
{
    return {"ASAN_OPTIONS=leak_check_at_exit=0"};
}

std::vector<std::string> FaultyDaemonCommand()
{
    return lab::CommandFor("/product/faulty/halvorixd", {});
}

void StartLoginSession(const lab::TMachine& machine)
{
    lab::TMachine running = machine;
    lab::TStart start;
    start.name = "SystemUIServer";
    pid_t process = 0;
    ASSERT_EQ("", running.Start(start, &process));
}

int ConnectToEventSocket(int flags)
{
    const int connected = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0);
    struct sockaddr_un address;
    memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, kEventSocket);
    if (connect(connected, reinterpret_cast<const struct sockaddr*>(&address), sizeof address) == 0)
        return connected;
    close(connected);
    return -1;
}

bool WaitForEventSocket()
{
    return WaitUntil([] {
        const int connected = ConnectToEventSocket();
        if (connected == -1)
            return false;
        close(connected);
        return true;
    });
}

static int EntriesIn(const std::string& folder)
{
    DIR* const open = opendir(folder.c_str());
    if (open == nullptr)
        return -1;
    int entries = 0;
    while (const dirent* const entry = readdir(open))
        entries += entry->d_name[0] != '.';
    closedir(open);
    return entries;
}

void EndDaemon(TRunningProgram* daemon)
{
    EXPECT_TRUE(daemon->IsRunning()) << daemon->Errors();
    daemon->Signal(SIGTERM);
    EXPECT_EQ("exited 0", daemon->WaitForEnd()) << daemon->Errors();
}

bool WaitForDisks(const lab::TMachine& machine, pid_t daemon, std::size_t runsBefore)
{
    const auto isOfTheVolume = [](const lab::TToolRun& run) {
        return run.arguments.size() == 3 && run.arguments[1] == "-k" && run.arguments[2] == "disk2s3";
    };
    return WaitUntil([&] {
        const std::vector<lab::TToolRun> runs = machine.ToolRuns();
        const auto first = runs.begin() + static_cast<std::ptrdiff_t>(std::min(runsBefore, runs.size()));
        return std::any_of(first, runs.end(), isOfTheVolume) && ChildrenOf(daemon) == 0;
    });
}

int DescriptorsOf(pid_t process)
{
    return EntriesIn("/proc/" + std::to_string(process) + "/fd");
}

int ThreadsOf(pid_t process)
{
    return EntriesIn("/proc/" + std::to_string(process) + "/task");
}

// The number behind this label in /proc/PID/status; -1 when the process is gone.
static long NumberInStatus(const std::string& process, const std::string& label)
{
    std::ifstream status("/proc/" + process + "/status");
    std::string word;
    while (status >> word) {
        long number = 0;
        if (word == label && status >> number)
            return number;
    }
    return -1;
}

int ChildrenOf(pid_t process)
{
    int children = 0;
    DIR* const processes = opendir("/proc");
    while (const dirent* const entry = readdir(processes)) {
        if (entry->d_name[0] >= '1' && entry->d_name[0] <= '9')
            children += NumberInStatus(entry->d_name, "PPid:") == process;
    }
    closedir(processes);
    return children;
}

long ResidentKilobytesOf(pid_t process)
{
    return NumberInStatus(std::to_string(process), "VmRSS:");
}

TListener::TListener() : fSocket(ConnectToEventSocket())
{
    EXPECT_NE(-1, fSocket) << "nobody listens at " << kEventSocket;
}

const std::string& TListener::Receive()
{
    char bytes[65536];
    while (fSocket != -1 && !fAtEnd) {
        const ssize_t got = recv(fSocket, bytes, sizeof bytes, MSG_DONTWAIT);
        if (got < 0)
            break;
        fAtEnd = got == 0;
        fReceived.append(bytes, static_cast<std::size_t>(got));
    }
    return fReceived;
}

std::string TListener::Take(std::size_t limit)
{
    std::string bytes(limit, '\0');
    const ssize_t got = fSocket != -1 && !fAtEnd ? recv(fSocket, bytes.data(), limit, MSG_DONTWAIT) : -1;
    fAtEnd = fAtEnd || (got == 0 && limit != 0);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
}

bool TListener::WaitForBytes(std::size_t bytes)
{
    return WaitUntil([this, bytes] { return Receive().size() >= bytes; }, 60);
}

void TListener::Leave()
{
    if (fSocket != -1)
        close(fSocket);
    fSocket = -1;
}

bool HearsEvents(lab::TMachine& machine, TListener* listener)
{
    return WaitUntil([&] {
        if (machine.WaitingEvents() == 0) {
            EXPECT_EQ("", machine.PostEvents({lab::TEvent()}));
        }
        return !listener->Receive().empty();
    });
}
