# Measures the rebuild of a boot helper partition: `measure.py FILE [--quick]`. The file receives a row for each time and
# step.

import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
import shared

TIMES = 3 if "--quick" in sys.argv else 40
COLUMNS = ("step", "all ns", "tools ns", "starting ns", "disk arbitration ns", "frameworks ns", "ours ns")

shared.write_table(sys.argv[1], COLUMNS, shared.lines_of(shared.in_sandbox("/product/rebuild", str(TIMES))))
