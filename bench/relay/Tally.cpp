#include "bench/relay/Tally.h"

#include "bench/Child.h"

#include <algorithm>
#include <climits>
#include <ctime>
#include <linux/futex.h>
#include <new>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

// Longer than the daemon sleeps between two looks.
static constexpr time_t kPatienceInSeconds = 3;

TTally* TTally::Create()
{
    void* const shared = mmap(nullptr, sizeof(TTally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        GiveUp("there is no memory to share");
    // Fresh memory is zero, as everything begins.
    return static_cast<TTally*>(shared);
}

void TTally::AddDeliveries(std::uint64_t count, std::uint64_t at)
{
    if (fFirstReceipt.load(std::memory_order_relaxed) == 0)
        fFirstReceipt.store(at);
    fLastReceipt.store(at, std::memory_order_relaxed);
    const std::uint64_t delivered = fDelivered.fetch_add(count) + count;
    const std::uint64_t wakeAt = fWakeAt.load();
    if (wakeAt == 0 || delivered < wakeAt)
        return;
    fWakeAt.store(0);
    fWoken.store(1);
    syscall(SYS_futex, &fWoken, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

void TTally::AddDelay(std::uint64_t nanoseconds)
{
    const std::size_t index = fDelayCount.load(std::memory_order_relaxed);
    if (index == kDelayCapacity)
        GiveUp("there is no room for so many delays");
    fDelays[index] = nanoseconds;
    fDelayCount.store(index + 1);
}

void TTally::BeginLook()
{
    fDelayCount.store(0);
    fFirstReceipt.store(0);
}

std::vector<std::uint64_t> TTally::Delays() const
{
    return std::vector<std::uint64_t>(fDelays, fDelays + fDelayCount.load());
}

bool TTally::SleepUntilWoken(std::uint64_t count)
{
    fWoken.store(0);
    fWakeAt.store(count);
    // Looked at again: it may have come before it was asked for.
    if (Delivered() >= count)
        return true;
    const struct timespec patience = {kPatienceInSeconds, 0};
    syscall(SYS_futex, &fWoken, FUTEX_WAIT, 0, &patience, nullptr, 0);
    return Delivered() >= count;
}

bool TTally::WaitForDeliveries(std::uint64_t count)
{
    for (std::uint64_t before = Delivered(); before < count;) {
        if (SleepUntilWoken(count))
            break;
        const std::uint64_t now = Delivered();
        if (now == before)
            return false;
        before = now;
    }
    fWakeAt.store(0);
    return true;
}
