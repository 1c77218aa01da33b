#!/usr/bin/env bash
# What drd reports is grouped, none of it is left out, and a conflict in the product's own code is no success.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# A report of an access at this place, asked for by the poller.
Report() {
    cat <<END
==4== Conflicting store by thread 1 at 0x04c90a80 size 8
==4==    at 0x4B8A6D3: $1
==4==    by 0x10E391: TDriverEventPoller::DrainDriverQueue(THXDaemonTool*) (DriverEventPoller.cpp:49)
==4== Other segment start (thread 3)
==4==    at 0x4854677: $1
==4== 
END
}

# Fails unless the reports in the file end with this status and this last line.
Grouped() {
    local status=0
    tests/races/group-reports "$scratch/reports" >"$scratch/said" 2>&1 || status=$?
    if [ "$status" != "$1" ] || [ "$(tail -n 1 "$scratch/said")" != "$2" ]; then
        echo "ended with $status"
        cat "$scratch/said"
        exit 1
    fi
}

{
    Report 'fork (fork.c:1)'
    Report 'fork (fork.c:1)'
    Report 'exit (exit.c:2)'
    echo '==4== ERROR SUMMARY: 9 errors from 3 contexts (suppressed: 0 from 0)'
} >"$scratch/reports"
Grouped 0 '3 reports of 2 kinds; 0 of them in the product'"'"'s own code'
grep -qx '   2 Conflicting store in fork (fork.c:1), for DriverEventPoller.cpp:49' "$scratch/said"

{
    Report 'TDriverEventPoller::Start() (DriverEventPoller.cpp:28)'
    echo '==4== ERROR SUMMARY: 1 errors from 1 contexts (suppressed: 0 from 0)'
} >"$scratch/reports"
Grouped 1 '1 reports of 1 kinds; 1 of them in the product'"'"'s own code'

# One that is of another kind, and a run that did not come to its end.
Report 'exit (exit.c:2)' >"$scratch/reports"
Grouped 1 "group-reports: drd did not come to its end"
echo '==4== ERROR SUMMARY: 2 errors from 2 contexts (suppressed: 0 from 0)' >>"$scratch/reports"
Grouped 1 "group-reports: drd tells of 2 reports, so some are of another kind: read the file"
