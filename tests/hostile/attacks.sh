# What a local user tries, inside a machine that has such a user; tests/hostile/local-user runs one function of it in each.
# shellcheck shell=bash disable=SC2317 # functions are called by their names
set -u
export LC_ALL=C

folder=/tmp/com.halvorix.halvorixd
socket=$folder/driverevents
failed=0

AsUser() { /host/usr/bin/setpriv --reuid 501 --regid 20 --clear-groups -- "$@"; }
# The owner and the mode of what stands there itself, a link included.
Owned() { stat -c '%u %A' "$1" 2>/dev/null || echo nothing; }

Expect() {
    local what=$1
    shift
    if "$@"; then
        echo "yes: $what"
    else
        echo "NO:  $what"
        failed=1
    fi
}
Not() { ! "$@"; }
# Whether the system says that the user may not. A command that fails for another reason proves nothing.
IsForbidden() { AsUser "$@" 2>&1 | grep -qE 'Permission denied|not permitted'; }
Is() { [ "$1" = "$2" ]; }

WaitUntil() {
    local tries
    for ((tries = 0; tries < 3000; ++tries)); do
        "$@" && return
        sleep 0.01
    done
    return 1
}

StartDaemon() {
    labctl start SystemUIServer >/dev/null
    /usr/local/sbin/halvorixd &
    daemon=$!
}
Connects() { socat -u OPEN:/dev/null "UNIX-CONNECT:$socket" 2>/dev/null; }
IsRunning() { kill -0 "$daemon" 2>/dev/null; }

FolderMadeFirst() {
    AsUser mkdir -m 755 "$folder"
    StartDaemon
    wait "$daemon"
    Expect "a folder that another user made first ends the daemon with status 2" Is $? 2
    Expect "the folder is still that user's, and empty" Is "$(Owned "$folder") $(ls "$folder")" "501 drwxr-xr-x "
}

LinkMadeFirst() {
    AsUser mkdir -m 755 /tmp/own
    AsUser ln -s /tmp/own "$folder"
    StartDaemon
    wait "$daemon"
    Expect "a link to another user's folder ends the daemon with status 2" Is $? 2
    Expect "that folder is empty" Is "$(ls /tmp/own)" ""
    AsUser ln -sfn /Library "$folder"
    StartDaemon
    Expect "a link to a folder of root is followed, and the socket is there" WaitUntil test -S /Library/driverevents
    Expect "the user can lead the link elsewhere while the daemon runs" AsUser ln -sfn /tmp/own "$folder"
    kill "$daemon"
    wait "$daemon"
    rm -f /Library/driverevents
}

RunningDaemon() {
    StartDaemon
    Expect "the daemon listens" WaitUntil Connects
    Expect "the folder is root's" Is "$(Owned "$folder")" "0 drwxr-xr-x"
    local attempt
    for attempt in "rm -f $socket" "mv $socket $folder/other" "touch $folder/other" "chmod 700 $folder" \
        "chmod 700 $socket" "rm -rf $folder" "mv $folder /tmp/other" "ln -sfn /tmp/other $folder" \
        "kill -INT $daemon" "kill -STOP $daemon" "chmod 777 /private/tmp" "mv /private/tmp /private/other"; do
        # shellcheck disable=SC2086 # its words are the command
        Expect "the user cannot: $attempt" IsForbidden $attempt
    done
    Expect "it still runs" IsRunning
    Expect "and listens at its place" Connects
    AsUser socat -u "UNIX-CONNECT:$socket" - >/machine/heard 2>/dev/null &
    local listener=$!
    Expect "the user hears the driver's events" WaitUntil PostAndLook
    kill "$listener"
    kill "$daemon"
    wait "$daemon"
    Expect "it ends with status 0" Is $? 0
}
PostAndLook() {
    labctl post --type 5 >/dev/null
    [ "$(stat -c %s /machine/heard)" -ge 128 ]
}

LoginSession() {
    /usr/local/sbin/halvorixd &
    daemon=$!
    sleep 2
    Expect "the daemon waits for a login session" Not test -e "$socket"
    # Any program, under the name of one of the system's.
    cp /lab/bin/idle /tmp/SystemUIServer
    AsUser /tmp/SystemUIServer &
    local pretender=$!
    Expect "a user's program of that name passes for one" WaitUntil Connects
    kill "$daemon" "$pretender"
}

"$1"
exit "$failed"
