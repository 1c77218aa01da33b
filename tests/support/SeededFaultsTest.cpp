// The checks that end every test, checked: a test that leaves something behind must fail of it.

#include "tests/support/MachineTest.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

#include <csignal>
#include <functional>
#include <gtest/gtest-spi.h>
#include <sys/wait.h>
#include <unistd.h>

// A test with this body.
class TSeededTest : public TMachineTest
{
public:
    explicit TSeededTest(std::function<void()> body) : fBody(std::move(body)) {}

    // What its checks complained of.
    std::vector<std::string> Complaints()
    {
        testing::TestPartResultArray results;
        {
            const testing::ScopedFakeTestPartResultReporter reporter(
                testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
            SetUp();
            fBody();
            TearDown();
        }
        std::vector<std::string> complaints;
        for (int i = 0; i < results.size(); ++i)
            complaints.emplace_back(results.GetTestPartResult(i).message());
        return complaints;
    }

private:
    void TestBody() override {}

    const std::function<void()> fBody;
};

static std::vector<std::string> ComplaintsAbout(const std::function<void()>& body)
{
    return TSeededTest(body).Complaints();
}

// Whether there is one complaint, and about this.
static testing::AssertionResult IsOneOf(const std::vector<std::string>& complaints, const std::string& subject)
{
    if (complaints.size() == 1 && complaints[0].find(subject) != std::string::npos)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "not one complaint of " << subject << ": "
                                       << testing::PrintToString(complaints);
}

TEST(SeededFaults, ATestThatLeavesNothingPasses)
{
    const std::vector<std::string> complaints = ComplaintsAbout([] {
        CFRelease(CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr));
        close(dup(1));
    });
    EXPECT_TRUE(complaints.empty()) << testing::PrintToString(complaints);
}

TEST(SeededFaults, AnOpenDescriptorFailsItsTest)
{
    int left = -1;
    EXPECT_TRUE(IsOneOf(ComplaintsAbout([&left] { left = dup(1); }), "open descriptors"));
    close(left);
}

TEST(SeededFaults, AZombieFailsItsTest)
{
    pid_t left = 0;
    const std::vector<std::string> complaints = ComplaintsAbout([&left] {
        left = fork();
        if (left == 0)
            _exit(0);
        siginfo_t ended;
        waitid(P_PID, static_cast<id_t>(left), &ended, WEXITED | WNOWAIT);
    });
    waitpid(left, nullptr, 0);

    EXPECT_TRUE(IsOneOf(complaints, "children, zombies included"));
}

TEST(SeededFaults, ALostCoreFoundationObjectFailsItsTest)
{
    CFMutableArrayRef left = nullptr;
    const std::vector<std::string> complaints =
        ComplaintsAbout([&left] { left = CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr); });
    CFRelease(left);

    EXPECT_TRUE(IsOneOf(complaints, "live Core Foundation objects"));
}

TEST(SeededFaults, ALostIOKitReferenceFailsItsTest)
{
    io_service_t left = 0;
    const std::vector<std::string> complaints = ComplaintsAbout([&left] {
        left = IOServiceGetMatchingService(0, IOServiceMatching("com_halvorix_driver_Halvorix"));
        ASSERT_NE(0u, left);
    });
    IOObjectRelease(left);

    EXPECT_TRUE(IsOneOf(complaints, "live IOKit references"));
}

TEST(SeededFaults, AReleaseOfWhatIsNotHeldFailsItsTest)
{
    EXPECT_TRUE(IsOneOf(ComplaintsAbout([] { IOObjectRelease(12345); }), "releases of what was not held"));
}

// Blocks whose only pointers are gone when it returns.
__attribute__((noinline)) static void LoseBlocks()
{
    for (std::size_t size = 100; size < 200; ++size) {
        auto* const volatile block = new char[size];
        block[0] = 1;
    }
}

// Only where memory is watched can its loss be seen. Elsewhere this shows that the test is not failed for nothing, and
// host/sanitizers-see.sh that the build that watches it is the one that the tests run in.
TEST(SeededFaults, LostMemoryFailsItsTestWhereMemoryIsWatched)
{
#if defined(__SANITIZE_ADDRESS__)
    EXPECT_TRUE(IsOneOf(ComplaintsAbout(LoseBlocks), "MemoryIsLeaked"));
#else
    const std::vector<std::string> complaints = ComplaintsAbout(LoseBlocks);
    EXPECT_TRUE(complaints.empty()) << testing::PrintToString(complaints);
#endif
}
