#!/usr/bin/env bash
# The client that driverevents(5) shows compiles and hears the daemon, and pages of programs list the options that there are.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

for program in halvorixevents halvorixstatus; do
    "build/native/bin/$program" --help | grep -oE '^  --[a-z]+' | tr -d ' ' | sort >"$scratch/options"
    sed -nE 's/^\.It Fl (-[a-z]+).*/-\1/p' "docs/man/$program.1" | sort >"$scratch/page"
    diff "$scratch/options" "$scratch/page" || { echo "$program: --help (<) and the page (>) differ"; exit 1; }
done

build/native/bin/labctl create leopard "$scratch/mac" >/dev/null
# The page writes a backslash as \e.
awk '/^\.Ed/ { inside = 0 } inside; /^\.Bd -literal$/ { inside = 1 }' docs/man/driverevents.5 |
    sed 's/\\e/\\/g' >"$scratch/client.c"
cc -std=gnu99 -Wall -Wextra -Wconversion -Werror -I clients "$scratch/client.c" -o "$scratch/mac/client"

cat >"$scratch/mac/listen" <<'END'
set -eu
socket=/tmp/com.halvorix.halvorixd/driverevents
Connections() { grep -c " $socket\$" /proc/net/unix; }
Until() { until "$@"; do sleep 0.05; done; }
/machine/client && exit 1   # no daemon runs
labctl start SystemUIServer
labctl start halvorixd /usr/local/sbin/halvorixd
Until test -S "$socket"
/machine/client >/machine/types &
# One of the two is the daemon's.
Until eval '[ "$(Connections)" = 2 ]'
for type in 3 2 2147483647; do labctl post --type "$type"; done
Until grep -q 'type 2147483647' /machine/types
labctl stop halvorixd
wait $!
END
timeout 60 lab/sandbox --folder "$scratch/mac" -- /bin/bash /machine/listen >"$scratch/output" 2>&1 || {
    echo "the client ended with $?"
    cat "$scratch/output" "$scratch/mac/types"
    exit 1
}
printf 'type 3\ntype 2147483647\n' | diff - "$scratch/mac/types"
