# How events reach programs: the daemon's main job.
# shellcheck shell=bash disable=SC2154,SC2034 # variables are the other files'

socket=/tmp/com.halvorix.halvorixd/driverevents
out=/private/var/tmp
records=0   # how many the witness has received, of 128 bytes each

SocketIsThere() { [ -S "$socket" ]; }
HasRecords() { [ "$(stat -c %s "$1" 2>/dev/null)" = $(($2 * 128)) ]; }
# The type, at offset 12, of each record in a file.
TypesIn() { od -An -v -t d4 -w128 "$1" | while read -r _ _ _ type _; do echo "$type"; done | paste -s -d ' '; }
LinesAre() { [ "$(wc -l <"$1")" = "$2" ]; }
TypesAre() { [ "$(TypesIn "$1")" = "$2" ]; }
Connections() { grep -c " $socket\$" /proc/net/unix; }
# Of the entries with the socket's path, one is the listening one.
ClientsAre() { [ "$(Connections)" = $(($1 + 1)) ]; }

# Starts socat as a listener whose bytes go to a file; its ID is left in $started.
Listen() {
    socat -u "UNIX-CONNECT:$socket" "CREATE:$1" &
    started=$!
}

# Has the driver tell of events that are for everybody, and waits for the witness to get them: `Post TYPE [COUNT]`.
PostAndExpect() {
    local count=${2:-1}
    labctl post --type "$1" --count "$count" >/dev/null
    records=$((records + count))
    Expect "$3" HasRecords "$out/witness" "$records"
}

# The driver's events are acted on in order, so once a later one arrived, what came before it is done with.
ExpectToBeDoneWith() { PostAndExpect 9 1 "$1, since socat received the event behind it"; }

ListenersConnect() {
    Say "connect three listeners: socat twice, and halvorixevents"
    Listen "$out/witness"
    Listen "$out/victim"
    victim=$started
    halvorixevents --wait >"$out/events.txt" 2>&1 &
    shipped=$!
    Expect "the kernel lists three connections" ClientsAre 3
}

EventsArrive() {
    Say "the driver queues events of types 3, 5 and -1"
    labctl post --type 3 --name "$raidVolume" >/dev/null
    labctl post --type 5 --name "$raidVolume" >/dev/null
    labctl post --type -1 >/dev/null
    records=2
    Expect "socat received types 3 and 5, 256 bytes; -1 is for nobody" TypesAre "$out/witness" "3 5"
    Expect "halvorixevents printed both" LinesAre "$out/events.txt" 2
    Quote <"$out/events.txt"
}

Fetches() { grep -c 'method 21' /machine/driver/calls; }
WereMoreFetches() { [ "$(Fetches)" -gt "$1" ]; }

DriverReturns() {
    Say "unload the driver, load it again, and go on"
    PostAndExpect 6 50 "socat received 50 events from the first driver"
    labctl driver unload >/dev/null
    local fetches
    fetches=$(Fetches)
    labctl driver load >/dev/null
    Expect "the daemon found the driver that was loaded" WereMoreFetches "$fetches"
    PostAndExpect 7 50 "socat received 50 events from the second driver"
}

AListenerDies() {
    Say "kill a listener with SIGKILL, and go on"
    disown "$victim"
    kill -KILL "$victim"
    PostAndExpect 8 10 "the other listener received all 10 events"
    Expect "the daemon closed the dead connection" ClientsAre 2
}
