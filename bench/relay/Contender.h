// Who relays records to subscribers: the product, or one of those that it is measured beside.

#ifndef HALVORIX_BENCH_RELAY_CONTENDER_H
#define HALVORIX_BENCH_RELAY_CONTENDER_H

#include "bench/relay/Framing.h"
#include "bench/relay/Record.h"

#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

class TContender
{
public:
    TContender() = default;
    virtual ~TContender() = default;
    TContender(const TContender&) = delete;
    TContender& operator=(const TContender&) = delete;

    // Starts what relays; when it returns, subscribers can connect.
    virtual void Start() = 0;

    // Makes one subscriber's connection and shakes hands. Called in the subscribers' process, which was forked before the
    // start. Returns the descriptor, or -1.
    virtual int Connect() = 0;

    virtual TFraming Framing() const { return PlainFrame; }

    // All subscribers hear what is posted from now on.
    virtual void AllListen() {}

    // Hands over one record.
    virtual void Post(const TRecord& record) = 0;

    // Hands over many at once; for those that look for records now and then.
    virtual void PostAll(const std::vector<TRecord>& records);
    virtual bool LooksNowAndThen() const { return false; }

    // Which of its ways to relay is to be used from now on. Returns false when it has no such.
    virtual bool Use(const std::string& way) { return way == "-"; }

    // The process whose processor time and memory the relaying takes.
    virtual pid_t Relay() const = 0;
};

std::unique_ptr<TContender> MakeDirectContender();
std::unique_ptr<TContender> MakeDaemonContender();
std::unique_ptr<TContender> MakeAcpidContender();
std::unique_ptr<TContender> MakeDBusContender();
std::unique_ptr<TContender> MakeZeroMQContender();

#endif
