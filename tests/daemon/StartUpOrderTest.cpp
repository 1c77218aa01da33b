// The order in which the daemon starts up, as it shows from outside: by the kernel's notices of what was written and opened,
// and by the machine's logs.

#include "tests/daemon/SocketFolder.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningDaemon.h"

#include <algorithm>
#include <csignal>
#include <string>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

using TWords = std::vector<std::string>;

// What happens in some folders, in the kernel's own order: notices of one descriptor are queued as they come about.
class TFolderNotices
{
public:
    TFolderNotices() : fNotices(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) { EXPECT_NE(-1, fNotices); }
    ~TFolderNotices() { close(fNotices); }
    TFolderNotices(const TFolderNotices&) = delete;
    TFolderNotices& operator=(const TFolderNotices&) = delete;

    // From now on what happens to a file there is noted as the mark, a plus and its name, "mounts+disk0s3", and with a minus
    // when it is removed. Of names, if there are any, others are left out.
    void Watch(const std::string& folder, std::uint32_t mask, const std::string& mark, const TWords& names = {})
    {
        const int watch = inotify_add_watch(fNotices, folder.c_str(), mask);
        ASSERT_NE(-1, watch) << folder;
        fWatches[watch] = {mark, names};
    }

    // Everything seen so far; the same thing several times on end is there once.
    const TWords& Seen()
    {
        alignas(inotify_event) char bytes[16384];
        for (ssize_t got = read(fNotices, bytes, sizeof bytes); got > 0; got = read(fNotices, bytes, sizeof bytes)) {
            for (ssize_t at = 0; at < got;) {
                const auto* const event = reinterpret_cast<const inotify_event*>(bytes + at);
                at += static_cast<ssize_t>(sizeof *event + event->len);
                Note(fWatches[event->wd], (event->mask & IN_DELETE) != 0 ? "-" : "+",
                     event->len != 0 ? event->name : "");
            }
        }
        return fSeen;
    }

private:
    struct TWatch
    {
        std::string mark;
        TWords names;
    };

    void Note(const TWatch& watch, const std::string& sign, const std::string& name)
    {
        if (!watch.names.empty() && std::find(watch.names.begin(), watch.names.end(), name) == watch.names.end())
            return;
        const std::string what = watch.mark + sign + name;
        if (fSeen.empty() || fSeen.back() != what)
            fSeen.push_back(what);
    }

    int fNotices;
    std::map<int, TWatch> fWatches;
    TWords fSeen;
};

// Those words that are none of these; what then follows itself is there once.
static TWords Without(const TWords& words, const TWords& left)
{
    TWords rest;
    for (const std::string& word : words) {
        const bool isLeft = std::find(left.begin(), left.end(), word) != left.end();
        if (!isLeft && (rest.empty() || rest.back() != word))
            rest.push_back(word);
    }
    return rest;
}

static std::ptrdiff_t PlaceOf(const TWords& words, const std::string& word)
{
    return std::find(words.begin(), words.end(), word) - words.begin();
}

class StartUpOrder : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        StartLoginSession(machine);
        // The daemon takes it as it is, and what happens in it is seen.
        ASSERT_EQ(0, mkdir(kSocketFolder, 0755));
    }

    // The tools that ran, each with its arguments but for argv[0].
    TWords Tools() const
    {
        TWords runs;
        for (const lab::TToolRun& run : machine.ToolRuns()) {
            std::string text = run.path;
            for (std::size_t i = 1; i < run.arguments.size(); ++i)
                text += " " + run.arguments[i];
            runs.push_back(text);
        }
        return runs;
    }

    // How many tools ran whose path ends so.
    long Runs(const std::string& name) const
    {
        const TWords tools = Tools();
        return std::count_if(tools.begin(), tools.end(), [&name](const std::string& run) {
            return run.find("/" + name + " ") != std::string::npos;
        });
    }

    TWords DriverCalls() const
    {
        TWords calls;
        for (const lab::TDriverCall& call : machine.DriverCalls())
            calls.push_back(call.what);
        return calls;
    }

    // What became of a process that init started.
    std::string StateOf(pid_t process) const
    {
        for (const lab::TProcess& known : machine.Processes()) {
            if (known.process == process)
                return known.state;
        }
        return "";
    }

    // Whether the RAID volume's disks were looked at: the whole disk, its map and the volume.
    bool DisksWereLookedAt() const { return Runs("hfs.util") >= 3; }

    void WatchAll()
    {
        notices.Watch("/machine/tools", IN_CREATE | IN_MODIFY, "tools", {"log"});
        notices.Watch("/machine/driver", IN_CREATE | IN_MODIFY, "driver", {"calls"});
        notices.Watch("/machine/processes", IN_MOVED_TO, "processes");
        notices.Watch("/machine/mounts", IN_MOVED_TO | IN_DELETE, "mounts", {"disk0s3", "disk1s3"});
        notices.Watch("/System/Library/CoreServices", IN_OPEN, "system", {"SystemVersion.plist"});
        notices.Watch(kSocketFolder, IN_CREATE, "socket");
    }

    bool Saw(const std::string& what)
    {
        const TWords& seen = notices.Seen();
        return std::find(seen.begin(), seen.end(), what) != seen.end();
    }

    TFolderNotices notices;
};

TEST_F(StartUpOrder, EveryStepUpToTheSocketComesBehindTheOneBefore)
{
    WatchAll();
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitUntil([this] { return Saw("socket+driverevents"); }));

    TWords seen = notices.Seen();
    seen.resize(std::min<std::size_t>(seen.size(), 5));
    EXPECT_EQ((TWords{"tools+log",                    // ps: is somebody logged in?
                      "driver+calls",                 // the time zone
                      "tools+log",                    // ps: is there an older instance?
                      "system+SystemVersion.plist",   // are identities to be looked after?
                      "socket+driverevents"}),
              seen);
}

TEST_F(StartUpOrder, AnOlderInstanceIsEndedBehindTheTimeZone)
{
    lab::TStart start;
    start.name = "halvorixd";
    pid_t older = 0;
    ASSERT_EQ("", machine.Start(start, &older));
    WatchAll();
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    const std::string itsEnd = "processes+" + std::to_string(older);
    ASSERT_TRUE(WaitUntil([&] { return Saw(itsEnd) && Saw("socket+driverevents"); }));

    EXPECT_EQ("killed 2", StateOf(older));
    // When init notes the end is its own affair; here it comes behind the second look at ps, which found the process.
    TWords before = notices.Seen();
    before.resize(static_cast<std::size_t>(PlaceOf(before, itsEnd)));
    ASSERT_LE(3u, before.size());
    before.resize(3);
    EXPECT_EQ((TWords{"tools+log", "driver+calls", "tools+log"}), before);
}

TEST_F(StartUpOrder, BehindTheSocketTheHelpersAreSeenToOneByOneAndThenTheDisks)
{
    WatchAll();
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitUntil([this] { return DisksWereLookedAt(); }));

    TWords seen = notices.Seen();
    seen.erase(seen.begin(), seen.begin() + PlaceOf(seen, "socket+driverevents"));
    // The poller asks the driver in its own time, and tools read the version that the daemon reads.
    EXPECT_EQ((TWords{"socket+driverevents", "mounts+disk0s3", "tools+log", "mounts-disk0s3", "mounts+disk1s3",
                      "tools+log", "mounts-disk1s3", "tools+log"}),
              Without(seen, {"driver+calls", "system+SystemVersion.plist"}));
}

TEST_F(StartUpOrder, TheseToolsRunAndNoOther)
{
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitUntil([this] { return DisksWereLookedAt(); }));

    const std::string util = "/System/Library/Filesystems/hfs.fs/hfs.util -k ";
    EXPECT_EQ((TWords{"/bin/ps acxww", "/bin/ps acxww", "/usr/sbin/vsdbutil -a /Volumes/Boot OSX",
                      "/usr/sbin/vsdbutil -a /Volumes/Boot OSX", util + "disk2", util + "disk2s1", util + "disk2s3"}),
              Tools());
}

TEST_F(StartUpOrder, TheDriverIsToldTheTimeZoneAndThenOnlyAskedForEvents)
{
    TRunningProgram daemon(DaemonCommand(), {"TZ=JST-9", "ASAN_OPTIONS=leak_check_at_exit=0"});
    ASSERT_TRUE(WaitUntil([this] { return machine.DriverCalls().size() >= 10; }));

    TWords calls = DriverCalls();
    calls.resize(10);
    EXPECT_EQ((TWords{"open", "method 0", "method 18 32400", "method 1", "close", "open", "method 0", "method 21 0",
                      "method 1", "close"}),
              calls);
}

TEST_F(StartUpOrder, TheDriverIsAskedForEventsBehindTheSocketAlone)
{
    WatchAll();
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitUntil([this] { return machine.DriverCalls().size() >= 10; }));

    const TWords& seen = notices.Seen();
    const auto socket = seen.begin() + PlaceOf(seen, "socket+driverevents");
    EXPECT_EQ(1, std::count(seen.begin(), socket, "driver+calls")) << "the time zone's five at once";
    EXPECT_NE(0, std::count(socket, seen.end(), "driver+calls"));
}

TEST_F(StartUpOrder, EventsAreFetchedWhileTheHelpersAreStillSeenTo)
{
    ASSERT_EQ("", machine.SetToolBehaviour("vsdbutil", "hang\n"));
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitForEventSocket());
    TListener listener;
    ASSERT_TRUE(WaitUntil([this] { return Runs("vsdbutil") == 1; }));

    EXPECT_TRUE(HearsEvents(machine, &listener));
    EXPECT_EQ(0, Runs("hfs.util")) << "the disks come behind the helpers, on the same thread";
    EXPECT_EQ("/Volumes/Boot OSX", machine.MountPath("disk0s3"));
    EXPECT_EQ("", machine.MountPath("disk1s3"));
}

TEST_F(StartUpOrder, WhereTheSocketCannotBeMadeNothingBehindItHappens)
{
    ASSERT_EQ(0, chmod(kSocketFolder, 0700));
    EXPECT_EQ("exited 2", RunToEnd(DaemonCommand(), nullptr, nullptr));

    EXPECT_EQ((TWords{"/bin/ps acxww", "/bin/ps acxww"}), Tools());
    EXPECT_EQ(5u, machine.DriverCalls().size());
    EXPECT_EQ("", machine.MountPath("disk0s3"));
}

TEST_F(StartUpOrder, AnOlderInstanceIsEndedEvenWhereTheSocketCannotBeMade)
{
    lab::TStart start;
    start.name = "halvorixd";
    pid_t older = 0;
    ASSERT_EQ("", machine.Start(start, &older));
    ASSERT_EQ(0, chmod(kSocketFolder, 0700));

    EXPECT_EQ("exited 2", RunToEnd(DaemonCommand(), nullptr, nullptr));
    EXPECT_TRUE(WaitUntil([&] { return StateOf(older) == "killed 2"; }));
}

// A system's own version decides which of the later steps there are.
class StartUpOrderOfOlderSystems : public StartUpOrder
{
protected:
    void SetSystem(const std::string& version)
    {
        const std::string plist = machine.VolumeFiles("disk2s3") + "/System/Library/CoreServices/SystemVersion.plist";
        std::ofstream(plist) << "<plist version=\"1.0\"><dict><key>ProductVersion</key><string>" << version
                             << "</string></dict></plist>\n";
    }

    std::size_t Fetches() const
    {
        const TWords calls = DriverCalls();
        return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), "method 21 0"));
    }
};

TEST_F(StartUpOrderOfOlderSystems, Before10_5TheHelpersAreLeftAlone)
{
    SetSystem("10.4.11");
    WatchAll();
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitUntil([this] { return DisksWereLookedAt(); }));

    EXPECT_EQ(0, Runs("vsdbutil"));
    EXPECT_FALSE(Saw("mounts+disk0s3"));
    EXPECT_FALSE(Saw("mounts+disk1s3"));
}

TEST_F(StartUpOrderOfOlderSystems, Before10_4NoIdentityIsLookedAtEither)
{
    SetSystem("10.3.9");
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    // The main thread had three seconds to do more than it should.
    ASSERT_TRUE(WaitUntil([this] { return Fetches() >= 4; }, 60));

    EXPECT_EQ((TWords{"/bin/ps acxww", "/bin/ps acxww"}), Tools());
}
