#!/usr/bin/env bash
# What is installed starts the daemon with each system, and an upgrade in place is fought by nobody: the file is replaced, the
# old instance ends with status 0 and is not started again, and the new one goes on and serves.
# shellcheck disable=SC2317 # Expect calls what it is handed
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
build=$PWD/build/native

list=/machine/Library/LaunchDaemons/com.halvorix.halvorixd.plist
item=/machine/Library/StartupItems/Halvorixd/Halvorixd

Fail() {
    echo "$*"
    cat "$scratch/sandbox.log" "$mac/log" "$mac"/output-* 2>/dev/null || true
    exit 1
}

# Expect WHAT COMMAND...: looks for half a minute.
Expect() {
    local look
    for ((look = 0; look < 600; ++look)); do
        if "${@:2}"; then return 0; fi
        sleep 0.05
    done
    Fail "not seen: $1"
}

# A prefix below which files can be replaced while a machine runs. In the machine it is /product. One at a time, since cmake
# writes into the build's folder.
Install() { flock "$build" env DESTDIR="$scratch/root" cmake --install "$build" --prefix /product >"$scratch/install.log"; }

# Installs into a machine of this kind, starts it, and in it the program that starts the daemon; then somebody logs in.
Start() {
    scratch=$(mktemp -d)
    mac=$scratch/mac
    sandbox=
    trap '[ -z "$sandbox" ] || { kill "$sandbox" && wait "$sandbox"; } 2>/dev/null || true; rm -rf "$scratch"' EXIT

    Install
    mkdir "$scratch/build"
    ln -s "$scratch/root/product" "$scratch/build/bin"
    "$build/bin/labctl" create "$1" "$mac" >/dev/null
    cp -R "$scratch/root/Library" tests/host/support "$mac/"
    lab/sandbox --folder "$mac" --build "$scratch/build" --lab-bin "$build/bin" >"$scratch/sandbox.log" 2>&1 &
    sandbox=$!
    Expect "the machine runs" Labctl start idle
    InMachine "${@:2}"
    Expect "the socket's folder is there before anybody has logged in" FolderIsRoots
    Labctl start SystemUIServer
}
FolderIsRoots() {
    InMachine stat sh -c 'stat -c "%a %u" /tmp/com.halvorix.halvorixd; echo end'
    Expect "stat has ended" grep -qx end "$mac/output-stat"
    grep -qx '755 0' "$mac/output-stat"
}

# Has init start a program there. By the first word labctl knows it.
InMachine() {
    rm -f "$mac/output-$1"
    Labctl start --output "/machine/output-$1" "$1" /bin/bash /machine/support/in-machine.sh "${@:2}" ||
        Fail "no $1 could be started"
}

Labctl() { "$build/bin/labctl" --machine "$mac" "$@" >/dev/null 2>&1; }
Logs() { grep -qx "$1" "$mac/log" 2>/dev/null; }
Started() { [ "$(grep -c started "$mac/log" 2>/dev/null)" = "$1" ]; }
LastStarted() { sed -n 's/^started //p' "$mac/log" | tail -n 1; }

# A client receives an event of a type that no other has: `Serves WHEN`.
type=100
Serves() {
    type=$((type + 1))
    Labctl start --output "/machine/events-$type" halvorixevents /product/bin/halvorixevents --wait --reconnect --json
    Expect "an event arrives $1" PostAndSee
}
# Again and again, since those that came before the client are not for it.
PostAndSee() {
    Labctl post --type "$type"
    grep -q "\"type\":$type," "$mac/events-$type" 2>/dev/null
}

# Leaves the numbers of all processes of the daemon's name in $daemons.
FindDaemons() {
    InMachine ps sh -c 'ps -C halvorixd -o pid=; echo end'
    Expect "ps has ended" grep -qx end "$mac/output-ps"
    read -r -d '' -a daemons < <(sed '$d' "$mac/output-ps") || true
}
NoneIsLeft() { FindDaemons && [ ${#daemons[@]} = 0 ]; }
AnotherOneRuns() { FindDaemons && [ ${#daemons[@]} = 1 ] && [ "${daemons[0]}" != "$old" ]; }

# 10.5: what was killed comes back, and what ended well does not.
On10_5() {
    Start leopard launchd python3 /machine/support/launchd.py 10.5 "$list" /machine/log
    Serves "on 10.5"
    InMachine kill kill -KILL "$(LastStarted)"
    Expect "10.5 starts a daemon again that was killed" Started 2
    Serves "from the one that was started again"

    # The upgrade by hand. The running program's file is replaced and not written into.
    old=$(LastStarted)
    before=$(stat -c %i "$scratch/root/product/sbin/halvorixd")
    touch -d 2001-01-01 "$scratch/root/product/sbin/halvorixd"
    Install
    [ "$(stat -c %i "$scratch/root/product/sbin/halvorixd")" != "$before" ] || Fail "the daemon's file was written into"
    byHand=$("$build/bin/labctl" --machine "$mac" start halvorixd /product/sbin/halvorixd)
    Expect "the old instance ends with status 0" Logs "ended $old 0"
    Serves "from the new instance"
    Started 2 || Fail "launchd started what had ended well, which ends the new instance"

    # The upgrade by launchctl start, while the other one runs, and launchctl stop.
    Labctl signal launchd USR2
    Expect "launchctl start starts one" Started 3
    Expect "the one that was started by hand ends with status 0" grep -qx 'state exited 0' "$mac/processes/$byHand"
    Serves "from launchd's"
    old=$(LastStarted)
    Labctl signal launchd USR1
    Expect "launchctl stop ends it with status 0" Logs "ended $old 0"
    Labctl signal launchd USR2
    Expect "launchctl start starts it again" Started 4
}

# 10.4 starts it once.
On10_4() {
    Start tiger launchd python3 /machine/support/launchd.py 10.4 "$list" /machine/log
    Serves "on 10.4"
    old=$(LastStarted)
    InMachine kill kill -KILL "$old"
    Expect "it was killed" Logs "ended $old -9"
    Started 1 || Fail "10.4 started it again"
    Labctl signal launchd USR2
    Expect "launchctl start starts it" Started 2
}

# 10.3: SystemStarter runs a script and looks after nothing.
On10_3() {
    Start panther SystemStarter "$item" start
    Serves "on 10.3"
    old=
    AnotherOneRuns || Fail "these daemons run: ${daemons[*]}"
    old=${daemons[0]}
    InMachine SystemStarter "$item" restart
    Expect "the new instance runs alone" AnotherOneRuns
    Serves "from the new instance"
    InMachine SystemStarter "$item" stop
    Expect "it was stopped" NoneIsLeft
}

# Each waits most of the time, so they do it side by side.
(On10_5) & processes=($!)
(On10_4) & processes+=($!)
(On10_3) & processes+=($!)
failed=0
for process in "${processes[@]}"; do
    wait "$process" || failed=1
done
exit "$failed"
