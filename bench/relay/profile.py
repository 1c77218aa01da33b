# Where a delivery's time goes, by perf: `profile.py FILE [--quick]`. The file receives a row for each function with its share
# of the samples taken on the processors of who posts, while records are broadcast to 1 and to 1000 clients.
#
# Where perf may not look at the kernel, the file receives no rows.

import os
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
import shared

SECONDS = 1 if "--quick" in sys.argv else 5
COLUMNS = ("clients", "where", "function", "percent")
# Subscribers have the last processor.
PROCESSORS = "0-%d" % max(0, os.cpu_count() - 2)


def samples(clients, file):
    contender = subprocess.Popen(shared.in_sandbox("/product/relay", "direct", str(clients)), stdin=subprocess.PIPE,
                                 stdout=subprocess.PIPE, universal_newlines=True)
    contender.stdout.readline()
    contender.stdin.write("stream broadcast %d\n" % (1000 * SECONDS + 1000))
    contender.stdin.flush()
    perf = subprocess.run(["perf", "record", "--quiet", "--event", "cpu-clock", "--freq", "4000", "--cpu", PROCESSORS,
                           "--output", file, "--", "sleep", str(SECONDS)], stderr=subprocess.DEVNULL)
    contender.communicate()
    return perf.returncode == 0


def shares(clients, file):
    report = subprocess.run(["perf", "report", "--input", file, "--comm", "relay", "--sort", "sym", "--percentage", "relative",
                             "--stdio"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout.decode()
    for line in report.splitlines():
        match = re.match(r"\s*([\d.]+)%\s+\[(.)\]\s+(\S.*)", line)
        if match:
            where = "kernel" if match.group(2) == "k" else "program"
            yield clients, where, match.group(3).strip(), match.group(1)


rows = []
with tempfile.TemporaryDirectory() as folder:
    for clients in (1, 1000):
        file = os.path.join(folder, "samples")
        if samples(clients, file):
            rows += shares(clients, file)
shared.write_table(sys.argv[1], COLUMNS, rows)
