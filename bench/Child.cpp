#include "bench/Child.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

void TChild::Start(const std::vector<std::string>& command)
{
    if (access(command[0].c_str(), X_OK) != 0)
        GiveUp("there is no program " + command[0]);
    std::vector<std::string> words = command;
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    fflush(nullptr);
    fProcess = fork();
    if (fProcess != 0)
        return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nothing = open("/dev/null", O_RDWR);
    dup2(nothing, STDIN_FILENO);
    dup2(nothing, STDOUT_FILENO);
    dup2(nothing, STDERR_FILENO);
    close(nothing);
    execv(arguments[0], arguments.data());
    _exit(127);
}

void TChild::End()
{
    if (fProcess == -1)
        return;
    kill(fProcess, SIGKILL);
    waitpid(fProcess, nullptr, 0);
    fProcess = -1;
}

void GiveUp(const std::string& what)
{
    fprintf(stderr, "bench: %s\n", what.c_str());
    exit(1);
}
