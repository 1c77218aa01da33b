#include "tests/soak/SoakClients.h"

#include "tests/support/RunningDaemon.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>

// More than a socket's buffer holds of records.
static constexpr std::size_t kAll = 65536;

// When a program connects, nobody knows.
static constexpr std::uint64_t kWhenever = std::numeric_limits<std::uint64_t>::max();

// One client and what it must receive.
class TSoakClient
{
public:
    // posted  the last event that was posted when it connected
    TSoakClient(std::uint64_t seed, std::uint64_t posted) : fCheck(seed), fPostedBefore(posted) {}
    virtual ~TSoakClient() = default;
    TSoakClient(const TSoakClient&) = delete;
    TSoakClient& operator=(const TSoakClient&) = delete;

    void Read() { fCheck.Take(Take()); }
    // Everything that has come.
    void ReadAll() { fCheck.Take(TakeAll()); }

    const TStreamCheck& Check() const { return fCheck; }
    std::uint64_t PostedBefore() const { return fPostedBefore; }

protected:
    virtual std::string Take() = 0;
    virtual std::string TakeAll() = 0;

private:
    TStreamCheck fCheck;
    const std::uint64_t fPostedBefore;
};

// A connection of this process's own.
class TConnectedClient : public TSoakClient
{
public:
    // appetite  how many bytes it reads at a time
    TConnectedClient(std::uint64_t seed, std::uint64_t posted, std::size_t appetite)
        : TSoakClient(seed, posted), fAppetite(appetite)
    {
    }

private:
    std::string Take() override { return fListener.Take(fAppetite); }

    std::string TakeAll() override
    {
        std::string all;
        for (std::string bytes = fListener.Take(kAll); !bytes.empty(); bytes = fListener.Take(kAll))
            all += bytes;
        return all;
    }

    TListener fListener;
    const std::size_t fAppetite;
};

// A program that writes what it receives to its standard output.
class TProgramClient : public TSoakClient
{
public:
    explicit TProgramClient(std::uint64_t seed)
        : TSoakClient(seed, kWhenever),
          fProgram({"/host/usr/bin/socat", "socat", "-u", std::string("UNIX-CONNECT:") + kEventSocket, "-"})
    {
    }

private:
    std::string Take() override
    {
        const std::string output = fProgram.Output();
        const std::string fresh = output.substr(std::min(fTaken, output.size()));
        fTaken += fresh.size();
        return fresh;
    }

    std::string TakeAll() override { return Take(); }

    TRunningProgram fProgram;
    std::size_t fTaken = 0;
};

TSoakClients::TSoakClients(std::uint64_t seed, std::mt19937& random) : fSeed(seed), fRandom(random)
{
    fClients.push_back(std::make_unique<TConnectedClient>(seed, 0, kAll));
}

TSoakClients::~TSoakClients() = default;

void TSoakClients::Come(std::uint64_t posted)
{
    // Bytes at a time; 0: a program.
    static constexpr std::size_t kAppetites[] = {0, 500, 2000, kAll, kAll, kAll};
    ++fCame;
    const std::size_t appetite = kAppetites[fRandom() % std::size(kAppetites)];
    if (appetite == 0)
        fClients.push_back(std::make_unique<TProgramClient>(fSeed));
    else
        fClients.push_back(std::make_unique<TConnectedClient>(fSeed, posted, appetite));
}

void TSoakClients::LeaveOne()
{
    if (fClients.size() > 1)
        Leave(1 + fRandom() % (fClients.size() - 1));
}

void TSoakClients::LeaveAll()
{
    while (fClients.size() > 1)
        Leave(fClients.size() - 1);
}

void TSoakClients::Leave(std::size_t index)
{
    // The witness reads first: what it has by now was written to the others before.
    fClients[0]->ReadAll();
    TSoakClient& client = *fClients[index];
    client.ReadAll();
    const bool isConnection = dynamic_cast<TConnectedClient*>(&client) != nullptr;
    if (client.Check().HasBegun() && isConnection) {
        EXPECT_GE(client.Check().Next(), fClients[0]->Check().Next()) << "a client left without what others had";
    }
    EXPECT_EQ("", client.Check().Fault());
    fRecordsOfDeparted += client.Check().Records();
    fClients.erase(fClients.begin() + static_cast<std::ptrdiff_t>(index));
}

void TSoakClients::Read()
{
    for (const auto& client : fClients)
        client->Read();
}

bool TSoakClients::HaveAll(std::uint64_t posted) const
{
    return std::all_of(fClients.begin(), fClients.end(), [posted](const auto& client) {
        const TStreamCheck& check = client->Check();
        return !check.Fault().empty() || !check.HasBegun() || check.Next() == posted + 1;
    });
}

void TSoakClients::Judge(std::uint64_t mustHaveBegun) const
{
    for (const auto& client : fClients) {
        EXPECT_EQ("", client->Check().Fault());
        EXPECT_TRUE(client->Check().HasBegun() || client->PostedBefore() >= mustHaveBegun)
            << "a client that came after event " << client->PostedBefore() << " has received nothing";
    }
}

std::uint64_t TSoakClients::RecordsReceived() const
{
    std::uint64_t records = fRecordsOfDeparted;
    for (const auto& client : fClients)
        records += client->Check().Records();
    return records;
}
