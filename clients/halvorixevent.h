/*
 * The record that halvorixd sends to every program that listens to its event socket. For C and C++.
 *
 * Connect a Unix-domain stream socket to HALVORIX_EVENT_SOCKET and read. The stream is nothing but records, each of
 * kHalvorixEventSize bytes: no greeting, no length, no separator. A read may end within a record or hold several. Send
 * nothing; nobody reads it. docs/clients.md tells how to be a client that does not hold up the daemon.
 *
 * Numbers are in the byte order of the machine that the daemon runs on, which is the client's own: big-endian on a
 * PowerPC Mac. A record that is kept for another machine must be kept together with its byte order.
 */

#ifndef HALVORIX_CLIENTS_HALVORIXEVENT_H
#define HALVORIX_CLIENTS_HALVORIXEVENT_H

#include <stddef.h>
#include <stdint.h>

/* Where the daemon listens. The file may remain when the daemon has ended; connecting is then refused. */
#define HALVORIX_EVENT_SOCKET "/tmp/com.halvorix.halvorixd/driverevents"

/* Widths in bytes, and where each field starts. */
enum
{
    kHalvorixEventSize = 128,

    kHalvorixEventQueueEmptyOffset = 0,
    kHalvorixEventHeadOffset = 4,
    kHalvorixEventTypeOffset = 12,
    kHalvorixEventBodyOffset = 16,
    kHalvorixEventNameOffset = 112,

    kHalvorixEventHeadSize = 8,
    kHalvorixEventBodySize = 96,
    kHalvorixEventNameSize = 16
};

/* Types up to this one never come: the daemon acts on 1 and 2 itself, and 0 and negative ones are no events. */
enum
{
    kHalvorixEventLastUnsentType = 2
};

typedef struct HalvorixEvent
{
    /* What the daemon saw when it fetched this record: 0 when more events waited in the driver, otherwise not 0. */
    uint32_t queueEmpty;

    /* The driver's own; the daemon neither reads nor changes it. */
    uint8_t head[8];

    /* The kind of event. Always greater than kHalvorixEventLastUnsentType; what each number means is the driver's. */
    int32_t type;

    /* The driver's own, as above. */
    uint8_t body[96];

    /*
     * The driver's own in every record that a client receives. The daemon reads a BSD name here ("disk2s3", ended by a
     * zero byte) for types 1 and 2 alone, and those are never sent. In other types it may be a name, or anything: no
     * zero byte is promised.
     */
    uint8_t name[16];
} HalvorixEvent;

/* Compilers older than C11 and C++11 take the layout unchecked. */
#if defined(__cplusplus) && __cplusplus >= 201103L
#define HALVORIX_EVENT_CHECK(condition) static_assert(condition, #condition)
#elif !defined(__cplusplus) && defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define HALVORIX_EVENT_CHECK(condition) _Static_assert(condition, #condition)
#endif

#ifdef HALVORIX_EVENT_CHECK
HALVORIX_EVENT_CHECK(sizeof(HalvorixEvent) == kHalvorixEventSize);
HALVORIX_EVENT_CHECK(offsetof(HalvorixEvent, queueEmpty) == kHalvorixEventQueueEmptyOffset);
HALVORIX_EVENT_CHECK(offsetof(HalvorixEvent, head) == kHalvorixEventHeadOffset);
HALVORIX_EVENT_CHECK(offsetof(HalvorixEvent, type) == kHalvorixEventTypeOffset);
HALVORIX_EVENT_CHECK(offsetof(HalvorixEvent, body) == kHalvorixEventBodyOffset);
HALVORIX_EVENT_CHECK(offsetof(HalvorixEvent, name) == kHalvorixEventNameOffset);
#undef HALVORIX_EVENT_CHECK
#endif

#endif
