#include "clients/StatusReport.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <utility>

static bool IsControl(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

std::string QuotedText(const std::string& text)
{
    std::string quoted = "\"";
    for (const char character : text) {
        if (IsControl(character)) {
            char escaped[8];
            snprintf(escaped, sizeof escaped, "\\u%04X", static_cast<unsigned>(character));
            quoted += escaped;
            continue;
        }
        if (character == '"' || character == '\\')
            quoted += '\\';
        quoted += character;
    }
    return quoted + "\"";
}

// The tree

// The text as a terminal may have it: a name of a volume changes nothing but what is read.
static std::string ShownText(std::string text)
{
    std::replace_if(text.begin(), text.end(), IsControl, '?');
    return "\"" + text + "\"";
}

static std::string TypeText(const THelperStatus& helper)
{
    // On a GUID map the type is a long number.
    if (helper.isBootPartition)
        return "Apple_Boot";
    return helper.type.empty() ? "without a type" : "of type " + helper.type;
}

static std::string HelperLine(const TMachineStatus& machine, const TVolumeStatus& volume, const THelperStatus& helper)
{
    if (helper.bsdName.empty())
        return "its boot helper cannot be told";
    std::string line = "boot helper " + helper.bsdName;
    if (!helper.exists)
        return line + ", which is missing";
    line += helper.hasFileSystem ? " " + ShownText(helper.name) : ", no file system";
    line += ", " + TypeText(helper);
    if (helper.mountPath.empty()) {
        line += ", not mounted";
    } else {
        line += ", " + (helper.version.empty() ? "no system version" : helper.version);
        line += HelperNamesVolume(helper, volume) ? ", names " : ", does not name ";
        line += volume.bsdName;
    }
    return line + (helper.bsdName == machine.bootDisk ? ", the firmware starts it" : "");
}

static std::string VolumeLine(const TMachineStatus& machine, const TVolumeStatus& volume)
{
    std::string line = "RAID volume " + volume.bsdName + " " + ShownText(volume.name);
    line += volume.mountPath.empty() ? ", not mounted" : ", at " + ShownText(volume.mountPath);
    if (!volume.version.empty())
        line += ", Mac OS X " + volume.version;
    return line + (volume.bsdName == machine.startUpDisk ? ", the start-up volume" : "");
}

static std::string VolumeTree(const TMachineStatus& machine, const TVolumeStatus& volume)
{
    std::string text = VolumeLine(machine, volume) + "\n";
    text += "  identity " + (volume.identity.empty() ? "none" : volume.identity);
    for (const std::string& other : VolumesWithSameIdentity(machine, volume))
        text += ", the same as " + other;
    text += "\n";
    for (const TMemberStatus& member : volume.members) {
        text += "  boot member " + (member.bsdName.empty() ? "that leads to no disk" : member.bsdName) + "\n";
        text += "    " + HelperLine(machine, volume, member.helper) + "\n";
    }
    return text;
}

static std::string FirmwareLine(const TMachineStatus& machine)
{
    if (machine.bootPath.empty())
        return "firmware: no boot device\n";
    const TVolumeStatus* const started = VolumeThatFirmwareStarts(machine);
    return "firmware: starts from " + (machine.bootDisk.empty() ? "a disk that is not there" : machine.bootDisk) +
           (started != nullptr ? ", a boot helper of " + started->bsdName : "") + ", " + ShownText(machine.bootPath) +
           "\n";
}

static std::string DaemonLine(const TMachineStatus& machine)
{
    const std::string running = machine.daemons == 0   ? "not running"
                                : machine.daemons == 1 ? "running"
                                                       : "running more than once";
    return "daemon: " + running + ", its socket " + (machine.socketError == 0 ? "answers" : "does not answer") + "\n";
}

static std::size_t CountOf(TFinding::EKind kind, const std::vector<TFinding>& findings)
{
    return static_cast<std::size_t>(std::count_if(findings.begin(), findings.end(),
                                                  [kind](const TFinding& finding) { return finding.kind == kind; }));
}

static std::string VerdictLine(const std::vector<TFinding>& findings)
{
    const std::size_t problems = CountOf(TFinding::EKind::kProblem, findings);
    const std::size_t unchecked = CountOf(TFinding::EKind::kUnchecked, findings);
    if (findings.empty())
        return "all is well\n";
    return "problems: " + std::to_string(problems) + ", not checked: " + std::to_string(unchecked) + "\n";
}

std::string StatusAsTree(const TMachineStatus& machine, const std::vector<TFinding>& findings)
{
    std::string text;
    for (const TVolumeStatus& volume : machine.volumes)
        text += VolumeTree(machine, volume);
    text += FirmwareLine(machine) + DaemonLine(machine) + "\n";
    for (const TFinding& finding : findings) {
        text += finding.kind == TFinding::EKind::kProblem ? "problem: " : "not checked: ";
        text += finding.about + ": " + finding.what + "\n  " + finding.advice + "\n";
    }
    return text + VerdictLine(findings);
}

// JSON

static std::string TextOrNull(const std::string& text)
{
    return text.empty() ? "null" : QuotedText(text);
}

static std::string Truth(bool value)
{
    return value ? "true" : "false";
}

static std::string Object(std::initializer_list<std::pair<const char*, std::string>> members)
{
    std::string text;
    for (const auto& member : members)
        text += (text.empty() ? "{" : ",") + QuotedText(member.first) + ":" + member.second;
    return text + "}";
}

// The array of what a function makes of each element.
template <class TElement, class TFunction>
static std::string ArrayOf(const std::vector<TElement>& elements, TFunction makeJSON)
{
    std::string text;
    for (const TElement& element : elements)
        text += (text.empty() ? "" : ",") + makeJSON(element);
    return "[" + text + "]";
}

static std::string HelperAsJSON(const TMachineStatus& machine, const TVolumeStatus& volume, const THelperStatus& helper)
{
    if (helper.bsdName.empty())
        return "null";
    const bool mounted = !helper.mountPath.empty();
    return Object({
        {"disk", QuotedText(helper.bsdName)},
        {"exists", Truth(helper.exists)},
        {"type", TextOrNull(helper.type)},
        {"isBootPartition", Truth(helper.isBootPartition)},
        {"name", helper.hasFileSystem ? QuotedText(helper.name) : "null"},
        {"mountPath", TextOrNull(helper.mountPath)},
        {"version", TextOrNull(helper.version)},
        {"rootUUID", TextOrNull(helper.rootUUID)},
        {"rootUUIDIsVolumes", mounted ? Truth(HelperNamesVolume(helper, volume)) : "null"},
        {"missingFiles", mounted ? ArrayOf(helper.missingFiles, QuotedText) : "null"},
        {"isBootDevice", Truth(helper.bsdName == machine.bootDisk)},
    });
}

static std::string VolumeAsJSON(const TMachineStatus& machine, const TVolumeStatus& volume)
{
    const auto memberAsJSON = [&](const TMemberStatus& member) {
        return Object({{"disk", TextOrNull(member.bsdName)}, {"helper", HelperAsJSON(machine, volume, member.helper)}});
    };
    return Object({
        {"disk", QuotedText(volume.bsdName)},
        {"name", TextOrNull(volume.name)},
        {"mountPath", TextOrNull(volume.mountPath)},
        {"version", TextOrNull(volume.version)},
        {"isStartUpVolume", Truth(volume.bsdName == machine.startUpDisk)},
        {"identity", TextOrNull(volume.identity)},
        {"sameIdentity", ArrayOf(VolumesWithSameIdentity(machine, volume), QuotedText)},
        {"members", ArrayOf(volume.members, memberAsJSON)},
    });
}

static std::string FindingAsJSON(const TFinding& finding)
{
    return Object({
        {"kind", finding.kind == TFinding::EKind::kProblem ? "\"problem\"" : "\"unchecked\""},
        {"about", QuotedText(finding.about)},
        {"what", QuotedText(finding.what)},
        {"advice", QuotedText(finding.advice)},
    });
}

std::string StatusAsJSON(const TMachineStatus& machine, const std::vector<TFinding>& findings)
{
    const TVolumeStatus* const started = VolumeThatFirmwareStarts(machine);
    const std::string firmware = Object({
        {"path", TextOrNull(machine.bootPath)},
        {"disk", TextOrNull(machine.bootDisk)},
        {"starts", TextOrNull(started != nullptr ? started->bsdName : "")},
    });
    const std::string daemon = Object({
        {"running", std::to_string(machine.daemons)},
        {"socketAnswers", Truth(machine.socketError == 0)},
    });
    return Object({
               {"exitStatus", std::to_string(ExitStatusFor(findings))},
               {"volumes",
                ArrayOf(machine.volumes, [&](const TVolumeStatus& volume) { return VolumeAsJSON(machine, volume); })},
               {"firmware", firmware},
               {"daemon", daemon},
               {"findings", ArrayOf(findings, FindingAsJSON)},
           }) +
           "\n";
}
