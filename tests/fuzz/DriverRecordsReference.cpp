#include "tests/fuzz/DriverRecordsReference.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

long TWriteResults::Next(std::size_t size)
{
    const char result = fResults.empty() ? '.' : fResults[0];
    fResults.erase(0, 1);
    const auto all = static_cast<long>(size);
    if (result == '-')
        return -1;
    if (result == '+')
        return all + 1;
    if (result == '0')
        return 0;
    return result >= 'a' && result <= 'z' ? std::min<long>(all, result - 'a' + 1) : all;
}

// Sends a record to one client. Returns false when that does not work.
static bool Send(const std::string& record, int client, TWriteResults* writes, std::string* actions)
{
    std::size_t sent = 0;
    while (sent < record.size()) {
        const std::size_t wanted = record.size() - sent;
        const long taken = writes->Next(wanted);
        if (taken < 0 || taken > static_cast<long>(wanted))
            return false;
        // Behind what was taken the record begins anew.
        const std::string bytes = record.substr(0, static_cast<std::size_t>(taken));
        if (!bytes.empty())
            *actions += std::to_string(client) + " gets " + bytes + "; ";
        sent += bytes.size();
    }
    return true;
}

static std::string SendToAll(const std::string& record, TWriteResults* writes, std::vector<int>* clients)
{
    std::string actions;
    const std::vector<int> before = *clients;
    for (auto client = before.rbegin(); client != before.rend(); ++client) {
        if (Send(record, *client, writes, &actions))
            continue;
        actions += std::to_string(*client) + " goes; ";
        clients->erase(std::find(clients->begin(), clients->end(), *client));
    }
    return actions;
}

// What is done about an event for the daemon itself.
static std::string ActOn(std::int32_t type, const std::string& name, bool isLeopard)
{
    if (type == 1)
        return isLeopard ? "disk " + name + "; " : "";
    if (type == 2)
        return (isLeopard ? "service " : "disk ") + name + "; ";
    return "";
}

std::string ActionsOnRecords(const std::vector<std::string>& answers, const std::string& writes, int clients,
                             bool isLeopard, std::vector<int>* left)
{
    left->clear();
    for (int client = 1; client <= clients; ++client)
        left->push_back(client);
    const std::string fetch = clients > 0 ? "fetch 1; " : "fetch 0; ";
    TWriteResults results(writes);
    std::string actions;
    for (std::string record : answers) {
        record.resize(kDriverRecordSize, '\0');
        std::uint32_t queueIsEmpty = 0;
        std::int32_t type = 0;
        memcpy(&queueIsEmpty, &record[0], sizeof queueIsEmpty);
        memcpy(&type, &record[12], sizeof type);
        const std::string name = record.substr(112).c_str();

        actions += fetch;
        if (type == 0)
            return actions;
        actions += type > 2 ? SendToAll(record, &results, left) : ActOn(type, name, isLeopard);
        if (queueIsEmpty != 0)
            return actions;
    }
    return actions + fetch;
}
