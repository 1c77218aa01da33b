#!/usr/bin/env bash
# Installing puts three files where the README says, and no others.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
DESTDIR=$place cmake --install build/native >/dev/null

expected='/usr/local/bin/halvorixevents
/usr/local/include/halvorixevent.h
/usr/local/sbin/halvorixd'
found=$(cd "$place" && find . -type f | cut -c2- | sort)
[ "$found" = "$expected" ] || { echo "installed:"; echo "$found"; exit 1; }
[ -x "$place/usr/local/sbin/halvorixd" ]
"$place/usr/local/bin/halvorixevents" --version
