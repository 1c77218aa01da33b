// The Unix-domain socket at which local programs hear of driver events.

#ifndef HALVORIX_DAEMON_DRIVEREVENTSERVER_H
#define HALVORIX_DAEMON_DRIVEREVENTSERVER_H

#include "daemon/DriverEventRecord.h"
#include "daemon/EventClient.h"

#include <CoreFoundation/CoreFoundation.h>
#include <pthread.h>

// Where programs connect. They only read: 128-byte records, one behind the other, with nothing between them.
#define kDriverEventSocketPath "/tmp/com.halvorix.halvorixd/driverevents"

class TDriverEventServer
{
public:
    // Opens nothing: Start does.
    TDriverEventServer();

    // Releases the list of clients and nothing else: the socket, the connections, the mutex and the accepting thread live as
    // long as the process.
    ~TDriverEventServer();

    TDriverEventServer(const TDriverEventServer&) = delete;
    TDriverEventServer& operator=(const TDriverEventServer&) = delete;

    // Makes the socket and starts the thread that accepts clients. Call once. From here on SIGPIPE no longer ends the
    // process: a write to a client that has gone fails instead.
    //
    // returns  0, also when there is no memory for the list of clients, none of which is taken in then; -50, -54 or -108 as
    //          CreateListeningSocket; -108 also when there is no memory for the mutex; -50 also when the thread could not be
    //          created
    SInt32 Start();

    // Returns how many clients are connected, those included that have gone since the last event. Takes no lock, so that
    // asking never waits for a slow client. 0 before Start.
    UInt32 ClientCount() const;

    // Writes the record to every client, the latest to connect first. A client that cannot be written to is dropped; the
    // others still get the record. The record stays the caller's.
    //
    // Blocks while a client's buffer is full, and no new client is taken in meanwhile.
    void Broadcast(const TDriverEventRecord* record);

    // Makes the listening socket at this path.
    //
    // The folder above the socket is made when it is missing, with mode 0755 less the process's umask. One that is there
    // must be this user's with exactly mode 0755, and the folder above it root's and sticky: nobody else can then have put
    // the socket there. A stale socket at kDriverEventSocketPath is removed (at that path, whatever `path` is). Everybody
    // may connect. The process's umask is 0 for a moment and then what it was.
    //
    // path     absolute, at most 103 bytes (the 104 of a Mac's sun_path with the terminator)
    // returns  0
    //          -50   path too long; no "/" in it, or none but its last; no socket to be had
    //          -54   a folder that is not as above, or bind or listen failed
    //          -108  no memory
    // On failure a socket that was made stays open until the process ends.
    SInt32 CreateListeningSocket(const char* path);

    // Takes in a connected client.
    //
    // descriptor  its socket, which becomes the server's
    // returns     true, or false when there was no memory for the client or, at the start, for the list; the descriptor is
    //             closed then
    bool AddClient(int descriptor);

    // Accepts clients until one cannot be taken in. At the process's descriptor limit accept fails at once and is tried
    // again at once, so the thread spins until a descriptor is free. Starts at Start, on a thread of its own.
    void AcceptClients();

private:
    SInt32 BindSocket(const char* path);

    int fListeningSocket;         // -1: none
    CFMutableArrayRef fClients;   // TEventClient*, neither retained nor released by the array; null before Start
    pthread_t fAcceptThread;
    pthread_mutex_t* fClientsMutex;   // guards every change and every walk of fClients; null before Start
};

#endif
