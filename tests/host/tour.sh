#!/usr/bin/env bash
# ./run shows what the daemon does on each system and says so, as the README shows it, and it fails when the daemon does not do
# it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

Fail() {
    echo "$1"
    cat "$scratch/output"
    exit 1
}

for mac in leopard tiger panther; do
    ./run "$mac" >"$scratch/output" 2>&1 || Fail "./run $mac ended with $?"
    grep -q '^all as it should be' "$scratch/output" || Fail "./run $mac did not come to its end"
    if grep -q 'NOT SEEN' "$scratch/output"; then Fail "./run $mac missed something and went on"; fi
    if grep -q $'\e' "$scratch/output"; then Fail "./run $mac is coloured where nobody sees it"; fi
    if [ "$mac" = leopard ]; then
        python3 tests/host/support/pages.py --shown ./run README.md <"$scratch/output" || Fail "the README shows something else"
    fi
done

# The same tour with a daemon that does nothing: one line at its end says what is missing.
mkdir "$scratch/bin"
cp build/native/bin/{halvorixd,halvorixevents,halvorixstatus,lab-init,labctl,stand-in,idle} "$scratch/bin"
cp build/native/bin/idle "$scratch/bin/halvorixd"
build/native/bin/labctl create leopard "$scratch/mac" >/dev/null
cp -R lab/tour "$scratch/mac/tour"
status=0
HALVORIX_TOUR_LOOKS=3 lab/sandbox --folder "$scratch/mac" --build "$scratch" --lab-bin build/native/bin -- \
    /host/usr/bin/bash /machine/tour/tour >"$scratch/output" 2>&1 || status=$?
[ "$status" = 1 ] || Fail "a tour of an idle daemon ended with $status"
tail -n 1 "$scratch/output" | grep -q '^the tour ends at step 1, since this was not seen: it looks for SystemUIServer' ||
    Fail "a tour of an idle daemon ended otherwise"
[ "$(grep -c 'NOT SEEN' "$scratch/output")" = 1 ] || Fail "a tour of an idle daemon went on"
