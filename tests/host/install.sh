#!/usr/bin/env bash
# Installing puts what packaging/README.md lists where it says, and nothing else, all of it readable and none of it for
# others to write.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

Fail() {
    echo "$*"
    exit 1
}

Install() { DESTDIR=$scratch/$1 cmake --install build/native "${@:2}" >"$scratch/output" 2>&1; }

# Also under a umask that takes and one that gives too much.
(umask 077 && Install strict) || Fail "$(cat "$scratch/output")"
(umask 000 && Install lax) || Fail "$(cat "$scratch/output")"
# shellcheck disable=SC2016 # backquotes of the page
sed -nE 's/^\| `(\/[^`]*)` \|.*/\1/p' packaging/README.md | sort >"$scratch/listed"
for place in strict lax; do
    find "$scratch/$place" -type f | sed "s|^$scratch/$place||" | sort >"$scratch/found"
    diff "$scratch/listed" "$scratch/found" || Fail "listed (<) and installed (>) differ"
    wrong=$(find "$scratch/$place" -type f ! -perm 644 ! -perm 755)
    [ -z "$wrong" ] || Fail "modes are wrong: $wrong"
done
[ -x "$scratch/lax/Library/StartupItems/Halvorixd/Halvorixd" ] || Fail "SystemStarter cannot run its script"
[ "$(stat -c %a "$scratch/lax/Library/StartupItems/Halvorixd")" = 755 ] || Fail "others may write to the StartupItem"

# What starts the daemon starts the one that was installed.
Install elsewhere --prefix /opt/halvorix
[ -x "$scratch/elsewhere/opt/halvorix/sbin/halvorixd" ] || Fail "the prefix moved nothing"
for file in LaunchDaemons/com.halvorix.halvorixd.plist StartupItems/Halvorixd/Halvorixd; do
    grep -q ' /usr/local/sbin/halvorixd' "$scratch/strict/Library/$file" || Fail "$file does not start the daemon"
    grep -q ' /opt/halvorix/sbin/halvorixd' "$scratch/elsewhere/Library/$file" || Fail "$file does not follow the prefix"
done
if Install odd --prefix '/opt/a b'; then Fail "a prefix was taken that means something else to a shell"; fi

# Two readers of property lists agree about both, and launchd's says what is meant.
for list in "$scratch"/strict/Library/{LaunchDaemons,StartupItems/Halvorixd}/*.plist; do
    plistutil -i "$list" -o "$scratch/binary" -f bin && plistutil -i "$scratch/binary" -o "$scratch/again" -f xml
    python3 - "$list" "$scratch/again" <<'END'
import plistlib, sys
lists = [plistlib.load(open(path, "rb")) for path in sys.argv[1:]]
assert lists[0] == lists[1], lists
if "Label" in lists[0]:
    assert lists[0]["Label"] == "com.halvorix.halvorixd", lists
    assert lists[0]["RunAtLoad"] is True and lists[0]["KeepAlive"] == {"SuccessfulExit": False}, lists
    assert lists[0]["Umask"] == 0o022 and "OnDemand" not in lists[0], lists
else:
    assert lists[0]["Provides"] == ["Halvorixd"], lists
END
done
shellcheck -s sh -e SC1091 "$scratch/strict/Library/StartupItems/Halvorixd/Halvorixd"
