# What hostile clients do to the daemon and to its other clients, in figures. Runs inside a simulated Mac, as `run` starts it:
#
#     python3 measure.py SCENARIO
#
# Clients are plain sockets, and the daemon is looked at by /proc alone. Every record is compared byte for byte with what was
# posted; one that differs or is missing ends the program with status 1.

import errno
import os
import resource
import select
import signal
import socket
import struct
import subprocess
import sys
import time

EVENT_SOCKET = "/tmp/com.halvorix.halvorixd/driverevents"
TICKS = os.sysconf("SC_CLK_TCK")
PATIENCE = 120


def fail(what):
    print("FAILED: " + what)
    sys.exit(1)


def tell(what, figure):
    print("  %-68s %s" % (what, figure), flush=True)


def wait_until(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            fail("waited in vain until " + what)
        time.sleep(0.002)


def labctl(*arguments):
    return subprocess.run(("/lab/bin/labctl",) + arguments, stdout=subprocess.PIPE, check=True).stdout.decode()


def record(number, kind, more):
    return struct.pack("=I", 0 if more else 1) + struct.pack(">Q", number) + struct.pack("=i", kind) + bytes(112)


# Has the driver tell of so many events, and returns the bytes that every client is to receive. Each but the last says that
# more wait, so that the daemon fetches them without a pause.
def post(count, kind=5):
    expected = b""
    if count > 1:
        labctl("post", "--type", str(kind), "--flag", "0", "--count", str(count - 1))
        expected = b"".join(record(number, kind, True) for number in range(1, count))
    labctl("post", "--type", str(kind), "--flag", "1", "--head", "%016x" % count)
    return expected + record(count, kind, False)


def waiting_events():
    return len(labctl("queue").splitlines())


class Client:
    def __init__(self):
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.socket.connect(EVENT_SOCKET)
        self.received = b""

    # Takes what has come, at most so many bytes, and returns everything since the beginning.
    def take(self, most=1 << 20):
        try:
            self.received += self.socket.recv(most, socket.MSG_DONTWAIT)
        except BlockingIOError:
            pass
        return self.received

    def expect(self, expected, what):
        wait_until(lambda: len(self.take()) >= len(expected), what)
        if self.received != expected:
            fail("records differ from those that were posted: " + what)

    def leave(self):
        self.socket.close()


class Daemon:
    def __init__(self, descriptors=None, faults=None):
        labctl("start", "SystemUIServer")
        command, environment = "/usr/local/sbin/halvorixd", dict(os.environ)
        if faults is not None:
            command, environment["HALVORIX_FAULTS"] = "/product/faulty/halvorixd", faults
        self.process = subprocess.Popen([command], env=environment, preexec_fn=lambda: set_limit(descriptors))
        self.proc = "/proc/%d/" % self.process.pid
        wait_until(self.accepts, "the daemon listens")
        wait_until(lambda: '"-k" "disk2s3"' in labctl("tools") and not self.children(), "it has looked at the disks")
        self.settle()

    def accepts(self):
        try:
            Client().leave()
            return True
        except OSError:
            return False

    # One event, at which the daemon drops clients that have gone.
    def settle(self):
        post(1)
        wait_until(lambda: waiting_events() == 0, "the driver's queue is empty")

    def children(self):
        children = 0
        for process in os.listdir("/proc"):
            try:
                with open("/proc/%s/stat" % process) as stat:
                    children += int(stat.read().rpartition(")")[2].split()[1]) == self.process.pid
            except OSError:
                pass
        return children

    # The fewest of some looks, since a fetch has a file of the machine open for a moment.
    def descriptors(self):
        return min(len(os.listdir(self.proc + "fd")) for _ in range(40) if not time.sleep(0.005))

    def threads(self):
        return len(os.listdir(self.proc + "task"))

    def kilobytes(self):
        with open(self.proc + "status") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))

    # Processor time so far, in seconds.
    def seconds(self):
        with open(self.proc + "stat") as stat:
            fields = stat.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / TICKS

    # How much of one processor it takes, by the time that it worked, and the time that it waited for a processor on a busy
    # machine left out.
    def load(self, looking=3.0):
        (worked, queued), begin = self.schedule(), time.monotonic()
        time.sleep(looking)
        worked_now, queued_now = self.schedule()
        worked, queued = worked_now - worked, queued_now - queued
        return "%.1f %%" % (100 * worked / max(worked, time.monotonic() - begin - queued))

    # How long all its threads have worked and have waited for a processor, in seconds.
    def schedule(self):
        worked, queued = 0, 0
        for thread in os.listdir(self.proc + "task"):
            with open("%stask/%s/schedstat" % (self.proc, thread)) as schedstat:
                fields = schedstat.read().split()
            worked, queued = worked + int(fields[0]), queued + int(fields[1])
        return worked / 1e9, queued / 1e9

    def held(self):
        return self.descriptors(), self.threads(), self.children()

    def expect_held(self, before):
        self.settle()
        wait_until(lambda: self.held() == before, "it holds what it held before")

    def end(self):
        begin = time.monotonic()
        self.process.send_signal(signal.SIGTERM)
        if self.process.wait(PATIENCE) != 0:
            fail("the daemon ended with %d" % self.process.returncode)
        return time.monotonic() - begin


def set_limit(descriptors):
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard if descriptors is None else descriptors, hard))


# Whoever can connect without waiting does.
def connect_all():
    callers = []
    while True:
        caller = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        caller.setblocking(False)
        try:
            caller.connect(EVENT_SOCKET)
        except BlockingIOError:
            caller.close()
            return callers
        callers.append(caller)
        time.sleep(0.05)   # for the daemon to take it in, if it does


# A witness, and a client that connected after it and does not read, so that the daemon stands still in between.
def stall(daemon, events):
    before = daemon.descriptors()
    witness, client = Client(), Client()
    wait_until(lambda: daemon.descriptors() == before + 2, "both are taken in")
    expected = post(events)
    wait_until(lambda: len(witness.take()) > 0, "it relays")
    wait_for_stall(witness)
    return witness, client, expected


def wait_for_stall(witness):
    before = -1
    while before != len(witness.take()):
        before = len(witness.take())
        time.sleep(1.5)


def silent():
    daemon = Daemon()
    held = daemon.held()
    witness, client, expected = stall(daemon, 1000)
    fit = len(witness.received) // 128
    tell("records that a client which never reads is sent before all stand still", fit)
    tell("processor time of the daemon meanwhile, of one processor", daemon.load())
    callers = connect_all()
    tell("callers that still connect, of whom it takes in none", len(callers))
    for caller in callers:
        caller.close()
    overflow = post(1000 - waiting_events() + 24)
    waiting = waiting_events()
    tell("records that wait in the driver, which holds 1,024", waiting)
    tell("records that other clients receive in five seconds", records_in(witness, 5))
    begin = time.monotonic()
    client.leave()
    witness.expect(expected + overflow, "the silent client has gone")
    tell("from its end until a witness had all %d records, in ms" % (waiting + 1),
         round(1000 * (time.monotonic() - begin)))
    witness.leave()
    daemon.expect_held(held)
    witness, client, _ = stall(daemon, 1000)
    tell("from SIGTERM to the daemon's end while it stands still, in ms", round(1000 * daemon.end()))


def records_in(client, seconds):
    before = len(client.take())
    time.sleep(seconds)
    return (len(client.take()) - before) // 128


def trickle():
    daemon = Daemon()
    held = daemon.held()
    witness, client, expected = stall(daemon, 1000)
    tell("records sent before all stand still", len(witness.received) // 128)
    for turn in ("first", "second", "third"):
        at, took = len(witness.take()), 0
        while len(witness.take()) == at:
            client.take(1)
            took += 1
            time.sleep(0.0002)
        wait_for_stall(witness)
        tell("bytes it reads before others hear again, the %s time" % turn, took)
        tell("records that others then get at once", (len(witness.take()) - at) // 128)
    while len(witness.take()) < len(expected):
        client.take()
    witness.expect(expected, "the client reads faster")
    client.expect(expected, "the client reads faster")
    client.leave()
    witness.leave()
    daemon.expect_held(held)
    daemon.end()


def writer():
    daemon = Daemon()
    held, kilobytes = daemon.held(), daemon.kilobytes()
    witness, client = Client(), Client()
    client.socket.setblocking(False)
    written = 0
    try:
        while True:
            written += client.socket.send(b"x" * 4096)
    except BlockingIOError:
        pass
    tell("bytes that a client can write before it would wait", written)
    expected = post(1000)
    while len(witness.take()) < len(expected):
        client.take()
    witness.expect(expected, "a client writes")
    client.expect(expected, "it reads as well")
    tell("memory of the daemon, before and after, in KB", "%d, %d" % (kilobytes, daemon.kilobytes()))
    client.leave()
    witness.leave()
    daemon.expect_held(held)
    daemon.end()


def visits():
    daemon = Daemon()
    held, kilobytes = daemon.held(), daemon.kilobytes()
    count = min(10000, resource.getrlimit(resource.RLIMIT_NOFILE)[1] - 100)
    begin, before = time.monotonic(), daemon.seconds()
    for _ in range(count):
        Client().leave()
    tell("%d clients connect and leave, in s" % count, "%.2f" % (time.monotonic() - begin))
    wait_until(lambda: daemon.descriptors() >= held[0] + count, "it has taken all of them in")
    tell("processor time of the daemon for that, in s", "%.2f" % (daemon.seconds() - before))
    tell("descriptors that it holds until the next event", daemon.descriptors())
    tell("memory that it has taken for them, in KB", daemon.kilobytes() - kilobytes)
    witness = Client()
    begin = time.monotonic()
    expected = post(1)
    witness.expect(expected, "those who left are dropped")
    tell("from the next event until a witness has it, in ms",
         round(1000 * (time.monotonic() - begin)))
    expected += post(1000)
    witness.expect(expected, "those who left are dropped")
    witness.leave()
    daemon.expect_held(held)
    tell("descriptors after that event", daemon.descriptors())
    daemon.end()


def thousand():
    daemon = Daemon()
    held, kilobytes = daemon.held(), daemon.kilobytes()
    begin = time.monotonic()
    clients = [Client() for _ in range(1000)]
    tell("1000 clients connect, in ms", round(1000 * (time.monotonic() - begin)))
    wait_until(lambda: daemon.descriptors() >= held[0] + 1000, "all are connected")
    tell("memory that it has taken for them, in KB", daemon.kilobytes() - kilobytes)
    tell("processor time of the daemon while nothing happens, of one processor", daemon.load())
    before, begin = daemon.seconds(), time.monotonic()
    expected = post(100)
    ready = select.poll()
    by_descriptor = {client.socket.fileno(): client for client in clients}
    for descriptor in by_descriptor:
        ready.register(descriptor, select.POLLIN)
    missing = len(clients)
    while missing:
        for descriptor, _ in ready.poll(1000 * PATIENCE):
            client = by_descriptor[descriptor]
            missing -= len(client.received) < len(expected) <= len(client.take())
    tell("from 100 events until all had all of them, in ms", round(1000 * (time.monotonic() - begin)))
    tell("processor time of the daemon for that, in s", "%.2f" % (daemon.seconds() - before))
    for client in clients:
        client.expect(expected, "a thousand listen")
        client.leave()
    daemon.expect_held(held)
    daemon.end()


def limit():
    daemon = Daemon(descriptors=256)
    witness = Client()
    held = daemon.held()
    load = daemon.load()
    callers = connect_all()
    wait_until(lambda: len(os.listdir(daemon.proc + "fd")) == 256, "no descriptor is left")
    tell("clients that a daemon with 256 descriptors takes in, and callers beyond",
         "%d, %d" % (256 - held[0] + 1, len(callers) - (256 - held[0])))
    tell("processor time before, of one processor", load)
    tell("processor time at the limit, of one processor", daemon.load())
    expected = post(100)
    before = len(witness.take())
    time.sleep(3)
    tell("records fetched and relayed in three seconds there", (len(witness.take()) - before) // 128)
    begin = time.monotonic()
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.prlimit(daemon.process.pid, resource.RLIMIT_NOFILE, (512, hard))
    witness.expect(expected, "the limit is raised")
    tell("from a raised limit until a witness has the 100 records, in ms", round(1000 * (time.monotonic() - begin)))
    tell("processor time after that, of one processor", daemon.load())
    for caller in callers:
        caller.close()
    daemon.expect_held(held)
    daemon.end()


# The limit is a matter of the accepting alone here, as on a Mac, where asking the driver takes no descriptor.
def spinning():
    daemon = Daemon(faults="accept 3 4000000000 -1 %d" % errno.EMFILE)
    witness = Client()
    time.sleep(0.5)
    tell("processor time while accept fails without end, of one processor", daemon.load())
    begin = time.monotonic()
    expected = post(1000)
    witness.expect(expected, "accept fails without end")
    tell("from 1000 events until a witness has them, in ms", round(1000 * (time.monotonic() - begin)))
    tell("from SIGTERM to its end, in ms", round(1000 * daemon.end()))


set_limit(None)
{function.__name__: function for function in (silent, trickle, writer, visits, thousand, limit, spinning)}[sys.argv[1]]()
