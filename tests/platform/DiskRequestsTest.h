// A machine with a volume that is to be mounted, and requests whose answers are noted.

#ifndef HALVORIX_TESTS_PLATFORM_DISKREQUESTSTEST_H
#define HALVORIX_TESTS_PLATFORM_DISKREQUESTSTEST_H

#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <DiskArbitration/DiskArbitration.h>

#include <functional>
#include <string>
#include <vector>

using TWords = std::vector<std::string>;

// A machine with a volume "Data" on disk8s2 that is not mounted.
class TDiskRequestsTest : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        ASSERT_EQ("", machine.AddMedium("disk8", "", 1000000, true));
        ASSERT_EQ("", machine.AddMedium("disk8s2", "disk8", 512000, false));
        ASSERT_EQ("", machine.AddVolume("disk8s2", "Data"));
    }

    void Schedule(DASessionRef session) const
    {
        DASessionScheduleWithRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    }

    void Unschedule(DASessionRef session) const
    {
        DASessionUnscheduleFromRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    }

    static std::string NameOf(DAReturn status)
    {
        return "dissent " + std::to_string(static_cast<UInt32>(status) - 0xF8DA0000u);
    }

    // Notes the answer, does what the test wants next, and stops the run loop when that is all.
    static void Answered(DADiskRef disk, DADissenterRef dissenter, void* context)
    {
        auto* const test = static_cast<TDiskRequestsTest*>(context);
        const char* const name = DADiskGetBSDName(disk);
        const std::string what = dissenter == nullptr ? "done" : NameOf(DADissenterGetStatus(dissenter));
        test->fAnswers.push_back((name != nullptr ? name : "no name") + std::string(": ") + what);
        if (test->fThen)
            test->fThen();
        if (test->fAnswers.size() >= test->fWanted)
            CFRunLoopStop(CFRunLoopGetCurrent());
    }

    // Runs the run loop until so many answers came in all.
    const TWords& RunUntilAnswered(size_t count)
    {
        fWanted = count;
        if (fAnswers.size() < count)
            CFRunLoopRun();
        return fAnswers;
    }

    using TAsk = std::function<void(DADiskRef)>;

    // Asks about the disk of that name in a session of its own, and returns the answer.
    std::string AnswerTo(const char* name, const TAsk& ask)
    {
        const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
        const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), name));
        Schedule(session.Get());
        ask(disk.Get());
        const TWords& answers = RunUntilAnswered(fAnswers.size() + 1);
        Unschedule(session.Get());
        return answers.back();
    }

    std::string Mount(const char* name = "disk8s2")
    {
        return AnswerTo(name, [this](DADiskRef disk) { DADiskMount(disk, nullptr, 0, Answered, this); });
    }

    std::string Unmount(DADiskUnmountOptions options = kDADiskUnmountOptionDefault, const char* name = "disk8s2")
    {
        return AnswerTo(name, [&](DADiskRef disk) { DADiskUnmount(disk, options, Answered, this); });
    }

    std::string Rename(const std::string& text, const char* name = "disk8s2")
    {
        const TScoped<CFStringRef> owned(MakeText(text));
        return AnswerTo(
            name, [&](DADiskRef disk) { DADiskRename(disk, owned.Get(), kDADiskRenameOptionDefault, Answered, this); });
    }

    std::string MountWith(const std::vector<CFStringRef>& arguments)
    {
        std::vector<CFStringRef> list = arguments;
        list.push_back(nullptr);
        return AnswerTo("disk8s2", [&](DADiskRef disk) {
            DADiskMountWithArguments(disk, nullptr, 0, Answered, this, list.data());
        });
    }

    TWords Options() const
    {
        for (const lab::TMount& mount : machine.Mounts()) {
            if (mount.bsdName == "disk8s2")
                return mount.options;
        }
        return {"not mounted"};
    }

    // Mounts disk8s2 as soon as it appears, on a run loop inside the callback.
    static void MountData(DADiskRef disk, void* context)
    {
        if (DADiskGetBSDName(disk) != std::string("disk8s2"))
            return;
        EXPECT_EQ("disk8s2: done", static_cast<TDiskRequestsTest*>(context)->Mount());
        CFRunLoopStop(CFRunLoopGetCurrent());
    }

    TWords fAnswers;
    size_t fWanted = 1;
    std::function<void()> fThen;
};

#endif
