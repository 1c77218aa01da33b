# How the tour speaks, and how it looks: every step says what is done and what was seen of it.
# shellcheck shell=bash disable=SC2034 # variables are the other files'

step=0
plain='' green='' red='' bold=''
if [ -t 1 ] && [ "${TERM:-dumb}" != dumb ] && [ -z "${NO_COLOR:-}" ]; then
    plain=$'\e[0m' green=$'\e[32m' red=$'\e[31m' bold=$'\e[1m'
fi

Say() {
    step=$((step + 1))
    printf '\n%s%2d. %s%s\n' "$bold" "$step" "$1" "$plain"
}

# A line of explanation, or of what a program printed.
Tell() { printf '    %s\n' "$@"; }
Quote() { sed 's/^/        /'; }

Saw() { printf '    %sseen:%s %s\n' "$green" "$plain" "$1"; }

# Ends the tour: what is missing makes everything behind it wrong.
NotSeen() {
    printf '    %sNOT SEEN:%s %s\n' "$red" "$plain" "$1"
    printf '\nthe tour ends at step %d, since this was not seen: %s\n' "$step" "$1"
    exit 1
}

# Says what was seen when the command comes true within half a minute, and ends the tour otherwise. HALVORIX_TOUR_LOOKS sets
# another number of looks, 20 a second. On a terminal, what is waited for stands there meanwhile.
Expect() {
    local seen=$1 looks=${HALVORIX_TOUR_LOOKS:-600} look=0
    shift
    until "$@"; do
        look=$((look + 1))
        [ "$look" -lt "$looks" ] || { ClearLine; NotSeen "$seen"; }
        if [ -n "$plain" ] && [ "$look" = 10 ]; then printf '    waiting: %s' "$seen"; fi
        sleep 0.05
    done
    [ "$look" -lt 10 ] || ClearLine
    Saw "$seen"
}

ClearLine() { if [ -n "$plain" ]; then printf '\r\e[K'; fi; }

# What must be so already, with no waiting.
ExpectNow() {
    local HALVORIX_TOUR_LOOKS=1
    Expect "$@"
}

# Makes a command's opposite.
Not() { ! "$@"; }

# Processes

# Starts a process by way of init; its ID is left in $started.
Start() { started=$(labctl start "$@" | grep -oE '[0-9]+' | tail -n 1); }
PsShows() { ps -p "$1" -o comm= | grep -qx "$2"; }
NobodyIsNamed() { [ -z "$(pgrep -x "$1")" ]; }
NoteSays() { grep -qx "state $2" "/machine/processes/$1"; }
HasEnded() { ! kill -0 "$1" 2>/dev/null; }

# The driver and the tools, by the machine's logs

DriverWasAsked() { grep -q "$1" /machine/driver/calls 2>/dev/null; }
# The tools that ran, a line each: the path and the arguments behind argv[0], with blanks between them.
ToolsRun() { cut -f 3,5- /machine/tools/log 2>/dev/null | tr '\t' ' '; }
ToolRan() { ToolsRun | grep -qxF -- "$1"; }
ToolRanTimes() { [ "$(ToolsRun | grep -cxF -- "$1")" = "$2" ]; }

# Volumes

VolumeIs() { labctl volume show "$1" | sed -n "s/^$2: //p"; }
IsMounted() { labctl volume show "$1" | grep -q '^mounted at'; }
FilesOf() { echo "/machine/volumes/$1/files"; }
