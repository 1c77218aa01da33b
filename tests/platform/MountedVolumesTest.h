// A machine whose mounts a test writes itself, and references to its files.

#ifndef HALVORIX_TESTS_PLATFORM_MOUNTEDVOLUMESTEST_H
#define HALVORIX_TESTS_PLATFORM_MOUNTEDVOLUMESTEST_H

#include "tests/support/MachineTest.h"

#include <CoreServices/CoreServices.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <vector>

// The start-up volume, disk2s3, is all that is mounted.
class TMountedVolumesTest : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        mkdir("/machine/mounts", 0777);
        for (const lab::TMount& mount : machine.Mounts())
            machine.Remove("mounts/" + mount.bsdName);
        Mount("disk2s3", "/", -100);
        mkdir("/private/tmp/folder", 0777);
    }

    // Says that the volume is mounted, and makes the folder.
    void Mount(const std::string& bsdName, const std::string& path, int number)
    {
        mkdir(path.c_str(), 0777);
        EXPECT_EQ("",
                  machine.WriteText("mounts/" + bsdName, "path " + path + "\nnumber " + std::to_string(number) + "\n"));
    }

    static void MakeFile(const std::string& path, std::size_t size = 0)
    {
        std::ofstream(path, std::ios::binary) << std::string(size, 'x');
    }

    static FSRef ReferenceTo(const std::string& path)
    {
        FSRef ref = {};
        EXPECT_EQ(noErr, FSPathMakeRef(Bytes(path), &ref, nullptr)) << path;
        return ref;
    }

    // The path of what is referred to; its error in words when it has none.
    static std::string PathOf(const FSRef& ref)
    {
        UInt8 path[1024];
        const OSStatus error = FSRefMakePath(&ref, path, sizeof path);
        return error == noErr ? reinterpret_cast<const char*>(path) : "error " + std::to_string(error);
    }

    static const UInt8* Bytes(const std::string& text) { return reinterpret_cast<const UInt8*>(text.c_str()); }

    // An ASCII name.
    static std::string TextOf(const HFSUniStr255& name)
    {
        return std::string(name.unicode, name.unicode + name.length);
    }

    const std::string fFolder = "/private/tmp/folder";
};

#endif
