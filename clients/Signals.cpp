#include "clients/Signals.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <sys/select.h>
#include <unistd.h>

static int gPipe[2] = {-1, -1};
static sigset_t gWhileWaiting;

static void PassOn(int number)
{
    const int error = errno;
    const unsigned char byte = static_cast<unsigned char>(number);
    // A full pipe already holds enough signals to act upon.
    const ssize_t ignored = write(gPipe[1], &byte, 1);
    static_cast<void>(ignored);
    errno = error;
}

static void Handle(int number, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

int CatchSignals()
{
    if (pipe(gPipe) != 0)
        return -1;
    if (gPipe[0] >= FD_SETSIZE) {
        errno = EMFILE;
        return -1;
    }
    fcntl(gPipe[0], F_SETFL, O_NONBLOCK);
    fcntl(gPipe[1], F_SETFL, O_NONBLOCK);

    sigset_t held;
    sigemptyset(&held);
    for (const int number : {SIGINT, SIGTERM, SIGTSTP})
        sigaddset(&held, number);
    sigprocmask(SIG_BLOCK, &held, nullptr);
    sigprocmask(SIG_BLOCK, nullptr, &gWhileWaiting);
    for (const int number : {SIGINT, SIGTERM, SIGTSTP})
        sigdelset(&gWhileWaiting, number);

    Handle(SIGINT, PassOn);
    Handle(SIGTERM, PassOn);
    Handle(SIGPIPE, SIG_IGN);
    Handle(SIGTTOU, SIG_IGN);

    struct sigaction inherited = {};
    sigaction(SIGTSTP, nullptr, &inherited);
    if (inherited.sa_handler != SIG_IGN)
        Handle(SIGTSTP, PassOn);
    return gPipe[0];
}

const sigset_t& SignalsWhileWaiting()
{
    return gWhileWaiting;
}

int NextSignal()
{
    unsigned char number = 0;
    return read(gPipe[0], &number, 1) == 1 ? number : 0;
}

void StopUntilContinued()
{
    Handle(SIGTSTP, SIG_DFL);
    raise(SIGTSTP);
    // It is held until the mask lets it through, and then stops us here.
    sigset_t held;
    sigprocmask(SIG_SETMASK, &gWhileWaiting, &held);
    sigprocmask(SIG_SETMASK, &held, nullptr);
    Handle(SIGTSTP, PassOn);
}
