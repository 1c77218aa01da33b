// What the subscribers have received, in memory that they share with who posts.

#ifndef HALVORIX_BENCH_RELAY_TALLY_H
#define HALVORIX_BENCH_RELAY_TALLY_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

class TTally
{
public:
    // Makes one that forked processes share. Ends the program when there is no memory.
    static TTally* Create();

    // Subscribers' side. `at` is the time by Now().
    void AddDeliveries(std::uint64_t count, std::uint64_t at);
    void AddDelay(std::uint64_t nanoseconds);
    void AddWrong() { fWrong.fetch_add(1, std::memory_order_relaxed); }
    void AddListener() { fListening.fetch_add(1); }
    void AddEnded() { fEnded.fetch_add(1); }
    void AddConnected() { fConnected.fetch_add(1); }
    bool Restless() const { return fRestless.load(std::memory_order_relaxed); }

    // Records that arrived since the beginning, of all subscribers together.
    std::uint64_t Delivered() const { return fDelivered.load(std::memory_order_acquire); }

    // Records that were not the one behind the last of the same subscriber.
    std::uint64_t Wrong() const { return fWrong.load(); }

    // Connections that were made, on which at least one record has come, and that ended.
    unsigned Connected() const { return fConnected.load(); }
    unsigned Listening() const { return fListening.load(); }
    unsigned Ended() const { return fEnded.load(); }

    // When the first delivery since the last BeginLook came, and when the latest did.
    std::uint64_t FirstReceipt() const { return fFirstReceipt.load(); }
    std::uint64_t LastReceipt() const { return fLastReceipt.load(); }

    // Forgets delays and the first receipt. Nothing may be underway.
    void BeginLook();

    // The delays since then, in nanoseconds.
    std::vector<std::uint64_t> Delays() const;

    // Has subscribers look without end, instead of sleeping until something comes.
    void SetRestless(bool restless) { fRestless.store(restless); }

    // Sleeps until so many records were delivered since the beginning; returns false when none came for a while.
    bool WaitForDeliveries(std::uint64_t count);

private:
    static constexpr std::size_t kDelayCapacity = 1 << 20;

    bool SleepUntilWoken(std::uint64_t count);

    std::atomic<std::uint64_t> fDelivered;
    std::atomic<std::uint64_t> fLastReceipt;
    std::atomic<std::uint64_t> fFirstReceipt;   // 0: none yet
    std::atomic<std::uint64_t> fWrong;
    std::atomic<unsigned> fConnected;
    std::atomic<unsigned> fListening;
    std::atomic<unsigned> fEnded;
    std::atomic<bool> fRestless;
    std::atomic<std::uint64_t> fWakeAt;   // so many deliveries wake who waits; 0: nobody does
    std::atomic<std::uint32_t> fWoken;    // the futex
    std::atomic<std::size_t> fDelayCount;
    std::uint64_t fDelays[kDelayCapacity];
};

#endif
