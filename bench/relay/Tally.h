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

    // Whether they are to leave what has come where it is, until there are more for each of so many.
    bool IsGathering(std::uint64_t subscribers) const
    {
        return fGathering.load(std::memory_order_relaxed) &&
               fDue.load(std::memory_order_relaxed) < Delivered() + kGathered * subscribers;
    }

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

    // Has subscribers read some records at a time instead of each as it comes, by how many deliveries are due since the
    // beginning. It takes them longer to read a record by itself than it takes to write one, and how fast they read is not
    // what is measured.
    void SetGathering(bool gathering) { fGathering.store(gathering); }
    void SetDue(std::uint64_t deliveries) { fDue.store(deliveries, std::memory_order_relaxed); }

    // Sleeps until so many records were delivered since the beginning; returns false when none came for a while.
    bool WaitForDeliveries(std::uint64_t count);

private:
    static constexpr std::size_t kDelayCapacity = 1 << 20;
    static constexpr std::uint64_t kGathered = 16;

    bool SleepUntilWoken(std::uint64_t count);

    std::atomic<std::uint64_t> fDelivered;
    std::atomic<std::uint64_t> fLastReceipt;
    std::atomic<std::uint64_t> fFirstReceipt;   // 0: none yet
    std::atomic<std::uint64_t> fWrong;
    std::atomic<unsigned> fConnected;
    std::atomic<unsigned> fListening;
    std::atomic<unsigned> fEnded;
    std::atomic<bool> fRestless;
    std::atomic<bool> fGathering;
    std::atomic<std::uint64_t> fDue;
    std::atomic<std::uint64_t> fWakeAt;   // so many deliveries wake who waits; 0: nobody does
    std::atomic<std::uint32_t> fWoken;    // the futex
    std::atomic<std::size_t> fDelayCount;
    std::uint64_t fDelays[kDelayCapacity];
};

#endif
