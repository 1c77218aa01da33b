#!/usr/bin/env bash
# A small client of halvorixd in the shell: prints the type of each event. Needs socat.
#
# usage: listen.sh
#
# The daemon waits for a client that does not read, and all others wait with it. So socat does nothing but put what comes
# into a file, which always takes it, and od reads that file as slowly as this script's output is read. The file grows by
# 128 bytes an event until the script ends.
set -euo pipefail

socket=/tmp/com.halvorix.halvorixd/driverevents
size=128

events=$(mktemp /tmp/listen.XXXXXX)
socat -u "UNIX-CONNECT:$socket" "OPEN:$events,append" 2>/dev/null &
reader=$!
trap 'kill "$reader" 2>/dev/null || true; rm -f "$events"' EXIT

# Prints the events in so many bytes of the file from an offset on. od makes a line of 16 bytes, four numbers in this
# machine's byte order, and -v has it print lines that repeat. The type is the last number in the first of eight lines.
Show() {
    od -An -v -t d4 -j "$1" -N "$2" "$events" | sed -n 's/.* \([-0-9]*\) *$/type \1/p;n;n;n;n;n;n;n'
}

shown=0 running=yes
while [ -n "$running" ]; do
    # Looked at before the file is, so that what came last is shown as well.
    kill -0 "$reader" 2>/dev/null || running=
    whole=$((($(wc -c <"$events") - shown) / size * size))
    [ "$whole" -eq 0 ] || Show "$shown" "$whole"
    shown=$((shown + whole))
    sleep 0.2
done

if ! wait "$reader"; then
    echo "listen.sh: no daemon listens at $socket; start halvorixd" >&2
    exit 1
fi
