#!/usr/bin/env bash
# What the launcher of machines does outside of them: its exit statuses, its refusals, how it ends and what it leaves.
#
# usage: launcher.sh BUILD_DIR
set -uo pipefail

build=$1
tests=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
sandbox=$tests/../../lab/sandbox
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
# The launcher's own scratch folders, where what it leaves can be seen.
export TMPDIR=$scratch/launcher
mkdir "$TMPDIR"
failures=0

Fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# Runs the launcher; what it ended with and what it said are left in $status, $output and $errors.
Run() {
    "$sandbox" --build "$build" "$@" >"$scratch/output" 2>"$scratch/errors"
    status=$?
    output=$(<"$scratch/output")
    errors=$(<"$scratch/errors")
}

ExpectStatus() { [ "$status" = "$1" ] || Fail "$2: ended with $status, not $1 ($errors)"; }
# The errors are one line of this pattern.
# shellcheck disable=SC2053
ExpectErrors() { [[ $errors == $1 && $errors != *$'\n'* ]] || Fail "$2: said \"$errors\""; }

# Waits until the command comes true.
Await() {
    local tries=500
    until "$@"; do
        tries=$((tries - 1))
        [ "$tries" = 0 ] && return 1
        sleep 0.02
    done
}

# The exit status is the program's.
Run -- sh -c 'exit 7'
ExpectStatus 7 "a program that exits with 7"
Run -- sh -c 'exit 125'
ExpectStatus 125 "a program that exits with 125"
[ -z "$errors" ] || Fail "a program's own 125 is taken for the launcher's: $errors"
Run -- sh -c 'kill -TERM $$'
ExpectStatus 143 "a program that dies of signal 15"
Run -- /bin/none
ExpectStatus 127 "a program that is not there"
ExpectErrors "lab-init: cannot execute /bin/none: No such file or directory" "a program that is not there"

# Standard streams are the program's.
[ "$(printf hello | "$sandbox" --build "$build" -- cat)" = hello ] || Fail "standard input does not arrive"
Run -- sh -c 'echo out; echo err >&2'
[ "$output $errors" = "out err" ] || Fail "standard output and error: \"$output\" and \"$errors\""

# A copy is thrown away, a folder is kept.
Run -- touch /machine/mark
[ -z "$(ls -A "$TMPDIR")" ] || Fail "left behind: $(ls -A "$TMPDIR")"
[ ! -e "$tests/../../lab/machines/leopard/mark" ] || Fail "the machine that ships was written to"
cp -R "$tests/../../lab/machines/tiger" "$scratch/mac"
Run --folder "$scratch/mac" -- touch /machine/mark
[ -e "$scratch/mac/mark" ] || Fail "a machine folder does not keep what is written"
Run --machine panther -- cat /machine/name
[ "$output" = "Power Mac G4, Mac OS X 10.3.9" ] || Fail "--machine panther is $output"

# A folder that is started again has its volumes mounted anew, in the order of their disks' numbers; what was renamed stays so.
Run --folder "$scratch/mac" -- sh -c 'labctl disk attach disk10 --volume Ten && labctl disk attach disk9 --volume Nine &&
    labctl unmount disk3s3 && labctl rename disk9 Neun && grep -h number /machine/mounts/*'
ExpectStatus 0 "disks that are attached"
[ "$output" = "/Volumes/Neun
number -100
number -102
number -103" ] || Fail "volumes of the first run: $output $errors"
Run --folder "$scratch/mac" -- sh -c 'cat /machine/mounts/disk0s3 /machine/mounts/disk3s3 /machine/mounts/disk9 /machine/mounts/disk10;
    ls /machine/mounts /Volumes'
[ "$output" = "path /
number -100
path /Volumes/Projects
number -101
path /Volumes/Neun
number -102
path /Volumes/Ten
number -103
/Volumes:
Macintosh HD
Neun
Projects
Ten

/machine/mounts:
disk0s3
disk10
disk3s3
disk9" ] || Fail "volumes of the second run: $output $errors"

# A start-up volume that is none is said, and the machine runs.
cp -R "$tests/../../lab/machines/tiger" "$scratch/odd"
echo disk77 >"$scratch/odd/startup-volume"
Run --folder "$scratch/odd" -- ls /Volumes
ExpectStatus 0 "a start-up volume that is none"
ExpectErrors "lab-init: disk77 is no volume, so nothing is mounted at /" "a start-up volume that is none"
[ "$output" = "Macintosh HD
Projects" ] || Fail "without a start-up volume: $output"

# The variables of tests go in, others do not.
# shellcheck disable=SC2016 # the program inside expands them
output=$(HALVORIX_TRY=1 GTEST_TRY=2 SECRET=3 "$sandbox" --build "$build" -- sh -c 'echo "$HALVORIX_TRY$GTEST_TRY$SECRET"')
[ "$output" = 12 ] || Fail "of the variables $output went in"

# Refusals are one line.
Run --machine jaguar -- true
ExpectStatus 2 "an unknown machine"
ExpectErrors "sandbox: there is no machine jaguar; there are: *leopard*" "an unknown machine"
Run --folder "$scratch" -- true
ExpectStatus 2 "a folder that is no machine"
ExpectErrors "sandbox: $scratch is no machine folder; *" "a folder that is no machine"
Run --nonsense
ExpectStatus 2 "an unknown option"
ExpectErrors "sandbox: there is no option --nonsense; usage: *" "an unknown option"
Run --lab-bin
ExpectStatus 2 "an option without a value"
Run --build "$scratch" -- true
ExpectStatus 125 "a build without programs"
ExpectErrors "sandbox: $scratch holds no programs; type: *" "a build without programs"

# Without bubblewrap, and where it is refused, one line says what to type.
mkdir "$scratch/few" "$scratch/fake"
for program in bash cat cp mktemp rm; do
    ln -s "$(command -v "$program")" "$scratch/few/$program"
done
PATH=$scratch/few Run -- true
ExpectStatus 125 "no bubblewrap"
ExpectErrors "sandbox: bubblewrap is missing,*type: apt-get install bubblewrap" "no bubblewrap"
printf '#!/bin/sh\necho "bwrap: setting up uid map: Permission denied" >&2\nexit 1\n' >"$scratch/fake/bwrap"
chmod +x "$scratch/fake/bwrap"
PATH=$scratch/fake:$PATH Run -- true
ExpectStatus 125 "namespaces refused"
ExpectErrors "sandbox: bwrap: setting up uid map: Permission denied (*type as root: sysctl *" "namespaces refused"
[ -z "$(ls -A "$TMPDIR")" ] || Fail "a refusal left behind: $(ls -A "$TMPDIR")"

# The program's arguments have a text that nothing else's have.
mark=launcher-test-$$-$RANDOM
MarkIsDead() { ! pgrep -f "$mark" >/dev/null; }

# Starts a machine whose program says when it runs, then waits; its launcher is left in $launcher.
StartWaiting() {
    : >"$scratch/output"
    "$sandbox" --build "$build" -- sh -c "echo runs; sleep 1000; : $mark" >"$scratch/output" &
    launcher=$!
    Await test -s "$scratch/output" || Fail "the program does not start"
}

StartWaiting
kill -KILL "$launcher"
wait "$launcher" 2>/dev/null
Await MarkIsDead || Fail "the machine outlives its launcher"
rm -rf "${TMPDIR:?}"/*

StartWaiting
kill -TERM "$launcher"
wait "$launcher"
status=$?
ExpectStatus 143 "a launcher that is told to end"
Await MarkIsDead || Fail "the machine outlives a launcher that was told to end"
[ -z "$(ls -A "$TMPDIR")" ] || Fail "a launcher that was told to end left behind: $(ls -A "$TMPDIR")"

# However early it is told.
HasScratch() { [ -n "$(ls -A "$TMPDIR")" ]; }
for _ in 1 2 3 4 5; do
    "$sandbox" --build "$build" -- sh -c "sleep 1000; : $mark" &
    launcher=$!
    Await HasScratch
    kill -TERM "$launcher"
    wait "$launcher"
    Await MarkIsDead || Fail "the machine outlives a launcher that was told to end early"
    [ -z "$(ls -A "$TMPDIR")" ] || Fail "a launcher that was told to end early left behind: $(ls -A "$TMPDIR")"
done

# A machine without a program runs until it is told to end; a second one of the same folder refuses.
"$sandbox" --build "$build" --folder "$scratch/mac" &
launcher=$!
InitRuns() { ! flock --shared --nonblock "$scratch/mac/init.lock" true; }
Await InitRuns || Fail "a machine without a program does not run"
Run --folder "$scratch/mac" -- true
ExpectStatus 125 "a folder that runs already"
ExpectErrors "lab-init: this machine folder is running already,*" "a folder that runs already"
kill -TERM "$launcher"
wait "$launcher"
InitIsGone() { ! InitRuns; }
Await InitIsGone || Fail "a machine without a program does not end"

if [ "$failures" -gt 0 ]; then
    exit 1
fi
