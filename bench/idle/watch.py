# What a program at rest takes of the machine, with so many clients that hear nothing. Runs inside a simulated Mac:
#
#     python3 watch.py halvorixd|acpid CLIENTS SECONDS
#
# Prints lines of fields separated by commas:
#
#     thread, its place in the order of creation, seconds, polls, voluntary switches, involuntary switches, nanoseconds run
#     memory, seconds since the beginning, resident kilobytes
#     call, name of the system call, calls, polls           (watched by strace for a while, when the rest is done)

import os
import re
import signal
import socket
import subprocess
import sys
import time

PROGRAM, CLIENTS, SECONDS = sys.argv[1], int(sys.argv[2]), float(sys.argv[3])
MEMORY_EVERY = 5.0
TRACED_SECONDS = min(10.0, SECONDS)
PATIENCE = 60


def wait_until(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            sys.exit("watch: waited in vain until " + what)
        time.sleep(0.02)


def text(file):
    with open(file) as opened:
        return opened.read()


class Daemon:
    socket = "/tmp/com.halvorix.halvorixd/driverevents"

    def start(self):
        subprocess.run(["/lab/bin/labctl", "start", "SystemUIServer"], stdout=subprocess.DEVNULL, check=True)
        return subprocess.Popen(["/usr/local/sbin/halvorixd"], stdin=subprocess.DEVNULL)

    # Whether it has come to rest: the RAID volume is the last of its disks that it asks hfs.util about.
    def rests(self):
        return re.search("-k\tdisk2s3$", text("/machine/tools/log"), re.M) is not None

    def polls(self):
        return text("/machine/driver/calls").count(" method 21 ")


class Acpid:
    folder = "/tmp/acpid"
    socket = folder + "/socket"

    def start(self):
        os.makedirs(self.folder + "/rules")
        os.mkfifo(self.folder + "/events")
        # Somebody who could write, or there would be an end of what it reads.
        self.events = os.open(self.folder + "/events", os.O_RDWR)
        return subprocess.Popen(
            ["/host/usr/sbin/acpid", "-f", "-c", self.folder + "/rules", "-e", self.folder + "/events", "-s", self.socket,
             "-L", self.folder + "/lock", "-p", self.folder + "/pid"],
            stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def rests(self):
        return True

    def polls(self):
        return 0


def connect(path):
    client = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    client.connect(path)
    return client


# Whether somebody listens there. Who does so for the first time has one client that left.
def visited(path):
    try:
        connect(path).close()
        return True
    except OSError:
        return False


# For each thread: voluntary and involuntary switches, and the time it has run.
def threads(process):
    figures = {}
    for thread in sorted(os.listdir("/proc/%d/task" % process), key=int):
        folder = "/proc/%d/task/%s/" % (process, thread)
        status = text(folder + "status")
        switches = [int(re.search(kind + r"voluntary_ctxt_switches:\s*(\d+)", status).group(1)) for kind in ("\n", "\nnon")]
        figures[thread] = switches + [int(text(folder + "schedstat").split()[0])]
    return figures


def resident_kilobytes(process):
    return int(re.search(r"VmRSS:\s*(\d+)", text("/proc/%d/status" % process)).group(1))


def watch_memory(process):
    begin = time.monotonic()
    while True:
        passed = time.monotonic() - begin
        print("memory,%.1f,%d" % (passed, resident_kilobytes(process)))
        if passed >= SECONDS:
            return
        time.sleep(min(MEMORY_EVERY, max(0.01, SECONDS - passed)))


def watch_calls(process, program):
    polls = program.polls()
    tracer = subprocess.Popen(["/host/usr/bin/strace", "-f", "-c", "-o", "/tmp/calls", "-p", str(process)],
                              stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    time.sleep(TRACED_SECONDS)
    tracer.send_signal(signal.SIGINT)
    tracer.wait(PATIENCE)
    polls = program.polls() - polls
    for line in text("/tmp/calls").splitlines():
        fields = line.split()
        if len(fields) >= 5 and fields[3].isdigit() and fields[-1] != "total":
            print("call,%s,%s,%d" % (fields[-1], fields[3], polls))


def main():
    program = {"halvorixd": Daemon, "acpid": Acpid}[PROGRAM]()
    process = program.start()
    wait_until(lambda: visited(program.socket), "somebody listens")
    clients = [connect(program.socket) for _ in range(CLIENTS)]
    wait_until(program.rests, "it rests")
    time.sleep(2)

    before, polls, begin = threads(process.pid), program.polls(), time.monotonic()
    watch_memory(process.pid)
    after, polls, seconds = threads(process.pid), program.polls() - polls, time.monotonic() - begin
    for place, thread in enumerate(sorted(after, key=int)):
        figures = [now - then for now, then in zip(after[thread], before.get(thread, (0, 0, 0)))]
        print("thread,%d,%.3f,%d,%d,%d,%d" % (place, seconds, polls, *figures))
    watch_calls(process.pid, program)
    process.kill()
    process.wait()


main()
