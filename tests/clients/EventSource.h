// A stand-in for the daemon's end of the event socket: a test says what is sent, and when.

#ifndef HALVORIX_TESTS_CLIENTS_EVENTSOURCE_H
#define HALVORIX_TESTS_CLIENTS_EVENTSOURCE_H

#include "clients/halvorixevent.h"

#include <cstddef>
#include <string>

class TEventSource
{
public:
    // Listens at this path, in place of what stands there; makes the folder.
    //
    // backlog  as listen(2) takes it
    explicit TEventSource(const std::string& path = HALVORIX_EVENT_SOCKET, int backlog = 5);

    // Closes everything and leaves the socket's file, as the daemon does.
    ~TEventSource();

    TEventSource(const TEventSource&) = delete;
    TEventSource& operator=(const TEventSource&) = delete;

    // Waits for the next client and talks to that one from now on. Fails the test when none comes.
    void Accept();

    // Whether a client waits to be accepted.
    bool SomebodyWaits() const;

    // Writes as the daemon does, blocking. Fails the test when the client takes nothing for five seconds.
    void Send(const std::string& bytes);

    // Sends this as often, and stops at the first failure.
    void SendMany(const std::string& bytes, std::size_t count);

    // Waits until the client has read everything that was sent.
    void WaitUntilRead();

    // Whether the client has closed its end.
    bool ClientIsGone() const;

    // Closes the connection.
    void EndStream();

    // How long the longest Send took, in seconds.
    double LongestSend() const { return fLongestSend; }

private:
    int fListening = -1;
    int fClient = -1;
    double fLongestSend = 0;
};

#endif
