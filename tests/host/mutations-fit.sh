#!/usr/bin/env bash
# Every mutation applies to the tree as it is, says why, and names a test that exists. That the test dies of it is shown by
# tests/mutations/run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

tests=$(mktemp)
trap 'rm -f "$tests"' EXIT
tests/list-tests build/native | cut -d' ' -f1 >"$tests"

status=0
for patch in tests/mutations/*.patch; do
    grep -q '^# ..' "$patch" || { echo "$patch does not say why"; status=1; }
    git apply --check "$patch" || { echo "$patch does not apply"; status=1; }
    killer=$(sed -n 's/^kills: *//p' "$patch")
    grep -qxF "$killer" "$tests" || { echo "$patch: there is no test $killer"; status=1; }
done
exit "$status"
