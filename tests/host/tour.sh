#!/usr/bin/env bash
# ./run shows the daemon's main job and says so, and it fails when the daemon does not do it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

./run >"$scratch/output" 2>&1 || { cat "$scratch/output"; exit 1; }
grep -q '^all as it should be' "$scratch/output"
if grep -q 'NOT SEEN' "$scratch/output"; then exit 1; fi

# The same tour with a daemon that does nothing.
mkdir "$scratch/bin"
cp build/run/bin/* "$scratch/bin" 2>/dev/null || true
cp build/run/bin/idle "$scratch/bin/halvorixd"
build/run/bin/labctl create leopard "$scratch/mac" >/dev/null
cp lab/tour "$scratch/mac/tour"
status=0
HALVORIX_TOUR_LOOKS=3 lab/sandbox --folder "$scratch/mac" --build "$scratch" --lab-bin build/run/bin -- \
    /host/usr/bin/bash /machine/tour >"$scratch/output" 2>&1 || status=$?
[ "$status" = 1 ] || { echo "a tour of an idle daemon ended with $status"; cat "$scratch/output"; exit 1; }
grep -q 'NOT SEEN' "$scratch/output"
