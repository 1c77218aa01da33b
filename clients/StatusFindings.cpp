#include "clients/StatusFindings.h"

#include "clients/halvorixevent.h"   // HALVORIX_EVENT_SOCKET

#include <algorithm>
#include <cstring>

// 10.4.15 as a NumVersion: the highest version whose systems start without boot helper partitions.
static const UInt32 kHighestBefore10_5 = 0x104FFFFF;

// How much of a name is left when a partition is erased: "/dev/r" and the name are cut to 15 bytes.
static const std::size_t kLongestNameErased = 9;

static const char kRebuild[] = "let the RAID driver ask the daemon for a rebuild, which erases it and fills it anew";

// Gathers what is found.
class TFindings
{
public:
    void Problem(const std::string& about, const std::string& what, const std::string& advice)
    {
        fFindings.push_back({TFinding::EKind::kProblem, about, what, advice});
    }

    void Unchecked(const std::string& about, const std::string& what, const std::string& advice)
    {
        fFindings.push_back({TFinding::EKind::kUnchecked, about, what, advice});
    }

    const std::vector<TFinding>& All() const { return fFindings; }

private:
    std::vector<TFinding> fFindings;
};

static std::string Joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

static void JudgeHelperFiles(const TVolumeStatus& volume, const THelperStatus& helper, TFindings* findings)
{
    if (!helper.missingFiles.empty())
        findings->Problem(helper.bsdName, "a start from it would miss " + Joined(helper.missingFiles), kRebuild);
    if (helper.version.empty()) {
        findings->Problem(helper.bsdName, "it holds no system version, so it was not filled to its end", kRebuild);
    } else if (helper.version != volume.version) {
        findings->Problem(helper.bsdName,
                          "it is of " + helper.version + ", and " + volume.bsdName + " of " + volume.version +
                              ": the kernel would find extensions and a system that are not its own",
                          kRebuild);
    }
    if (helper.rootUUID.empty()) {
        findings->Problem(helper.bsdName, "it names no root device for the kernel", kRebuild);
    } else if (!HelperNamesVolume(helper, volume)) {
        findings->Problem(helper.bsdName,
                          "it names Root UUID " + helper.rootUUID + ", which is not " + volume.bsdName +
                              ": the kernel would wait for that disk for ever",
                          kRebuild);
    }
}

// What can be told of a helper without its files. Returns whether the files are worth a look.
static bool JudgeHelperPartition(const TMemberStatus& member, TFindings* findings)
{
    const THelperStatus& helper = member.helper;
    if (!helper.exists) {
        findings->Problem(
            member.bsdName, "there is no partition " + helper.bsdName + " beside it for the boot helper",
            "partition its disk anew with an Apple_Boot partition there, and let the RAID software restore "
            "the member");
        return false;
    }
    if (helper.bsdName.size() > kLongestNameErased)
        findings->Problem(helper.bsdName,
                          "its name is too long for a rebuild, which would erase " +
                              helper.bsdName.substr(0, kLongestNameErased) + " in its place",
                          "detach disk images and other disks and restart, so that it gets a lower number");
    if (!helper.isBootPartition) {
        findings->Problem(helper.bsdName,
                          "it stands where a boot helper belongs but is of type " +
                              (helper.type.empty() ? "none" : helper.type) + "; a rebuild erases it all the same",
                          "save what is on it now, then partition the disk anew with an Apple_Boot partition there");
        return false;
    }
    if (!helper.hasFileSystem) {
        findings->Problem(helper.bsdName, "it holds no file system that the firmware could read", kRebuild);
        return false;
    }
    if (helper.mountPath.empty()) {
        findings->Unchecked(helper.bsdName, "it is not mounted, so its files cannot be checked",
                            "as root: mkdir /Volumes/helper; mount -t hfs -o rdonly,nobrowse /dev/" + helper.bsdName +
                                " /Volumes/helper; look again; umount /Volumes/helper");
        return false;
    }
    return true;
}

static void JudgeMember(const TVolumeStatus& volume, const TMemberStatus& member, TFindings* findings)
{
    if (member.helper.bsdName.empty()) {
        const std::string who = member.bsdName.empty()
                                    ? "one of its boot members leads to no disk"
                                    : "the partition map of its boot member " + member.bsdName + " is not known";
        findings->Problem(volume.bsdName, who + "; no rebuild comes past it",
                          "look whether a disk has failed or is not connected");
        return;
    }
    if (JudgeHelperPartition(member, findings))
        JudgeHelperFiles(volume, member.helper, findings);
}

static bool StartsByHelpers(const TVolumeStatus& volume)
{
    return volume.versionNumber > kHighestBefore10_5;
}

static void JudgeBootMembers(const TMachineStatus& machine, const TVolumeStatus& volume, TFindings* findings)
{
    const bool isStartUpVolume = volume.bsdName == machine.startUpDisk;
    if (volume.members.empty()) {
        if (isStartUpVolume && StartsByHelpers(volume))
            findings->Problem(volume.bsdName, "the Mac started from it, but the driver lists no boot members of it",
                              "look with ioreg -l -w0 for its IOBootDevice; update the RAID driver");
        return;
    }
    if (volume.mountPath.empty()) {
        findings->Unchecked(volume.bsdName, "it is not mounted, so the system on it is not known",
                            "diskutil mount " + volume.bsdName + "; look again");
        return;
    }
    if (!StartsByHelpers(volume))
        return;
    if (volume.identity.empty())
        findings->Problem(volume.bsdName, "it has no identity, which its boot helpers would have to name",
                          "as root: /System/Library/Filesystems/hfs.fs/hfs.util -s " + volume.bsdName +
                              "; then let its boot helpers be rebuilt");
    for (const TMemberStatus& member : volume.members)
        JudgeMember(volume, member, findings);
}

static void JudgeIdentity(const TMachineStatus& machine, const TVolumeStatus& volume, TFindings* findings)
{
    const std::vector<std::string> same = VolumesWithSameIdentity(machine, volume);
    if (same.empty())
        return;
    findings->Problem(
        volume.bsdName, "it has the same identity as " + Joined(same),
        "restart the daemon, which gives all but the first of them a new one; then look again: boot helpers "
        "may name the old one");
}

static void JudgeFirmware(const TMachineStatus& machine, TFindings* findings)
{
    const auto started = std::find_if(machine.volumes.begin(), machine.volumes.end(), [&](const TVolumeStatus& volume) {
        return volume.bsdName == machine.startUpDisk && StartsByHelpers(volume) && !volume.members.empty();
    });
    if (started == machine.volumes.end() || VolumeThatFirmwareStarts(machine) == &*started)
        return;
    const std::string disk = machine.bootDisk.empty() ? "no disk that is there" : machine.bootDisk;
    const std::string helper = started->members[0].helper.bsdName;
    findings->Problem(
        "firmware", "it starts from " + disk + ", which is no boot helper of the start-up volume " + started->bsdName,
        helper.empty() ? "choose the volume in Startup Disk" : "as root: bless -device /dev/" + helper + " -setBoot");
}

static void JudgeDaemon(const TMachineStatus& machine, TFindings* findings)
{
    static const char kAbout[] = "daemon";
    const bool answers = machine.socketError == 0;
    if (machine.daemons > 1)
        findings->Problem(kAbout, std::to_string(machine.daemons) + " of it run and take events from each other",
                          "end all of them, then start one");
    if (machine.daemons == 0 && !answers)
        findings->Problem(kAbout, "it does not run", "start halvorixd as root");
    if (machine.daemons == 0 && answers)
        findings->Problem(kAbout, "it does not run, but somebody answers at its socket",
                          "find out who: lsof " HALVORIX_EVENT_SOCKET);
    if (machine.daemons != 0 && !answers && !machine.somebodyIsLoggedIn)
        findings->Problem(kAbout, "it waits until somebody logs in, and does nothing before",
                          "log in at the Mac itself; remote logins do not count");
    if (machine.daemons != 0 && !answers && machine.somebodyIsLoggedIn)
        findings->Problem(kAbout,
                          std::string("it runs, but its socket cannot be reached: ") + strerror(machine.socketError),
                          "look again in a moment; if it stays so, end it and start it again");
}

std::vector<TFinding> Judge(const TMachineStatus& machine)
{
    TFindings findings;
    if (machine.volumes.empty())
        findings.Problem("volumes", "there is no RAID volume",
                         "look whether the driver is loaded: kextstat | grep -i halvorix");
    for (const TVolumeStatus& volume : machine.volumes) {
        JudgeIdentity(machine, volume, &findings);
        JudgeBootMembers(machine, volume, &findings);
    }
    JudgeFirmware(machine, &findings);
    JudgeDaemon(machine, &findings);
    return findings.All();
}

int ExitStatusFor(const std::vector<TFinding>& findings)
{
    const bool problem = std::any_of(findings.begin(), findings.end(),
                                     [](const TFinding& finding) { return finding.kind == TFinding::EKind::kProblem; });
    if (problem)
        return kStatusProblems;
    return findings.empty() ? kStatusAllIsWell : kStatusNotAllWasChecked;
}
