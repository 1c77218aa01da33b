#include "tests/sweep/Operation.h"

#include "tests/support/FaultTable.h"
#include "tests/sweep/RecordedPoints.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

// What a child that came back from the operation returned, or a sacrificed process. Shared with them.
static char* SharedText()
{
    static void* const page = mmap(nullptr, 65536, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return static_cast<char*>(page);
}

static void StoreShared(const std::string& text)
{
    strncpy(SharedText(), text.c_str(), 65535);
}

// Which call is failing, for whoever has to tell that the process died of it.
static char gFailing[256];

static void TellAndDie(int number)
{
    ssize_t written = write(STDERR_FILENO, gFailing, strlen(gFailing));
    static_cast<void>(written);
    signal(number, SIG_DFL);
    raise(number);
}

static void SayWhenTheProcessDies(const char* operation)
{
    snprintf(gFailing, sizeof gFailing, "died before a call failed: %s\n", operation);
    for (const int number : {SIGSEGV, SIGBUS, SIGABRT, SIGALRM, SIGFPE})
        signal(number, TellAndDie);
    // Whoever waits for ever fails at once, and not when the whole run is given up.
    alarm(280);
}

static std::string Counted(long count, const char* what)
{
    return count == 0 ? "" : ", left " + std::to_string(count) + " " + what;
}

// What a run left behind, as text.
static std::string LeftSince(const THeld& before)
{
    const THeld after = HeldByThisProcess();
    const auto more = [](std::uint64_t now, std::uint64_t then) { return static_cast<long>(now - then); };
    return Counted(after.descriptors - before.descriptors, "descriptor") +
           Counted(after.children - before.children, "child") + Counted(more(after.objects, before.objects), "object") +
           Counted(more(after.references, before.references), "reference") +
           Counted(more(after.overReleases, before.overReleases), "release of what was not held") +
           Counted(static_cast<long>(BlocksLeftBySweep()), "block");
}

TOperation::TOperation(const char* name, std::function<std::string()> work) : fName(name), fWork(std::move(work)) {}

TOperation& TOperation::Gives(const std::string& result)
{
    fClean = result;
    return *this;
}

TOperation& TOperation::GivesOnFailure(const std::string& result)
{
    fFailed = result;
    return *this;
}

TOperation& TOperation::GivesOnFailureOf(const std::string& function, const std::string& result, ESide side,
                                         unsigned call)
{
    fRules.push_back({function, side, call, result});
    return *this;
}

TOperation& TOperation::DespiteFailureOf(const std::vector<std::string>& functions, ESide side)
{
    for (const std::string& function : functions)
        GivesOnFailureOf(function, fClean, side);
    return *this;
}

TOperation& TOperation::Showing(std::function<std::string()> effect)
{
    fEffect = std::move(effect);
    return *this;
}

TOperation& TOperation::After(std::function<void()> preparation)
{
    fPreparation = std::move(preparation);
    return *this;
}

TOperation& TOperation::InAProcessOfItsOwn()
{
    fSacrificed = true;
    return *this;
}

TOperation& TOperation::WhateverItLeaves()
{
    fLooksAtRest = false;
    return *this;
}

TOperation& TOperation::RunAgainAtTheEnd()
{
    fAgainAfterEach = false;
    return *this;
}

std::string TOperation::Run(const THow& how) const
{
    if (fPreparation)
        fPreparation();
    // What is in the buffers would be written by children as well.
    fflush(nullptr);
    return fSacrificed ? RunSacrificed(how) : RunHere(how);
}

std::string TOperation::RunHere(const THow& how) const
{
    const THeld before = HeldByThisProcess();
    SharedText()[0] = 0;
    const pid_t caller = getpid();
    std::string result;
    how([&] {
        result = fWork();
        if (getpid() != caller) {
            StoreShared(result);
            _exit(0);
        }
    });
    const std::string inChild = SharedText();
    const std::string left = LeftSince(before);
    return result + (fEffect ? " " + fEffect() : "") + (inChild.empty() ? "" : ", in a child: " + inChild) + left;
}

std::string TOperation::RunSacrificed(const THow& how) const
{
    StoreShared("died");
    how([&] {
        const TInside notCounted;
        const pid_t process = fork();
        if (process == 0) {
            const THeld before = HeldByThisProcess();
            const TOutside counted;
            const std::string result = fWork();
            gSwept = false;
            End(result + (fLooksAtRest ? LeftSince(before) : ""));
        }
        int status = -1;
        waitpid(process, &status, 0);
        EXPECT_EQ(0, status) << "it died, or a sanitizer had something to say";
    });
    return SharedText();
}

void TOperation::End(const std::string& result)
{
    StoreShared(result);
    _exit(0);
}

std::string TOperation::RunPlainly() const
{
    // Swept as well, since only then is memory counted.
    return Run([](const std::function<void()>& code) { FaultPointsOf(code); });
}

std::string TOperation::Expected(const TFaultPoint& point) const
{
    for (const TRule& rule : fRules) {
        if (rule.function == point.function && (rule.side == kByAnybody || (rule.side == kByChild) == point.inChild) &&
            (rule.call == 0 || rule.call == point.call))
            return rule.result;
    }
    return fFailed;
}

void TOperation::Try(const TFaultPoint& point) const
{
    const std::string failing = std::string(fName) + ": " + Described(point);
    snprintf(gFailing, sizeof gFailing, "died while a call failed, or in the run behind it: %s\n", failing.c_str());
    bool reached = false;
    const std::string result = Run([&](const std::function<void()>& code) { reached = RunWithFaultAt(point, code); });
    EXPECT_TRUE(reached) << failing << " was not reached";
    EXPECT_EQ(Expected(point), result) << failing;
}

// What is recorded for an operation, which may be one number or, where 32-bit code differs, "64-bit/32-bit".
static std::size_t RecordedPointsOf(const std::string& name)
{
    std::istringstream lines(kRecordedPoints);
    for (std::string operation, numbers; std::getline(lines, operation, '\t') && std::getline(lines, numbers);) {
        if (operation != name)
            continue;
        const std::size_t slash = numbers.find('/');
        return std::stoul(sizeof(void*) == 8 || slash == std::string::npos ? numbers : numbers.substr(slash + 1));
    }
    return 0;
}

std::string TOperation::Rules() const
{
    std::string text = "\"" + fFailed + "\"";
    for (const TRule& rule : fRules) {
        text += "; " + rule.function + (rule.call != 0 ? " " + std::to_string(rule.call) : "");
        text += rule.side == kByChild ? " in a child" : rule.side == kByCaller ? " in the caller" : "";
        text += rule.result == fClean ? ": as if nothing failed" : ": \"" + rule.result + "\"";
    }
    return text;
}

void TOperation::Report(std::size_t points) const
{
    printf("\nsweep\t%s\t%zu\t%s\n", fName, points, Rules().c_str());
    const std::size_t recorded = RecordedPointsOf(fName);
    EXPECT_GT(recorded, 0u) << fName << " is not recorded; tests/sweep/run --record does it";
    EXPECT_GE(points, recorded) << fName
                                << " makes fewer calls that can fail than are recorded in tests/sweep/points.txt";
    if (points > recorded)
        printf("%s makes more calls than are recorded; tests/sweep/run --record writes them down\n", fName);
}

THeld TOperation::Sweep()
{
    SayWhenTheProcessDies(fName);
    const THeld before = HeldByThisProcess();
    // Once for what is made at the first use and kept.
    EXPECT_EQ(fClean, RunPlainly()) << fName;
    std::vector<TFaultPoint> points;
    const std::string clean = Run([&](const std::function<void()>& code) { points = FaultPointsOf(code); });
    EXPECT_EQ(fClean, clean) << fName;

    for (std::size_t i = 0; i < points.size(); ++i) {
        Try(points[i]);
        const bool last = i + 1 == points.size();
        // In a process of its own nothing could be left of the fault.
        if (last || (fAgainAfterEach && !fSacrificed)) {
            EXPECT_EQ(fClean, RunPlainly()) << fName << ", run after " << Described(points[i]) << " failed";
        }
    }
    Report(points.size());

    const THeld after = HeldByThisProcess();
    return {after.descriptors - before.descriptors, after.children - before.children, after.objects - before.objects,
            after.references - before.references, after.overReleases - before.overReleases};
}
