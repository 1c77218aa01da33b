#!/usr/bin/env python3
"""What launchd of 10.4 or 10.5 does with a property list, as far as ours has keys.

usage: launchd.py 10.4|10.5 LIST LOG

Loads the list, and writes into the log a line for each start ("started PID") and each end ("ended PID STATUS", -9 when
signal 9 killed it). SIGUSR1 is launchctl stop, SIGUSR2 launchctl start. A key that is not described here ends it: what the system
does with that one must be thought about first. The ten seconds that launchd waits before it starts a job again are left out.
"""

import os
import plistlib
import signal
import subprocess
import sys

KEYS = {"Label", "ProgramArguments", "Umask", "RunAtLoad", "KeepAlive"}


def starts_again(system, job, status):
    # 10.4 knows OnDemand alone; absent it is true, and nothing demands the job.
    if system == "10.4":
        return False
    successful = status == 0
    return job["KeepAlive"]["SuccessfulExit"] == successful


def main():
    system, path, log_path = sys.argv[1:]
    with open(path, "rb") as file:
        job = plistlib.load(file)
    unknown = set(job) - KEYS
    assert not unknown, unknown
    assert set(job["KeepAlive"]) == {"SuccessfulExit"}, job["KeepAlive"]

    log = open(log_path, "a", buffering=1)
    # Held back, so that none is missed while another is dealt with.
    signals = {signal.SIGCHLD, signal.SIGUSR1, signal.SIGUSR2}
    signal.pthread_sigmask(signal.SIG_BLOCK, signals)
    child = None

    def start():
        process = subprocess.Popen(
            job["ProgramArguments"], umask=job["Umask"], env={"PATH": "/usr/bin:/bin:/usr/sbin:/sbin"},
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            preexec_fn=lambda: signal.pthread_sigmask(signal.SIG_SETMASK, set()))
        log.write("started %d\n" % process.pid)
        return process

    if job["RunAtLoad"]:
        child = start()
    while True:
        received = signal.sigwait(signals)
        if received == signal.SIGUSR1 and child:
            child.send_signal(signal.SIGTERM)
        if received == signal.SIGUSR2 and not child:
            child = start()
        if child and child.poll() is not None:
            status = child.returncode
            log.write("ended %d %d\n" % (child.pid, status))
            child = start() if starts_again(system, job, status) else None


main()
