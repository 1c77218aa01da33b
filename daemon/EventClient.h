// One program that listens to driver events: its end of an accepted connection.

#ifndef HALVORIX_DAEMON_EVENTCLIENT_H
#define HALVORIX_DAEMON_EVENTCLIENT_H

#include "daemon/DriverEventRecord.h"

class TEventClient
{
public:
    TEventClient() : fSocket(-1) {}
    ~TEventClient() { CloseSocket(); }

    TEventClient(const TEventClient&) = delete;
    TEventClient& operator=(const TEventClient&) = delete;

    // Takes over an open descriptor; the client closes it. Returns 0.
    SInt32 SetSocket(int descriptor);

    // Closes the socket; nothing when there is none. Nothing is closed twice.
    void CloseSocket();

    // Writes the 128 bytes of one record. Blocks while the client's buffer is full.
    //
    // record   stays the caller's
    // returns  true when all bytes were taken, false when a write failed or claimed more than it was given
    //
    // After a short write the rest is written from the record's first byte again, not from where the write stopped: of
    // a record whose first write took 100 bytes, the client gets bytes 0 to 99 and then bytes 0 to 27. Clients were
    // built against this. A write that takes nothing is tried again at once.
    bool SendEvent(const TDriverEventRecord* record);

private:
    int fSocket;   // -1: none
};

#endif
