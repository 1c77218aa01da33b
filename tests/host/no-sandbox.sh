#!/usr/bin/env bash
# Where no sandbox is to be had, one line says so and what to type.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

fakes=$(mktemp -d)
trap 'rm -rf "$fakes"' EXIT
printf '#!/bin/sh\necho "bwrap: No permissions to create a new namespace" >&2\nexit 1\n' >"$fakes/bwrap"
chmod +x "$fakes/bwrap"

status=0
PATH=$fakes:$PATH scripts/sandbox-works >"$fakes/output" 2>"$fakes/errors" || status=$?
[ "$status" = 125 ] || { echo "ended with $status"; exit 1; }
[ ! -s "$fakes/output" ]
[ "$(wc -l <"$fakes/errors")" = 1 ] || { cat "$fakes/errors"; exit 1; }
grep -q 'type' "$fakes/errors"
