// Orders to the functions of the table. The functions themselves are listed in FaultsIn*.cpp.

#include "tests/support/FaultTable.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

// Never destroyed: threads may call until the process ends.
static std::map<std::string, TListed*>& Table()
{
    static auto* const table = new std::map<std::string, TListed*>;
    return *table;
}

TListed::TListed(const char* itsName, TNaturalFailure itsFailure)
    : name(itsName), natural(itsFailure), number(static_cast<unsigned>(Table().size()))
{
    Table()[name] = this;
}

std::vector<const TListed*> ListedFunctions()
{
    std::vector<const TListed*> all(Table().size());
    for (const auto& entry : Table())
        all[entry.second->number] = entry.second;
    return all;
}

static TOrders* OrdersFor(const char* function)
{
    const auto found = Table().find(function);
    if (found == Table().end()) {
        fprintf(stderr, "no function %s in the table of faults\n", function);
        abort();
    }
    return found->second;
}

// Held while a watch looks, so that it does not end meanwhile.
static std::mutex& WatchMutex()
{
    static auto* const mutex = new std::mutex;
    return *mutex;
}

void TellWatch(TOrders& orders, const TCallWatch::TArguments& arguments)
{
    const std::lock_guard<std::mutex> lock(WatchMutex());
    if (!orders.watched)
        return;
    ++orders.calls;
    if (*orders.look)
        (*orders.look)(arguments);
}

bool MustFail(TOrders& orders, const TCallWatch::TArguments& arguments)
{
    if (orders.watched)
        TellWatch(orders, arguments);
    if (!orders.faultArmed)
        return false;
    if (orders.failure.firstArgument != 0 && (arguments.empty() || arguments[0] != orders.failure.firstArgument))
        return false;
    const unsigned call = ++orders.callsSinceArmed;
    if (call < orders.first || call - orders.first >= orders.count)
        return false;
    ++orders.reached;
    if (orders.failure.error != 0)
        errno = orders.failure.error;
    return true;
}

void ArmFault(const char* function, TFailure failure, unsigned first, unsigned count)
{
    TOrders* const orders = OrdersFor(function);
    orders->failure = failure;
    orders->first = first;
    orders->count = count;
    orders->callsSinceArmed = 0;
    orders->reached = 0;
    orders->faultArmed = true;
}

TFault::TFault(const char* function, TFailure failure, unsigned first, unsigned count) : fFunction(function)
{
    ArmFault(function, failure, first, count);
}

TFault::~TFault()
{
    OrdersFor(fFunction)->faultArmed = false;
}

unsigned TFault::Reached() const
{
    return OrdersFor(fFunction)->reached;
}

TCallWatch::TCallWatch(const char* function, std::function<void(const TArguments&)> look) : fFunction(function)
{
    TOrders* const orders = OrdersFor(function);
    orders->look = new std::function<void(const TArguments&)>(std::move(look));
    orders->calls = 0;
    orders->watched = true;
}

TCallWatch::~TCallWatch()
{
    TOrders* const orders = OrdersFor(fFunction);
    const TInside inside;
    const std::lock_guard<std::mutex> lock(WatchMutex());
    orders->watched = false;
    delete orders->look;
    orders->look = nullptr;
}

unsigned TCallWatch::Calls() const
{
    return OrdersFor(fFunction)->calls;
}
