#!/usr/bin/env python
# A small client of halvorixd in Python, 2 or 3: prints the type of each event.
#
# The daemon waits for a client that does not read, and all others wait with it. So reading comes first, always; an event
# is worked on, here printed, only when that does not hold up the reading, or else it is counted as missed.

import os
import select
import socket
import struct
import sys

SOCKET = "/tmp/com.halvorix.halvorixd/driverevents"
SIZE = 128


# Whether a short line can be printed without waiting.
def output_is_ready():
    return len(select.select([], [sys.stdout], [], 0)[1]) == 1


def main():
    daemon = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    try:
        daemon.connect(SOCKET)
    except socket.error:
        sys.stderr.write("listen.py: no daemon listens at %s; start halvorixd\n" % SOCKET)
        return 1

    stream = daemon.makefile("rb")
    missed = 0
    while True:
        event = stream.read(SIZE)  # waits for a whole event; less is the end of the stream
        if len(event) < SIZE:
            return 0
        if not output_is_ready():
            missed += 1
            continue
        event_type = struct.unpack("=i", event[12:16])[0]  # "=": this machine's byte order
        line = "type %d, %d missed before it\n" % (event_type, missed)
        os.write(sys.stdout.fileno(), line.encode("ascii"))
        missed = 0


sys.exit(main())
