#include "tests/clients/SlowReader.h"

#include "tests/support/MachineTest.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

const char kSlowReader[] = "/tmp/slow-reader";

std::vector<std::string> WithRedirection(const std::string& redirection, const std::vector<std::string>& command)
{
    std::vector<std::string> all = {"/bin/sh", "sh", "-c", "exec \"$@\" " + redirection, "sh", command[0]};
    all.insert(all.end(), command.begin() + 2, command.end());
    return all;
}

std::vector<std::string> WithOutputTo(const std::string& file, const std::vector<std::string>& command)
{
    return WithRedirection(">" + file, command);
}

TSlowReader::TSlowReader()
{
    EXPECT_EQ(0, mkfifo(kSlowReader, 0600));
    fPipe = open(kSlowReader, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_GE(fPipe, 0);
}

TSlowReader::~TSlowReader()
{
    Leave();
    unlink(kSlowReader);
}

void TSlowReader::Leave()
{
    if (fPipe >= 0)
        close(fPipe);
    fPipe = -1;
}

void TSlowReader::MakeRoom(int bytes)
{
    EXPECT_EQ(bytes, fcntl(fPipe, F_SETPIPE_SZ, bytes));
}

const std::string& TSlowReader::Read()
{
    char bytes[65536];
    for (ssize_t got = 0; (got = read(fPipe, bytes, sizeof bytes)) > 0;)
        fText.append(bytes, static_cast<std::size_t>(got));
    return fText;
}

const std::string& TSlowReader::ReadAllOf(TRunningProgram& program)
{
    EXPECT_TRUE(WaitUntil([&] {
        Read();
        return !program.IsRunning();
    }));
    return Read();
}
