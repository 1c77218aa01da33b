# How volumes keep identities of their own.
# shellcheck shell=bash disable=SC2154 # variables are the other files'

util=/System/Library/Filesystems/hfs.fs/hfs.util

IdentityOf() { VolumeIs "$1" Identifier; }
IdentityIs() { [ "$(IdentityOf "$1")" = "$2" ]; }

# Attaches another volume of the same RAID, with the identity of one: `AttachCopy DISK NAME ORIGINAL`.
AttachCopy() { labctl disk attach "$1" --below "${raidVolume%s*}" --volume "$2" --identity-of "$3"; }

DisksAreLookedAt() {
    Say "disks that are there when the daemon starts"
    Expect "hfs.util was asked for the identity of the RAID volume $raidVolume" ToolRan "$util -k $raidVolume"
}
OtherDisksWereLookedAt() { ToolsRun | grep "^$util" | grep -vq " ${raidVolume%s*}"; }

ACopyIsRenewed() {
    copy=${raidVolume%s*}s4
    Say "attach $copy, a copy of $raidVolume that has the same identity"
    local identity
    identity=$(IdentityOf "$raidVolume")
    AttachCopy "$copy" Copy "$raidVolume"
    Expect "hfs.util gave the newcomer a new identity" ToolRan "$util -s $copy"
    Expect "the daemon read that as well" ToolRanTimes "$util -k $copy" 2
    ExpectNow "$raidVolume has still $identity" IdentityIs "$raidVolume" "$identity"
    ExpectNow "$copy has $(IdentityOf "$copy")" Not IdentityIs "$copy" "$identity"
    ExpectNow "hfs.util was asked about no disk but the RAID driver's" Not OtherDisksWereLookedAt
}

ADetachedDiskIsForgotten() {
    local next=${raidVolume%s*}s5
    Say "detach $copy, and attach $next with the identity that it had"
    labctl disk detach "$copy"
    AttachCopy "$next" Restored "$copy"
    Expect "the daemon read the identity of $next" ToolRan "$util -k $next"
    # Disks are looked at one after the other, so once a later one was asked about, this one is done with.
    AttachCopy "${raidVolume%s*}s6" Another "$raidVolume"
    Expect "it has done so with the next disk, too" ToolRan "$util -s ${raidVolume%s*}s6"
    ExpectNow "$next could keep its identity: nobody is known to have it any more" Not ToolRan "$util -s $next"
}

IdentitiesAreNobodysBusiness() {
    copy=${raidVolume%s*}s4
    Say "attach $copy, a copy of $raidVolume that has the same identity"
    AttachCopy "$copy" Copy "$raidVolume"
    Tell "before 10.4 nobody looks after identities; whether hfs.util ran shows at the end"
}

NoIdentityWasTouched() {
    Say "look back at what was attached"
    ExpectNow "hfs.util never ran" Not HfsUtilRan
    ExpectNow "$copy has still the identity of $raidVolume" IdentityIs "$copy" "$(IdentityOf "$raidVolume")"
}
HfsUtilRan() { ToolsRun | grep -q "^$util"; }
