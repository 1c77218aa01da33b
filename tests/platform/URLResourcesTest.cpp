#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <pthread.h>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

static const char kFile[] = "/tmp/resource";

// Lets another thread interrupt the system calls of the one that made it.
class TInterrupted
{
public:
    TInterrupted()
    {
        struct sigaction action
        {
        };
        action.sa_handler = [](int) {};
        sigaction(SIGUSR1, &action, &fBefore);   // without SA_RESTART
    }
    ~TInterrupted() { sigaction(SIGUSR1, &fBefore, nullptr); }
    TInterrupted(const TInterrupted&) = delete;
    TInterrupted& operator=(const TInterrupted&) = delete;

    void Signal() const { pthread_kill(fThread, SIGUSR1); }

    // Whether the thread, which must be the process's first, waits in a system call.
    bool Sleeps() const
    {
        // Not /proc/self/stat, which an emulator answers itself.
        std::string text;
        std::getline(std::ifstream("/proc/self/task/" + std::to_string(getpid()) + "/stat"), text);
        return text.find(") S ") != std::string::npos;
    }

private:
    const pthread_t fThread = pthread_self();
    struct sigaction fBefore
    {
    };
};

// How many bytes wait in a pipe.
static int BytesIn(int descriptor)
{
    int count = -1;
    return ioctl(descriptor, FIONREAD, &count) == 0 ? count : -1;
}

class CFURLResources : public TMachineTest
{
protected:
    static CFURLRef URL(const std::string& path, bool isDirectory = false)
    {
        return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                       reinterpret_cast<const UInt8*>(path.c_str()),
                                                       static_cast<CFIndex>(path.size()), isDirectory);
    }

    static void Put(const std::string& path, const std::string& content)
    {
        std::ofstream(path, std::ios::binary) << content;
    }

    static std::string Content(const std::string& path)
    {
        std::ostringstream content;
        content << std::ifstream(path, std::ios::binary).rdbuf();
        return content.str();
    }

    static mode_t Mode(const std::string& path)
    {
        struct stat status
        {
        };
        return lstat(path.c_str(), &status) == 0 ? status.st_mode : 0;
    }

    // The content, or "failed" and the error code.
    static std::string Read(const std::string& path)
    {
        const TScoped<CFURLRef> url(URL(path));
        CFDataRef data = nullptr;
        SInt32 error = 77;
        const bool succeeded =
            CFURLCreateDataAndPropertiesFromResource(kCFAllocatorDefault, url.Get(), &data, nullptr, nullptr, &error);
        const TScoped<CFDataRef> held(data);
        EXPECT_EQ(succeeded, data != nullptr);
        EXPECT_EQ(succeeded, error == 0);
        if (!succeeded)
            return "failed " + std::to_string(error);
        return std::string(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
                           static_cast<size_t>(CFDataGetLength(data)));
    }

    static bool Write(const std::string& path, const std::string& content, SInt32* error, bool isDirectory = false)
    {
        const TScoped<CFURLRef> url(URL(path, isDirectory));
        const TScoped<CFDataRef> data(MakeBytes(content));
        return CFURLWriteDataAndPropertiesToResource(url.Get(), data.Get(), nullptr, error);
    }

    static bool Destroy(const std::string& path, SInt32* error, bool isDirectory = false)
    {
        const TScoped<CFURLRef> url(URL(path, isDirectory));
        return CFURLDestroyResource(url.Get(), error);
    }
};

TEST_F(CFURLResources, AFileIsReadWhole)
{
    const std::string content = std::string(10000, 'x') + std::string(1, '\0') + "end";
    Put(kFile, content);
    EXPECT_EQ(content, Read(kFile));
    Put(kFile, "");
    EXPECT_EQ("", Read(kFile));
}

TEST_F(CFURLResources, EveryFailureToReadIsMinusTen)
{
    EXPECT_EQ("failed -10", Read("/tmp/missing"));
    EXPECT_EQ("failed -10", Read("/tmp")) << "a folder";
    EXPECT_EQ("failed -10", Read("/tmp/missing/file"));
}

TEST_F(CFURLResources, AReadThatIsInterruptedGoesOn)
{
    ASSERT_EQ(0, mkfifo(kFile, 0600));
    const TInterrupted interrupted;
    std::thread writer([&] {
        const int end = open(kFile, O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(3, write(end, "con", 3));
        EXPECT_TRUE(WaitUntil([&] { return BytesIn(end) == 0 && interrupted.Sleeps(); }));
        interrupted.Signal();
        EXPECT_EQ(4, write(end, "tent", 4));
        close(end);
    });
    EXPECT_EQ("content", Read(kFile));
    writer.join();
}

TEST_F(CFURLResources, ErrorCodeAndDataNeedNotBeAskedFor)
{
    Put(kFile, "content");
    const TScoped<CFURLRef> url(URL(kFile));
    EXPECT_TRUE(
        CFURLCreateDataAndPropertiesFromResource(kCFAllocatorDefault, url.Get(), nullptr, nullptr, nullptr, nullptr));
    EXPECT_TRUE(CFURLDestroyResource(url.Get(), nullptr));
    EXPECT_FALSE(CFURLDestroyResource(url.Get(), nullptr));
}

TEST_F(CFURLResources, PropertiesEndTheProcess)
{
    const TScoped<CFURLRef> url(URL(kFile));
    CFDictionaryRef properties = nullptr;
    EXPECT_DEATH(CFURLCreateDataAndPropertiesFromResource(kCFAllocatorDefault, url.Get(), nullptr, &properties, nullptr,
                                                          nullptr),
                 "properties of files are not read");
    const TScoped<CFMutableDictionaryRef> table(MakeTable());
    const TScoped<CFDataRef> data(MakeBytes(""));
    EXPECT_DEATH(CFURLWriteDataAndPropertiesToResource(url.Get(), data.Get(), table.Get(), nullptr),
                 "properties of files are not written");
}

TEST_F(CFURLResources, ANewFileHasTheModeOfTheMask)
{
    const mode_t mask = umask(027);
    SInt32 error = 77;
    EXPECT_TRUE(Write(kFile, "new", &error));
    umask(mask);
    EXPECT_EQ(0, error);
    EXPECT_EQ("new", Content(kFile));
    EXPECT_EQ(mode_t{S_IFREG | 0640}, Mode(kFile));
}

TEST_F(CFURLResources, AFileIsWrittenInPlaceAndKeepsItsMode)
{
    Put(kFile, "old and longer");
    ASSERT_EQ(0, chmod(kFile, 0600));
    ASSERT_EQ(0, symlink(kFile, "/tmp/link"));

    SInt32 error = 77;
    EXPECT_TRUE(Write("/tmp/link", "new", &error));
    EXPECT_EQ("new", Content(kFile));
    EXPECT_EQ(mode_t{S_IFREG | 0600}, Mode(kFile));
    EXPECT_TRUE(S_ISLNK(Mode("/tmp/link")));
}

TEST_F(CFURLResources, AWriteThatIsInterruptedInTheMiddleGoesOn)
{
    ASSERT_EQ(0, mkfifo(kFile, 0600));
    const std::string content(3 << 20, 'x');
    const TInterrupted interrupted;
    size_t received = 0;
    std::thread reader([&] {
        const int end = open(kFile, O_RDONLY | O_CLOEXEC);
        // Full, and all that fits was taken of one call.
        EXPECT_TRUE(WaitUntil([&] { return BytesIn(end) > 0 && interrupted.Sleeps(); }));
        interrupted.Signal();
        char buffer[4096];
        ssize_t count = 0;
        while ((count = read(end, buffer, sizeof buffer)) > 0)
            received += static_cast<size_t>(count);
        close(end);
    });
    SInt32 error = 77;
    EXPECT_TRUE(Write(kFile, content, &error));
    reader.join();
    EXPECT_EQ(content.size(), received);
}

TEST_F(CFURLResources, WhatCannotBeWrittenIsMinusTen)
{
    SInt32 error = 77;
    EXPECT_FALSE(Write("/tmp/missing/file", "x", &error));
    EXPECT_EQ(-10, error);
    error = 77;
    EXPECT_FALSE(Write("/tmp", "x", &error)) << "a folder";
    EXPECT_EQ(-10, error);
    error = 77;
    EXPECT_FALSE(Write("/dev/full", "x", &error)) << "no space";
    EXPECT_EQ(-10, error);
}

TEST_F(CFURLResources, ADirectorysURLMakesAFolder)
{
    SInt32 error = 77;
    EXPECT_TRUE(Write("/tmp/folder", "ignored", &error, true));
    EXPECT_EQ(0, error);
    EXPECT_TRUE(S_ISDIR(Mode("/tmp/folder")));
    EXPECT_FALSE(Write("/tmp/folder", "", &error, true)) << "it is there already";
    EXPECT_EQ(-10, error);
}

TEST_F(CFURLResources, DestroyingDeletesTheLinkAndNotWhatItStandsFor)
{
    Put(kFile, "stays");
    ASSERT_EQ(0, symlink(kFile, "/tmp/link"));
    SInt32 error = 77;
    EXPECT_TRUE(Destroy("/tmp/link", &error));
    EXPECT_EQ(0, error);
    EXPECT_EQ(0u, Mode("/tmp/link"));
    EXPECT_EQ("stays", Content(kFile));
}

TEST_F(CFURLResources, OnlyADirectorysURLDestroysAFolderAndOnlyAnEmptyOne)
{
    ASSERT_EQ(0, mkdir("/tmp/folder", 0755));
    Put("/tmp/folder/file", "");
    SInt32 error = 77;
    EXPECT_FALSE(Destroy("/tmp/folder", &error, true)) << "not empty";
    EXPECT_EQ(-10, error);
    EXPECT_TRUE(Destroy("/tmp/folder/file", &error));
    EXPECT_FALSE(Destroy("/tmp/folder", &error, false)) << "a file's URL";
    EXPECT_TRUE(Destroy("/tmp/folder", &error, true));
    EXPECT_EQ(0u, Mode("/tmp/folder"));
}
