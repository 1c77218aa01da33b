#!/usr/bin/env bash
# A race, a leak and an overflow, each seeded into a small program that is built as the presets build everything: the
# sanitizer that is there for it sees it, and without one nobody does.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The sanitizers that a preset asks for.
SanitizersOf() {
    python3 -c '
import json, sys
presets = {preset["name"]: preset for preset in json.load(open("CMakePresets.json"))["configurePresets"]}
print(presets[sys.argv[1]].get("cacheVariables", {}).get("HALVORIX_SANITIZE", ""))' "$1"
}

Build() {
    cmake -S tests/support/seeded -B "$scratch/$1" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
        -DHALVORIX_SANITIZE="$(SanitizersOf "$1")" >"$scratch/$1.log"
    cmake --build "$scratch/$1" >>"$scratch/$1.log" || { cat "$scratch/$1.log"; exit 1; }
}

# Fails unless this program of the preset's build ends badly and says this.
Sees() {
    local status=0
    "$scratch/$1/bin/$2" >"$scratch/said" 2>&1 || status=$?
    [ "$status" != 0 ] || { echo "$1 let $2 pass"; exit 1; }
    grep -q "$3" "$scratch/said" || { echo "$1 said of $2:"; cat "$scratch/said"; exit 1; }
}

for preset in native asan tsan; do Build "$preset"; done
Sees tsan Race 'WARNING: ThreadSanitizer: data race'
Sees asan Leak 'ERROR: LeakSanitizer: detected memory leaks'
Sees asan Overflow 'runtime error: signed integer overflow'
for fault in Leak Overflow Race; do "$scratch/native/bin/$fault"; done
