// A small client of halvorixd in C++: prints the type of each event. c++ -std=c++11 -I.. listen.cpp -o listen -lpthread
//
// The daemon waits for a client that does not read, and all others wait with it. So one thread does nothing but read, and
// puts what came into a queue; the other takes it from there and may work as slowly as it likes.

#include "halvorixevent.h"

#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <mutex>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

struct TEntry
{
    HalvorixEvent event;
    unsigned long missed;   // events before it that found no room
};

class TQueue
{
public:
    // Never waits for who takes: where there is no room, the event is counted instead.
    void Put(const HalvorixEvent& event)
    {
        const std::lock_guard<std::mutex> hold(fLock);
        if (fEntries.size() == kRoom) {
            ++fMissed;
            return;
        }
        fEntries.push_back(TEntry{event, fMissed});
        fMissed = 0;
        fChanged.notify_one();
    }

    void End()
    {
        const std::lock_guard<std::mutex> hold(fLock);
        fEnded = true;
        fChanged.notify_one();
    }

    // Waits for the next one. Returns false when there will be none.
    bool Take(TEntry* entry)
    {
        std::unique_lock<std::mutex> hold(fLock);
        fChanged.wait(hold, [this] { return fEnded || !fEntries.empty(); });
        if (fEntries.empty())
            return false;
        *entry = fEntries.front();
        fEntries.pop_front();
        return true;
    }

private:
    static const std::size_t kRoom = 1000;

    std::mutex fLock;
    std::condition_variable fChanged;
    std::deque<TEntry> fEntries;
    unsigned long fMissed = 0;
    bool fEnded = false;
};

static int Connect()
{
    const int daemon = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = sockaddr_un();
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, HALVORIX_EVENT_SOCKET);
    return connect(daemon, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? daemon : -1;
}

static void Work(TQueue* queue)
{
    TEntry entry;
    while (queue->Take(&entry)) {
        std::printf("type %ld, %lu missed before it\n", static_cast<long>(entry.event.type), entry.missed);
        std::fflush(stdout);
    }
}

int main()
{
    const int daemon = Connect();
    if (daemon < 0) {
        std::fprintf(stderr, "listen: no daemon listens at " HALVORIX_EVENT_SOCKET "; start halvorixd\n");
        return 1;
    }

    TQueue queue;
    std::thread worker(Work, &queue);
    // A read may end within an event; MSG_WAITALL waits for the rest. Less is the end of the stream.
    HalvorixEvent event;
    while (recv(daemon, &event, sizeof event, MSG_WAITALL) == static_cast<ssize_t>(sizeof event))
        queue.Put(event);
    queue.End();
    worker.join();
    return 0;
}
