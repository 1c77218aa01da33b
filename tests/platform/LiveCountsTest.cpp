#include "platform/Counts.h"
#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

class LiveCounts : public TMachineTest
{
protected:
    // A word of this process's file.
    std::uint64_t Word(size_t index) const
    {
        const std::string file = machine.ReadText("objects/" + std::to_string(getpid()));
        std::uint64_t word = 0;
        if (file.size() >= (index + 1) * sizeof word)
            memcpy(&word, file.data() + index * sizeof word, sizeof word);
        return word;
    }
};

TEST_F(LiveCounts, TheFileHasSixtyFourBytesAndBeginsWithTheMark)
{
    EXPECT_EQ(64u, machine.ReadText("objects/" + std::to_string(getpid())).size());
    EXPECT_EQ(0x48414c564f424a31u, Word(0));
}

TEST_F(LiveCounts, OthersReadTheCountsWhileTheProcessRuns)
{
    const TScoped<CFMutableArrayRef> array(MakeObjects());
    const TScopedName services(ServicesOfClass("com_halvorix_driver_Halvorix"));
    IOObjectRelease(12345);

    EXPECT_EQ(1u, Word(1)) << "live objects";
    EXPECT_EQ(1u, Word(2)) << "live references";
    EXPECT_EQ(1u, Word(3)) << "releases of what was not held";
    for (size_t i = 4; i < 8; ++i)
        EXPECT_EQ(0u, Word(i));
    fExpectedLeft.overReleases = 1;
}

TEST_F(LiveCounts, TheCountsOfThisProcessAreThoseOfItsFile)
{
    const TScoped<CFMutableArrayRef> array(MakeObjects());
    EXPECT_EQ(Word(1), platform::CurrentCounts().objects);
    EXPECT_EQ(Word(2), platform::CurrentCounts().references);
}

TEST_F(LiveCounts, AForkedChildDoesNotCountIntoItsParentsFile)
{
    const TScoped<CFMutableArrayRef> inherited(MakeObjects());

    const pid_t child = fork();
    if (child == 0) {
        const bool startsWithParents = platform::CurrentCounts().objects == 1;
        MakeObjects();
        MakeObjects();
        _exit(startsWithParents && platform::CurrentCounts().objects == 3 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);

    EXPECT_EQ(0, status) << "the child counts for itself, from what it inherited on";
    EXPECT_EQ(1u, Word(1));
    EXPECT_EQ("", machine.ReadText("objects/" + std::to_string(child)));
}

TEST_F(LiveCounts, AForkedChildOfAChildCountsForItselfToo)
{
    const pid_t child = fork();
    if (child == 0) {
        const pid_t grandchild = fork();
        if (grandchild == 0) {
            MakeObjects();
            _exit(platform::CurrentCounts().objects == 1 ? 0 : 1);
        }
        int status = -1;
        waitpid(grandchild, &status, 0);
        _exit(status == 0 && platform::CurrentCounts().objects == 0 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(0, status);
}
