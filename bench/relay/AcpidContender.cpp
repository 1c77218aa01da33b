// acpid, fed with lines through a FIFO in the place of the kernel's file of events.

#include "bench/relay/Contender.h"

#include "bench/Child.h"
#include "bench/Sockets.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static constexpr const char* kProgram = "/host/usr/sbin/acpid";
static constexpr const char* kFolder = "/tmp/acpid";
static constexpr const char* kFIFO = "/tmp/acpid/events";
static constexpr const char* kSocket = "/tmp/acpid/socket";
static constexpr const char* kNoRules = "/tmp/acpid/rules";

class TAcpidContender : public TContender
{
public:
    void Start() override
    {
        mkdir(kFolder, 0755);
        mkdir(kNoRules, 0755);
        mkfifo(kFIFO, 0600);
        fEvents = open(kFIFO, O_RDWR | O_CLOEXEC);
        fRelay.Start({kProgram, "-f", "-c", kNoRules, "-e", kFIFO, "-s", kSocket, "-L", "/tmp/acpid/lock", "-p",
                      "/tmp/acpid/pid"});
    }

    int Connect() override { return ConnectWhenItListens(kSocket); }

    void Post(const TRecord& posted) override
    {
        TRecord line = posted;
        line.bytes[kRecordSize - 1] = '\n';
        if (write(fEvents, line.bytes, sizeof line.bytes) != static_cast<ssize_t>(sizeof line.bytes))
            GiveUp("acpid's FIFO takes no line");
    }

    pid_t Relay() const override { return fRelay.Process(); }

private:
    int fEvents = -1;
    TChild fRelay;
};

std::unique_ptr<TContender> MakeAcpidContender()
{
    return std::make_unique<TAcpidContender>();
}
