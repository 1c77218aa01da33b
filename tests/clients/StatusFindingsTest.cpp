// What halvorixstatus makes of Macs that no test can be: judged by what was seen of them.

#include "clients/StatusFindings.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

namespace {

// The volume disk2s3 with one boot member, whose helper was filled from a 10.5.8.
TVolumeStatus GoodVolume()
{
    TMemberStatus member;
    member.bsdName = "disk0s4";
    member.helper.bsdName = "disk0s3";
    member.helper.exists = true;
    member.helper.isBootPartition = true;
    member.helper.hasFileSystem = true;
    member.helper.mountPath = "/tmp/helper";
    member.helper.version = "10.5.8";
    member.helper.rootUUID = "3591B849-1AA8-34CD-8626-666E5A51B02B";
    TVolumeStatus volume;
    volume.bsdName = "disk2s3";
    volume.mountPath = "/";
    volume.version = "10.5.8";
    volume.versionNumber = 0x10588000;
    volume.identity = "3591B849-1AA8-34CD-8626-666E5A51B02B";
    volume.members = {member};
    return volume;
}

TMachineStatus GoodMachine()
{
    TMachineStatus machine;
    machine.volumes = {GoodVolume()};
    machine.startUpDisk = "disk2s3";
    machine.bootPath = "/disk@0:3";
    machine.bootDisk = "disk0s3";
    machine.daemons = 1;
    machine.somebodyIsLoggedIn = true;
    return machine;
}

// What is found of a machine, without the advice: "daemon: it does not run".
std::vector<std::string> FoundOf(const TMachineStatus& machine)
{
    std::vector<std::string> found;
    for (const TFinding& finding : Judge(machine))
        found.push_back(finding.about + ": " + finding.what);
    return found;
}

using TFound = std::vector<std::string>;

TEST(StatusFindings, SystemsBefore105NeedNoHelpers)
{
    TMachineStatus machine = GoodMachine();
    EXPECT_EQ(TFound{}, FoundOf(machine));

    machine.volumes[0].members[0].helper.exists = false;
    machine.bootDisk = "disk2s3";
    EXPECT_EQ(2u, FoundOf(machine).size());
    machine.volumes[0].versionNumber = 0x104B8000;
    EXPECT_EQ(TFound{}, FoundOf(machine));
    // 10.5 itself is none of them.
    machine.volumes[0].versionNumber = 0x10508000;
    EXPECT_EQ(2u, FoundOf(machine).size());
}

TEST(StatusFindings, WhoStartedFromAnotherDiskMayStartFromThatAgain)
{
    TMachineStatus machine = GoodMachine();
    machine.startUpDisk = "disk5s3";
    machine.bootDisk = "disk5s3";
    machine.volumes[0].mountPath = "/Volumes/RAID";
    EXPECT_EQ(TFound{}, FoundOf(machine));

    machine.volumes[0].mountPath = "";
    machine.volumes[0].versionNumber = 0;
    EXPECT_EQ((TFound{"disk2s3: it is not mounted, so the system on it is not known"}), FoundOf(machine));
    EXPECT_EQ(3, ExitStatusFor(Judge(machine)));
}

TEST(StatusFindings, AVolumeWithoutIdentityIsLikeNoOtherAndCannotBeNamed)
{
    TMachineStatus machine = GoodMachine();
    machine.volumes.push_back(TVolumeStatus{});
    machine.volumes[1].bsdName = "disk3s3";
    machine.volumes[0].identity = "";
    machine.volumes[0].members[0].helper.rootUUID = "";
    EXPECT_EQ((TFound{"disk2s3: it has no identity, which its boot helpers would have to name",
                      "disk0s3: it names no root device for the kernel"}),
              FoundOf(machine));
}

TEST(StatusFindings, ANameThatIsCutWhenItIsErasedIsAProblem)
{
    TMachineStatus machine = GoodMachine();
    machine.bootDisk = "disk10s12";
    machine.volumes[0].members[0].helper.bsdName = "disk10s12";
    EXPECT_EQ(TFound{}, FoundOf(machine));

    machine.bootDisk = "disk10s123";
    machine.volumes[0].members[0].helper.bsdName = "disk10s123";
    EXPECT_EQ((TFound{"disk10s123: its name is too long for a rebuild, which would erase disk10s12 in its place"}),
              FoundOf(machine));
}

TEST(StatusFindings, OneDaemonAndNobodyElseMustAnswer)
{
    TMachineStatus machine = GoodMachine();
    machine.daemons = 2;
    EXPECT_EQ((TFound{"daemon: 2 of it run and take events from each other"}), FoundOf(machine));
    machine.daemons = 0;
    EXPECT_EQ((TFound{"daemon: it does not run, but somebody answers at its socket"}), FoundOf(machine));
    machine.daemons = 1;
    machine.socketError = ECONNREFUSED;
    EXPECT_EQ((TFound{"daemon: it runs, but its socket cannot be reached: Connection refused"}), FoundOf(machine));
    EXPECT_EQ(1, ExitStatusFor(Judge(machine)));
}

}   // namespace
