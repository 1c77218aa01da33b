// ZeroMQ: a PUB socket in this process, whose own thread writes to the subscribers.
//
// Subscribers speak its protocol, ZMTP 3, themselves, so that they read as all others do. They say what a SUB socket says.

#include "bench/relay/Contender.h"

#include "bench/Child.h"
#include "bench/Sockets.h"

#include <sys/socket.h>
#include <unistd.h>
#include <zmq.h>

static constexpr const char* kAddress = "ipc:///tmp/queue";
// By default it drops what is posted faster than its thread comes to it.
static constexpr int kMessagesItKeeps = 100000;

static constexpr const char* kSocket = "/tmp/queue";

// Signature, version 3.0, mechanism, role, filler.
static const char kGreeting[64] = "\xff\0\0\0\0\0\0\0\1\x7f\3\0NULL";

// The command READY with the socket's type.
static const char kReady[] = "\x04\x19\5READY\x0bSocket-Type\0\0\0\3SUB";

// The message by which everything is subscribed to.
static const char kSubscription[] = {0, 1, 1};

static bool Send(int descriptor, const char* bytes, std::size_t count)
{
    return send(descriptor, bytes, count, MSG_NOSIGNAL) == static_cast<ssize_t>(count);
}

static bool Receive(int descriptor, char* bytes, std::size_t count)
{
    return recv(descriptor, bytes, count, MSG_WAITALL) == static_cast<ssize_t>(count);
}

static bool ShakeHands(int descriptor)
{
    char greeting[sizeof kGreeting];
    char header[2];
    char command[256];
    return Send(descriptor, kGreeting, sizeof kGreeting) && Receive(descriptor, greeting, sizeof greeting) &&
           Send(descriptor, kReady, sizeof kReady - 1) && Receive(descriptor, header, sizeof header) &&
           Receive(descriptor, command, static_cast<unsigned char>(header[1])) &&
           Send(descriptor, kSubscription, sizeof kSubscription);
}

class TZeroMQContender : public TContender
{
public:
    void Start() override
    {
        fSocket = zmq_socket(zmq_ctx_new(), ZMQ_PUB);
        if (fSocket == nullptr ||
            zmq_setsockopt(fSocket, ZMQ_SNDHWM, &kMessagesItKeeps, sizeof kMessagesItKeeps) != 0 ||
            zmq_bind(fSocket, kAddress) != 0)
            GiveUp("the PUB socket cannot be bound");
    }

    int Connect() override
    {
        const int descriptor = ConnectWhenItListens(kSocket);
        return ShakeHands(descriptor) ? descriptor : -1;
    }

    TFraming Framing() const override { return ZMTPFrame; }

    void Post(const TRecord& record) override
    {
        if (zmq_send(fSocket, record.bytes, sizeof record.bytes, 0) != static_cast<int>(sizeof record.bytes))
            GiveUp("the PUB socket takes no message");
    }

    pid_t Relay() const override { return getpid(); }

private:
    void* fSocket = nullptr;
};

std::unique_ptr<TContender> MakeZeroMQContender()
{
    return std::make_unique<TZeroMQContender>();
}
