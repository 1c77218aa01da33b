# Times the library's functions beside others: `measure.py FILE [--quick]`. The file receives a row for each function, with
# the median of the repetitions. Property lists are also timed with Python's own plistlib.

import json
import os
import plistlib
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
import shared

QUICK = "--quick" in sys.argv
SECONDS = 0.01 if QUICK else 0.1
REPETITIONS = 3 if QUICK else 7
MACHINES = os.path.join(shared.PROJECT, "lab", "machines")
LISTS = {
    "small": "leopard/volumes/disk2s3/files/Library/Preferences/SystemConfiguration/com.apple.Boot.plist",
    "large": "workshop/registry/ioreg.plist",
}


# name, label, nanoseconds
def functions():
    with tempfile.TemporaryDirectory() as folder:
        report = os.path.join(folder, "report.json")
        subprocess.run(
            [os.path.join(shared.BUILD, "bin", "library"), "--benchmark_out=" + report, "--benchmark_out_format=json",
             "--benchmark_min_time=%g" % SECONDS, "--benchmark_repetitions=%d" % REPETITIONS,
             # In turn, so that whatever drifts drifts for all.
             "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        with open(report) as opened:
            entries = json.load(opened)["benchmarks"]
    units = {"ns": 1, "us": 1e3, "ms": 1e6}
    for entry in entries:
        if entry.get("error_occurred"):
            sys.exit("library: %s: %s" % (entry["name"], entry["error_message"]))
        if entry.get("aggregate_name") == "median":
            name, _, real = entry["run_name"].partition("/real_time")
            nanoseconds = entry["real_time" if "/real_time" in entry["run_name"] else "cpu_time"] * units[entry["time_unit"]]
            yield name, entry.get("label", ""), nanoseconds


def timed(work):
    figures = []
    for _ in range(REPETITIONS):
        times, begin = 0, time.process_time()
        while times == 0 or time.process_time() - begin < SECONDS:
            work()
            times += 1
        figures.append(1e9 * (time.process_time() - begin) / times)
    return statistics.median(figures)


def lists_by_python():
    for size, file in LISTS.items():
        with open(os.path.join(MACHINES, file), "rb") as opened:
            text = opened.read()
        parsed = plistlib.loads(text)
        yield "list read/%s/plistlib" % size, "%d bytes" % len(text), timed(lambda: plistlib.loads(text))
        yield "list write/%s/plistlib" % size, "%d bytes" % len(text), timed(lambda: plistlib.dumps(parsed))


rows = []
for name, label, nanoseconds in [*functions(), *lists_by_python()]:
    subject, _, who = name.rpartition("/")
    rows.append((subject, who, label, "%.1f" % nanoseconds))
shared.write_table(sys.argv[1], ("subject", "who", "of what", "ns"), rows)
