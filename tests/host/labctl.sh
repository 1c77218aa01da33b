#!/usr/bin/env bash
# labctl's page of the manual shows what labctl knows, programs can read all that it prints, bash completes its command lines,
# and a capture that it imports is a machine on which the daemon works.
#
# usage: labctl.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

build=$(realpath "${1:-build/native}")
PATH=$build/bin:$PATH
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

Fail() {
    echo "$*"
    exit 1
}

labctl --json help | python3 tests/host/support/labctl-forms.py docs/man/labctl.1

# In a bash of one's own, as its completion calls the function.
(
    # shellcheck source=/dev/null
    source <(labctl completion bash)
    complete -p labctl >/dev/null
    COMP_WORDS=(labctl --machine lab/machines/tiger disk detach disk0s) COMP_CWORD=5
    _labctl
    [ "${COMPREPLY[*]}" = "disk0s1 disk0s3" ] || Fail "bash completed disk0s by ${COMPREPLY[*]}"
)

capture=tests/lab/capture
labctl import --device-tree "$capture/devicetree.txt" "$capture/ioreg.txt" "$capture/SystemVersion.plist" \
    "$capture/mount.txt" "$scratch/mac" >"$scratch/import"
grep -q '^PowerMac3,6, Mac OS X 10.4.11: 31 registry entries, 5 disks and partitions, ' "$scratch/import"

cat >"$scratch/mac/work" <<'END'
set -u
Until() { until "$@"; do sleep 0.05; done; }
# The answer has to be one JSON value and nothing else, with this exit status.
Answers() {
    local wanted=$1 status=0
    shift
    labctl --json "$@" >/tmp/answer 2>/tmp/errors || status=$?
    [ "$status" = "$wanted" ] || { echo "labctl --json $* ended with $status" >&2; exit 1; }
    [ ! -s /tmp/errors ] || { echo "labctl --json $* printed errors" >&2; exit 1; }
    cat /tmp/answer
}
{
    Answers 0 start --output /machine/daemon halvorixd /usr/local/sbin/halvorixd
    Answers 0 start SystemUIServer
    Until test -S /tmp/com.halvorix.halvorixd/driverevents
    Answers 0 start --output /machine/heard halvorixevents /usr/local/bin/halvorixevents --count 1
    until [ -s /machine/heard ]; do Answers 0 post --type 5 --name disk1s3; sleep 0.05; done
    for what in tree processes 'driver show' queue tools 'volume list' 'volume show disk1s3' nvram 'nvram boot-device' \
        'unmount disk1s3' 'mount disk1s3' 'rename disk1s3 Plans' 'refuse disk1s3 nothing' 'disk attach disk9' \
        'disk attach disk9s3 --below disk9 --volume Photos' 'disk detach disk9' 'tool bless missing' 'tool bless works' \
        'volume add disk9 Empty' 'volume set disk9 Owners false' 'volume unset disk9 Owners' 'signal SystemUIServer TERM' \
        'stop halvorixd' 'driver unload' 'driver load' help 'help tree' 'completion zsh' 'create tiger /tmp/tiger'; do
        # shellcheck disable=SC2086
        Answers 0 $what
    done
    Answers 1 driver load
    Answers 1 import none none none /tmp/none
    Answers 2 fly
    Answers 2 post --colour red
} >/machine/answers
END
timeout 120 lab/sandbox --folder "$scratch/mac" --build "$build" -- /bin/bash /machine/work >"$scratch/said" 2>&1 || {
    cat "$scratch/said"
    Fail "the imported machine does not work"
}
grep -q 'type 5' "$scratch/mac/heard" || Fail "the daemon told of no event of the imported driver"
[ ! -s "$scratch/mac/daemon" ] || Fail "the daemon said: $(cat "$scratch/mac/daemon")"
python3 - "$scratch/mac/answers" <<'END'
import json, sys
values = [json.loads(line) for line in open(sys.argv[1], encoding="utf-8")]
tree = next(value for value in values if "disks" in value)
volume = tree["disks"][1]["partitions"][0]
assert volume["volume"] == {"name": "Projects", "kind": "hfs", "mounted-at": "/Volumes/Projects"}, volume
assert [value["status"] for value in values if "status" in value] == [1, 1, 2, 2], values[-4:]
assert {"mounted-at": "/Volumes/Plans"} in values
END
