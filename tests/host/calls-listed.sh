#!/usr/bin/env bash
# Every function that the product calls outside itself can be made to fail, or is said to be unable to.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
libraries=(build/native/{foundation,framework,services,daemon}/libhalvorix_*.a)

# What only the compiler and the linker know, and the data of libraries.
not_functions='^(_GLOBAL_OFFSET_TABLE_|_Z.*|__.*|k[A-Z].*|mach_task_self_|stdout)$'

nm -u "${libraries[@]}" | awk '$1 == "U" { print $2 }' | sed 's/^__isoc99_//' | sort -u >"$scratch/called"
nm "${libraries[@]}" | awk '$2 ~ /^[A-TV-Z]$/ { print $3 }' | sort -u >"$scratch/defined"
comm -23 "$scratch/called" "$scratch/defined" | grep -Ev "$not_functions" >"$scratch/outside"

sed -n 's/.*__wrap_\([A-Za-z0-9_]*\)(.*/\1/p' tests/support/FaultsIn*.cpp | sort -u >"$scratch/listed"
grep -v '^#' tests/sweep/cannot-fail.txt | cut -d ' ' -f 1 | sort -u >"$scratch/excused"

status=0
missing=$(comm -23 "$scratch/outside" <(sort -u "$scratch/listed" "$scratch/excused"))
if [ -n "$missing" ]; then
    echo "in neither the table of faults nor tests/sweep/cannot-fail.txt:"
    echo "$missing"
    status=1
fi
stale=$(comm -13 "$scratch/outside" "$scratch/excused")
if [ -n "$stale" ]; then
    echo "tests/sweep/cannot-fail.txt excuses what the product does not call:"
    echo "$stale"
    status=1
fi
exit $status
