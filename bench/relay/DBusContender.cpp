// dbus-daemon: each record is a signal, which all subscribers have asked for.
//
// Subscribers shake hands by libdbus and then read the connection themselves, as all others do: the library takes longer
// over a message than the daemon does, and would be measured in its place.

#include "bench/relay/Contender.h"

#include "bench/Child.h"
#include "bench/Sockets.h"

#include <dbus/dbus.h>
#include <fstream>
#include <unistd.h>

static constexpr const char* kProgram = "/host/usr/bin/dbus-daemon";
static constexpr const char* kConfiguration = "/tmp/bus.conf";
static constexpr const char* kSocket = "/tmp/bus";
static constexpr const char* kAddress = "unix:path=/tmp/bus";
static constexpr const char* kInterface = "bench.Events";

static void WriteConfiguration()
{
    std::ofstream(kConfiguration)
        << "<busconfig><type>session</type><listen>" << kAddress
        << "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
           "<allow send_destination=\"*\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
           "<limit name=\"max_completed_connections\">100000</limit>"
           "<limit name=\"max_connections_per_user\">100000</limit></busconfig>\n";
    // It asks who its callers are.
    std::ofstream("/etc/passwd") << "root:x:0:0::/var/root:/bin/sh\n";
}

static DBusConnection* OpenConnection()
{
    DBusConnection* const connection = dbus_connection_open_private(kAddress, nullptr);
    if (connection == nullptr || !dbus_bus_register(connection, nullptr))
        GiveUp("the message bus cannot be joined");
    dbus_connection_set_exit_on_disconnect(connection, FALSE);
    return connection;
}

class TDBusContender : public TContender
{
public:
    void Start() override
    {
        WriteConfiguration();
        fRelay.Start({kProgram, std::string("--config-file=") + kConfiguration, "--nofork", "--nosyslog"});
        close(ConnectWhenItListens(kSocket));
        fConnection = OpenConnection();
    }

    int Connect() override
    {
        DBusConnection* const connection = OpenConnection();
        int descriptor = -1;
        // Returns with the answer, behind which nothing comes before the first signal.
        dbus_bus_add_match(connection, "type='signal',interface='bench.Events'", nullptr);
        return dbus_connection_get_unix_fd(connection, &descriptor) ? descriptor : -1;
    }

    TFraming Framing() const override { return DBusFrame; }

    void Post(const TRecord& record) override
    {
        DBusMessage* const message = dbus_message_new_signal("/", kInterface, "Event");
        const char* const bytes = record.bytes;
        dbus_message_append_args(message, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, static_cast<int>(kRecordSize),
                                 DBUS_TYPE_INVALID);
        dbus_connection_send(fConnection, message, nullptr);
        dbus_connection_flush(fConnection);
        dbus_message_unref(message);
    }

    pid_t Relay() const override { return fRelay.Process(); }

private:
    TChild fRelay;
    DBusConnection* fConnection = nullptr;
};

std::unique_ptr<TContender> MakeDBusContender()
{
    return std::make_unique<TDBusContender>();
}
