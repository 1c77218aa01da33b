# How a Mac starts from a RAID volume.
# shellcheck shell=bash disable=SC2154 # variables are the other files'

bootPreferences=com.apple.boot.S/Library/Preferences/SystemConfiguration/com.apple.Boot.plist

# Whether a boot helper partition is whole: every file that it takes.
IsFilled() {
    local file
    for file in System/Library/CoreServices/boot.efi System/Library/CoreServices/SystemVersion.plist \
        com.apple.boot.S/mach_kernel com.apple.boot.S/System/Library/Extensions.mkext "$bootPreferences"; do
        [ -f "$(FilesOf "$1")/$file" ] || return 1
    done
}
IsEmpty() { [ -z "$(ls "$(FilesOf "$1")")" ]; }
# A mark that is gone when the partition was erased.
Mark() { touch "$(FilesOf "$1")/before"; }
IsMarked() { [ -f "$(FilesOf "$1")/before" ]; }
RootUUID() { grep -A 1 '<key>Root UUID</key>' "$(FilesOf "$1")/$bootPreferences" | sed -n 's|.*<string>\(.*\)</string>.*|\1|p'; }
NamesVolume() { [ "$(RootUUID "$1")" = "$(VolumeIs "$raidVolume" UUID)" ]; }
ErasedTimes() { ToolRanTimes "/sbin/newfs_hfs -v Boot OSX /dev/r$1" "$2"; }
CacheWasUpdated() { ToolsRun | grep -q '^/usr/sbin/kextcache '; }

OwnersAreHonoured() {
    Say "look after the boot helper partitions of the RAID volume that this Mac started from"
    Expect "vsdbutil was run on both, each mounted for that" ToolRanTimes "/usr/sbin/vsdbutil -a /Volumes/Boot OSX" 2
    local helper
    for helper in "${helpers[@]}"; do
        Expect "$helper is unmounted again" Not IsMounted "$helper"
        ExpectNow "$helper was not erased" ErasedTimes "$helper" 0
    done
}

ShowHelper() {
    Tell "$1 holds now:"
    (cd "$(FilesOf "$1")" && find . -type f | sort) | Quote
    Tell "and in its com.apple.Boot.plist, beside the UUID of $raidVolume:"
    printf '%-10s %s\n' "Root UUID" "$(RootUUID "$1")" "$raidVolume" "$(VolumeIs "$raidVolume" UUID)" | Quote
}

HelpersAreRebuilt() {
    Say "event 1: the boot files of $raidVolume are out of date"
    local helper
    for helper in "${helpers[@]}"; do Mark "$helper"; done
    labctl post --type 1 --name "$raidVolume" >/dev/null
    for helper in "${helpers[@]}"; do
        Expect "$helper was erased by newfs_hfs and named Boot OSX" ErasedTimes "$helper" 1
        Expect "it was filled" IsFilled "$helper"
        Expect "it names $raidVolume as what the kernel starts from" NamesVolume "$helper"
        Expect "it is unmounted" Not IsMounted "$helper"
        ExpectNow "nothing is left of what it held" Not IsMarked "$helper"
        ShowHelper "$helper"
    done
    Expect "kextcache brought the cache of kernel extensions up to date" CacheWasUpdated
}

AHelperCannotBeMounted() {
    local first=${helpers[0]} second=${helpers[1]}
    Say "event 1 again, but $first cannot be mounted"
    labctl refuse "$first" "mount not-ready"
    Mark "$first"
    Mark "$second"
    labctl post --type 1 --name "$raidVolume" >/dev/null
    Expect "$first was erased" ErasedTimes "$first" 2
    Expect "$second was erased nevertheless" ErasedTimes "$second" 2
    ExpectToBeDoneWith "that event is done with"
    ExpectNow "$first is empty" IsEmpty "$first"
    ExpectNow "$second is filled" IsFilled "$second"
    labctl refuse "$first" nothing
}

AMemberIsGone() {
    local first=${helpers[0]} second=${helpers[1]}
    Say "event 1 again, but the RAID's first member, ${members[0]}, is gone"
    labctl disk detach "${members[0]}"
    Mark "$first"
    Mark "$second"
    labctl post --type 1 --name "$raidVolume" >/dev/null
    ExpectToBeDoneWith "that event is done with"
    ExpectNow "$first was not touched" IsMarked "$first"
    ExpectNow "neither was $second, which comes behind it" IsMarked "$second"
    ExpectNow "newfs_hfs did not run again" ErasedTimes "$second" 2
}

HelpersAreNobodysBusiness() {
    Say "event 1: the boot files of $raidVolume are out of date"
    labctl post --type 1 --name "$raidVolume" >/dev/null
    ExpectToBeDoneWith "that event is done with"
    ExpectNow "nothing was erased: before 10.5 a Mac needs no boot helper partitions" Not NewFileSystemsWereMade
    ExpectNow "no cache was updated" Not CacheWasUpdated
}
NewFileSystemsWereMade() { ToolsRun | grep -q '^/sbin/newfs'; }

BootDevice() { bless -info -getBoot; }
BootDeviceIs() { [ "$(BootDevice)" = "/dev/$1" ]; }

AHelperIsSelected() {
    Say "start from another disk next time, and then event 2: start from $raidVolume"
    bless -mount /Volumes/Backup -setBoot
    Tell "bless -info -getBoot says $(BootDevice) before"
    ExpectNow "this Mac would start from the disk Backup" BootDeviceIs disk3s3
    labctl post --type 2 --name "$raidVolume" >/dev/null
    Expect "it will start from ${helpers[0]}, the helper of the first member" BootDeviceIs "${helpers[0]}"
    Tell "bless -info -getBoot says $(BootDevice) after"
    ToolsRun | grep 'bless.* -setBoot' | tail -n 1 | Quote
}

TheVolumeIsBlessed() {
    local path
    path=$(VolumeIs "$raidVolume" 'mounted at')
    path=${path%, number*}
    Say "put a system on $raidVolume, and then event 2: start from it"
    mkdir -p "$path/System/Library/CoreServices"
    Tell "bless -info -getBoot says $(BootDevice) before"
    labctl post --type 2 --name "$raidVolume" >/dev/null
    Expect "this Mac will start from $raidVolume itself" BootDeviceIs "$raidVolume"
    Tell "bless -info -getBoot says $(BootDevice) after"
    ExpectNow "its System folder is blessed" FolderIsBlessed
    ToolsRun | grep 'bless.* -folder' | tail -n 1 | Quote
}
FolderIsBlessed() { [ "$(VolumeIs "$raidVolume" 'Blessed Folder')" = System/Library/CoreServices ]; }
