#!/usr/bin/env bash
# An option that the scripts do not know is one line and status 2.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

errors=$(mktemp)
trap 'rm -f "$errors"' EXIT
for command in ./run ./test ./lint scripts/packages; do
    status=0
    "$command" --nonsense 2>"$errors" || status=$?
    [ "$status" = 2 ] || { echo "$command ended with $status"; exit 1; }
    [ "$(wc -l <"$errors")" = 1 ] || { cat "$errors"; exit 1; }
done
