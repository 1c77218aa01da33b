#!/usr/bin/env bash
# The daemon on the machine `workshop`: two RAID volumes that have one identity from the start, a server's system, and a
# registry of hundreds of entries.
#
# usage: workshop.sh BUILD_DIR
set -uo pipefail

lab=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../lab" && pwd)

"$lab/sandbox" --machine workshop --build "$1" -- bash -s <<'END'
Fail() {
    echo "FAILED: $*"
    labctl tree
    cat /machine/tools/log
    exit 1
}
# Waits until the command comes true.
Await() {
    local looks=1200
    until "$@"; do
        looks=$((looks - 1))
        [ "$looks" != 0 ] || Fail "waited in vain: $*"
        sleep 0.05
    done
}
IdentityOf() { labctl volume show "$1" | sed -n "s/^Identifier: //p"; }
# Whether a tool was run with these words on end.
ToolRan() { grep -qF -e "$(printf '%s\t' "$@" | sed 's/.$//')" /machine/tools/log 2>/dev/null; }
Holds() { [ -f "/machine/volumes/$1" ]; }
system=files/System/Library/CoreServices

identity=$(IdentityOf disk3s3)
[ "$(IdentityOf disk4s3)" = "$identity" ] || Fail "the volumes differ from the beginning"
labctl start SystemUIServer >/dev/null
labctl start halvorixd /usr/local/sbin/halvorixd >/dev/null

Await ToolRan -k disk5s3
[ "$(IdentityOf disk3s3)" = "$identity" ] || Fail "the first volume lost its identity"
[ "$(IdentityOf disk4s3)" != "$identity" ] || Fail "the second volume has still the identity of the first"
for disk in disk0s3 disk6s2 disk7s2 disk8s2 disk9s2 disk10s1 disk13 disk15s2; do
    if ToolRan -k "$disk"; then Fail "hfs.util was asked about $disk, which is no RAID volume"; fi
done
if ToolRan -a; then Fail "helpers were looked after, but this Mac did not start from a RAID volume"; fi

# A server has its version elsewhere; its helpers get it as it is.
labctl post --type 1 --name disk5s3 >/dev/null
Await ToolRan kextcache
for helper in disk1s3 disk2s3; do
    Holds "$helper/$system/ServerVersion.plist" || Fail "$helper has no ServerVersion.plist"
    if Holds "$helper/$system/SystemVersion.plist"; then Fail "$helper has a SystemVersion.plist"; fi
    Holds "$helper/files/com.apple.boot.S/System/Library/Extensions.mkext" || Fail "$helper was not filled"
done
END
