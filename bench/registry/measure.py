# Measures the registry of volumes as it grows: `measure.py FILE [--quick]`. The file receives a row for each run.

import os
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
import shared

# How often each number of volumes is tried.
TIMES = {10: 3, 100: 1, 1000: 1} if "--quick" in sys.argv else {10: 20, 100: 10, 1000: 5, 10000: 1}
COLUMNS = ("volumes", "appearance ns", "ours ns", "ours at the end ns", "disappearance ns")
TOOL = "volumes/disk2s3/files/System/Library/Filesystems/hfs.fs/hfs.util"


def main():
    with tempfile.TemporaryDirectory() as folder:
        machine = os.path.join(folder, "mac")
        programs = os.path.join(shared.BUILD, "bin")
        subprocess.run([os.path.join(programs, "labctl"), "create", "leopard", machine], check=True)
        os.remove(os.path.join(machine, TOOL))
        shutil.copy(os.path.join(programs, "registry-tool"), os.path.join(machine, TOOL))
        rows = []
        for volumes, times in TIMES.items():
            for _ in range(times):
                rows += shared.lines_of(shared.in_sandbox("/product/registry", str(volumes), folder=machine))
        shared.write_table(sys.argv[1], COLUMNS, rows)


main()
