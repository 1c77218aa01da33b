#!/usr/bin/env bash
# Every test and every command below tests/ that a page of docs/ names exists.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

tests=$(mktemp)
trap 'rm -f "$tests"' EXIT
tests/list-tests build/native | cut -d' ' -f1 >"$tests"

# The names between backquotes that look like one of these.
named() { grep -ohE "\`$1\`" docs/*.md | tr -d '`' | sort -u; }

missing=0
complain() {
    echo "docs: $1"
    missing=1
}

mapfile -t named_tests < <(named '[A-Z][A-Za-z0-9]*\.[A-Z][A-Za-z0-9_]*')
for test in "${named_tests[@]}"; do
    grep -qxF "$test" "$tests" || complain "there is no test $test"
done
mapfile -t commands < <(named 'tests/[a-z/-]+')
for command in "${commands[@]}"; do
    [ -x "$command" ] || complain "there is no command $command"
done
# There were more when this was written: pages whose names are no longer found would pass for ones without mistakes.
[ "${#named_tests[@]}" -ge 80 ] || complain "only ${#named_tests[@]} tests were found there"
exit "$missing"
