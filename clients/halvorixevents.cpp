// halvorixevents: prints the events that halvorixd sends to its clients. See --help.

#include "clients/CommandLine.h"
#include "clients/EventFormat.h"
#include "clients/EventStream.h"
#include "clients/OutputBuffer.h"
#include "clients/Signals.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using TClock = std::chrono::steady_clock;

static const std::size_t kOutputCapacity = 1048576;
static const std::chrono::milliseconds kBetweenTries(250);

// Tells a person something on standard error, or gives up after a second when that takes nothing. Never said while the
// stream is open, since the daemon would wait, too.
static void Say(const std::string& text)
{
    const std::string line = "halvorixevents: " + text + "\n";
    if (!WaitUntilWritable(STDERR_FILENO, 1000))
        return;
    const ssize_t ignored = write(STDERR_FILENO, line.data(), line.size());
    static_cast<void>(ignored);
}

static TMilliseconds Now()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

static bool IsPipe(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
}

// One run of the program: from the first attempt to connect to the last byte of output.
class TListener
{
public:
    // signals  the pipe in which they arrive
    TListener(const TOptions& options, int signals);

    // Returns the exit status.
    int Run();

private:
    enum class EPhase
    {
        kConnecting,   // no daemon yet, or none any more
        kListening,
        kFinishing,   // nothing more will come, but output waits
        kEnded
    };

    void Connect();
    void Wait();
    void TakeSignal();
    void Suspend();
    void TakeEvents();
    void StreamEnded();
    void TakeOutputHangup();
    void WriteOutput();
    void Finish();
    void Fail(const std::string& text);
    void ReportDropped() const;

    const TOptions fOptions;
    const int fSignals;
    TEventStream fStream;
    TOutputBuffer fOutput;
    EPhase fPhase = EPhase::kConnecting;
    TClock::time_point fNextTry = TClock::now();
    std::uint64_t fReceived = 0;
    bool fWasConnected = false;
    bool fWatchesOutput = IsPipe(STDOUT_FILENO);
    bool fOutputClosed = false;
    int fStatus = 0;
};

TListener::TListener(const TOptions& options, int signals)
    : fOptions(options), fSignals(signals),
      fOutput(STDOUT_FILENO, kOutputCapacity,
              [format = options.format](std::uint64_t count) { return FormatDropped(format, count); })
{
}

int TListener::Run()
{
    while (fPhase != EPhase::kEnded) {
        if (fPhase == EPhase::kConnecting && TClock::now() >= fNextTry)
            Connect();
        if (fPhase == EPhase::kFinishing && fOutput.IsEmpty()) {
            fPhase = EPhase::kEnded;
        } else {
            Wait();
        }
    }
    // Nothing may hold up the daemon while the last words wait for somebody to read them.
    fStream.Close();
    ReportDropped();
    return fStatus;
}

void TListener::Connect()
{
    // Set for the time after a success, too: a daemon that closes each connection at once is not asked all the time.
    fNextTry = TClock::now() + kBetweenTries;
    const int error = fStream.Connect(fOptions.socketPath);
    if (error == 0) {
        fWasConnected = true;
        fPhase = EPhase::kListening;
        return;
    }

    const bool nobodyListens = error == ENOENT || error == ECONNREFUSED;
    const bool mayCome = fWasConnected ? fOptions.reconnect : fOptions.wait;
    if (error == EAGAIN || (nobodyListens && mayCome))
        return;
    if (nobodyListens && fWasConnected) {
        Finish();
    } else if (nobodyListens) {
        Fail("no daemon listens at " + fOptions.socketPath + "; start halvorixd, or wait for it with --wait");
    } else {
        Fail("cannot connect to " + fOptions.socketPath + ": " + strerror(error));
    }
}

// Waits until something can be done, and does it. Not by poll(2), since that of Mac OS X knows no terminals.
void TListener::Wait()
{
    fd_set readable;
    fd_set writable;
    FD_ZERO(&readable);
    FD_ZERO(&writable);
    FD_SET(fSignals, &readable);
    if (fStream.IsOpen())
        FD_SET(fStream.Socket(), &readable);
    if (!fOutput.IsEmpty()) {
        FD_SET(STDOUT_FILENO, &writable);
    } else if (fWatchesOutput) {
        FD_SET(STDOUT_FILENO, &readable);
    }

    using std::chrono::nanoseconds;
    const nanoseconds untilTry = std::max<nanoseconds>(fNextTry - TClock::now(), nanoseconds(0));
    timespec timeout = {};
    timeout.tv_nsec = static_cast<decltype(timeout.tv_nsec)>(untilTry.count());   // always less than a second
    const int highest = std::max({fSignals, fStream.Socket(), STDOUT_FILENO});
    if (pselect(highest + 1, &readable, &writable, nullptr, fPhase == EPhase::kConnecting ? &timeout : nullptr,
                &SignalsWhileWaiting()) <= 0)
        return;

    if (fStream.IsOpen() && FD_ISSET(fStream.Socket(), &readable))
        TakeEvents();
    if (FD_ISSET(STDOUT_FILENO, &readable))
        TakeOutputHangup();
    if (FD_ISSET(STDOUT_FILENO, &writable))
        WriteOutput();
    if (FD_ISSET(fSignals, &readable))
        TakeSignal();
}

void TListener::TakeSignal()
{
    const int number = NextSignal();
    if (number == SIGTSTP)
        return Suspend();
    if (number == 0)
        return;

    // What is still wanted goes out, as long as somebody takes it.
    Finish();
    while (fPhase != EPhase::kEnded && !fOutput.IsEmpty() && WaitUntilWritable(STDOUT_FILENO, 0))
        WriteOutput();
    fPhase = EPhase::kEnded;
}

// A stopped process drains nothing, so it gives up its place with the daemon and takes a new one when it is continued.
void TListener::Suspend()
{
    const bool wasOpen = fStream.IsOpen();
    fStream.Close();
    StopUntilContinued();
    if (wasOpen)
        fPhase = EPhase::kConnecting;
}

void TListener::TakeEvents()
{
    std::vector<HalvorixEvent> events;
    const bool goesOn = fStream.Read(&events);
    const TMilliseconds now = Now();
    for (const HalvorixEvent& event : events) {
        fOutput.Put(FormatEvent(fOptions.format, event, now));
        if (++fReceived == fOptions.count)
            return Finish();
    }
    if (!goesOn)
        StreamEnded();
}

void TListener::StreamEnded()
{
    fStream.Close();
    const std::size_t torn = fStream.PartialBytes();
    if (torn) {
        Say("the stream ended within an event; of its 128 bytes " + std::to_string(torn) + " came and are left out");
    }
    if (!fOptions.reconnect)
        return Finish();

    Say("the daemon closed the stream; waiting for the next one");
    fPhase = EPhase::kConnecting;
}

// The writing end of a pipe becomes readable when the last reader has gone, so that an idle program ends with its
// pager. It does, too, when it was opened for both and holds data.
void TListener::TakeOutputHangup()
{
    pollfd output = {STDOUT_FILENO, 0, 0};
    fWatchesOutput = false;
    if (poll(&output, 1, 0) == 1 && (output.revents & (POLLERR | POLLHUP)))
        fPhase = EPhase::kEnded;
}

void TListener::WriteOutput()
{
    const int error = fOutput.Write();
    if (error == 0)
        return;
    if (error != EPIPE)
        Fail(std::string("cannot write: ") + strerror(error));
    fOutputClosed = true;
    fPhase = EPhase::kEnded;
}

// Nothing more is wanted of the daemon.
void TListener::Finish()
{
    fStream.Close();
    fOutput.PutLastNotice();
    fPhase = EPhase::kFinishing;
}

void TListener::Fail(const std::string& text)
{
    Finish();
    Say(text);
    fStatus = 1;
}

void TListener::ReportDropped() const
{
    // What waits for an output that nobody reads any more is missed by nobody.
    const std::uint64_t dropped = fOutput.Dropped() + (fOutputClosed ? 0 : fOutput.Waiting());
    if (dropped) {
        Say(std::to_string(dropped) + (dropped == 1 ? " event was" : " events were") +
            " dropped, since the output was not read in time");
    }
}

// Were 0 and 2 closed, the next descriptors would take their numbers, and messages would go where signals arrive.
static void FillStandardDescriptors()
{
    int descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDWR);
    if (descriptor >= 0)
        close(descriptor);
}

// A terminal may have room for less than one write, which then waits although select(2) called the terminal ready. Opened
// anew it can be made non-blocking for us, and stays as it is for the others who have it.
static void OpenTerminalAnew()
{
    const char* const name = ttyname(STDOUT_FILENO);
    const int terminal = name ? open(name, O_WRONLY | O_NOCTTY | O_NONBLOCK) : -1;
    if (terminal < 0)
        return;
    dup2(terminal, STDOUT_FILENO);
    close(terminal);
}

static int Print(const std::string& text)
{
    return fputs(text.c_str(), stdout) >= 0 && fflush(stdout) == 0 ? 0 : 1;
}

static int Listen(const TOptions& options)
{
    if (fcntl(STDOUT_FILENO, F_GETFD) < 0) {
        Say("standard output is closed; give it a file, a pipe or a terminal");
        return 1;
    }
    FillStandardDescriptors();
    OpenTerminalAnew();

    const int signals = CatchSignals();
    if (signals < 0) {
        Say(std::string("cannot wait for signals: ") + strerror(errno));
        return 1;
    }
    return TListener(options, signals).Run();
}

int main(int count, char** arguments)
{
    TOptions options;
    const std::string error = ReadCommandLine(std::vector<std::string>(arguments + 1, arguments + count), &options);
    if (!error.empty()) {
        Say(error);
        return 2;
    }

    switch (options.task) {
    case TOptions::ETask::kShowHelp:
        return Print(kHelp);
    case TOptions::ETask::kShowVersion:
        return Print("halvorixevents " HALVORIX_VERSION "\n");
    case TOptions::ETask::kListen:
        break;
    }
    return Listen(options);
}
