#!/usr/bin/env bash
# Where packages are missing and the caller is not root, one line says what to type and nothing counts as passed.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

fakes=$(mktemp -d)
trap 'rm -rf "$fakes"' EXIT
printf '#!/bin/sh\nexit 1\n' >"$fakes/dpkg-query"
printf '#!/bin/sh\necho 501\n' >"$fakes/id"
chmod +x "$fakes"/*

for command in './run' './test --quick' './lint'; do
    status=0
    # shellcheck disable=SC2086 # the option is a word of its own
    PATH=$fakes:$PATH $command >"$fakes/output" 2>"$fakes/errors" || status=$?
    [ "$status" = 1 ] || { echo "$command ended with $status"; exit 1; }
    grep -q '^halvorixd: packages are missing; type: sudo apt-get install .*bubblewrap' "$fakes/errors" ||
        { echo "$command said:"; cat "$fakes/errors"; exit 1; }
    if grep -qE '^[1-9][0-9]* passed' "$fakes/output"; then
        echo "$command counted a test that did not run"
        exit 1
    fi
done
