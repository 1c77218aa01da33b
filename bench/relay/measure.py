# Measures all contenders of the relay, in turn: `measure.py FILE [--quick]`. The file receives a row for each time that
# each was measured, with its columns named in the first line.
#
# For each number of clients all contenders are set up at once, each in a simulated Mac of its own, and wait. Then they are
# measured one after the other, round by round, so that whatever drifts drifts for all. The two that use the same
# connections take turns within each round.

import os
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
import shared

QUICK = "--quick" in sys.argv
CLIENTS = (1, 10, 100, 1000)
ROUNDS = 1 if QUICK else 5
SLICE = 60 if QUICK else 200   # milliseconds
TURNS = ("bare", "broadcast", "broadcast", "bare") * (1 if QUICK else 2)
CONTENDERS = ("direct", "daemon", "acpid", "dbus", "zeromq")

# Records and the microseconds between them at the quiet rate, by clients: what all contenders keep up with.
QUIET = {1: (200, 2000), 10: (200, 2000), 100: (100, 5000), 1000: (15, 40000)}

COLUMNS = ("contender", "round", "phase", "way", "clients", "records", "deliveries", "lost", "out of order", "elapsed ns",
           "processor ns", "resident KB", "median delay ns", "99th percentile ns")


class Contender:
    def __init__(self, name, clients):
        self.name = name
        self.process = subprocess.Popen(shared.in_sandbox("/product/relay", name, str(clients)), stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, universal_newlines=True)

    def wait_until_ready(self):
        if self.process.stdout.readline() != "ready\n":
            sys.exit("relay: %s does not come up" % self.name)

    def measure(self, number, *command):
        self.process.stdin.write(" ".join(map(str, command)) + "\n")
        self.process.stdin.flush()
        line = self.process.stdout.readline()
        if not line:
            sys.exit("relay: %s ended" % self.name)
        return [self.name, number] + line.rstrip("\n").split(",")

    def end(self):
        self.process.stdin.close()
        self.process.wait()


def one_round(number, contenders, quiet):
    direct, daemon = contenders["direct"], contenders["daemon"]
    rivals = [contenders[name] for name in CONTENDERS if name not in ("direct", "daemon")]
    for phase in ("stream", "single"):
        for way in TURNS:
            yield direct.measure(number, phase, way, SLICE // 2)
        for rival in rivals:
            yield rival.measure(number, phase, "-", SLICE)
    yield daemon.measure(number, "stream", "-", 0)
    for way in ("bare", "broadcast"):
        yield direct.measure(number, "quiet", way, *quiet)
    for contender in rivals:
        yield contender.measure(number, "quiet", "-", *quiet)
    # Over several of the daemon's looks, since the delay is when in a second it was posted.
    yield daemon.measure(number, "quiet", "-", 2000000 // quiet[1], quiet[1])


def main():
    rows = []
    for clients in CLIENTS:
        contenders = {name: Contender(name, clients) for name in CONTENDERS}
        for contender in contenders.values():
            contender.wait_until_ready()
        for number in range(ROUNDS):
            rows += one_round(number, contenders, QUIET[clients])
        for contender in contenders.values():
            contender.end()
    shared.write_table(sys.argv[1], COLUMNS, rows)


main()
