# Measures the daemon at rest, beside acpid: `measure.py FOLDER [--quick | --long]`. The folder receives idle-threads.csv,
# idle-memory.csv, idle-calls.csv and idle-poll.csv. Two minutes; ten with --long, some seconds with --quick.
#
# All cases run at the same time, since they do nothing, each in a simulated Mac of its own; the system calls are counted
# behind that, and single polls behind all, since they do.

import os
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
import shared

QUICK, LONG = "--quick" in sys.argv, "--long" in sys.argv
SECONDS = 5 if QUICK else 600 if LONG else 120
POLLS = 200 if QUICK else 5000
CASES = [(program, clients) for program in ("halvorixd", "acpid") for clients in (0, 100, 1000)]
COLUMNS = {
    "thread": ("program", "clients", "thread", "seconds", "polls", "voluntary", "involuntary", "run ns"),
    "memory": ("program", "clients", "seconds", "resident KB"),
    "call": ("program", "clients", "call", "calls", "polls"),
}
FILES = {"thread": "idle-threads.csv", "memory": "idle-memory.csv", "call": "idle-calls.csv"}


def watch(program, clients):
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "watch.py")) as script:
        command = shared.in_sandbox("/host/usr/bin/python3", "-c", script.read(), program, str(clients), str(SECONDS))
    return subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, universal_newlines=True)


def main():
    folder = sys.argv[1]
    rows = {kind: [] for kind in COLUMNS}
    watched = [(program, clients, watch(program, clients)) for program, clients in CASES]
    for program, clients, process in watched:
        output = process.communicate()[0]
        if process.returncode != 0:
            sys.exit("idle: %s with %d clients cannot be watched" % (program, clients))
        for line in output.splitlines():
            kind, *fields = line.split(",")
            rows[kind].append([program, clients] + fields)
    for kind, file in FILES.items():
        shared.write_table(os.path.join(folder, file), COLUMNS[kind], rows[kind])

    polls = [shared.lines_of(shared.in_sandbox("/product/poll", str(clients), str(POLLS)))[0] for clients in (0, 100, 1000)]
    shared.write_table(os.path.join(folder, "idle-poll.csv"), ("clients", "polls", "all ns", "driver ns", "ours ns"), polls)


main()
