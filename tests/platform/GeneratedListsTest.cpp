// Property lists made at random, as Core Foundation's functions and two independent programs write and read them.

#include "tests/platform/ListDump.h"
#include "tests/platform/PropertyListPeers.h"
#include "tests/platform/Scoped.h"

// Python's side of DumpOf.
static const char kPythonsDump[] =
    "import datetime, plistlib, struct\n"
    "def dump(v):\n"
    "    if isinstance(v, bool): return 't ' if v else 'f '\n"
    "    if isinstance(v, str): return 's' + v.encode().hex() + ' '\n"
    "    if isinstance(v, int): return 'i%d ' % v\n"
    "    if isinstance(v, float): return 'r' + struct.pack('>d', v).hex() + ' '\n"
    "    if isinstance(v, bytes): return 'd' + v.hex() + ' '\n"
    "    if isinstance(v, datetime.datetime):\n"
    "        return 'D%d ' % ((v - datetime.datetime(2001, 1, 1)) // datetime.timedelta(seconds=1))\n"
    "    if isinstance(v, list): return '[ ' + ''.join(map(dump, v)) + '] '\n"
    "    entries = sorted((k.encode().hex(), dump(e)) for k, e in v.items())\n"
    "    return '{ ' + ''.join(k + ' ' + e for k, e in entries) + '} '\n"
    "def load(path):\n"
    "    with open(path, 'rb') as file: return plistlib.load(file)\n";

class GeneratedLists : public TPropertyListPeers
{
protected:
    static CFPropertyListRef Read(const std::string& xml)
    {
        const TScoped<CFDataRef> data(MakeBytes(xml));
        CFStringRef error = nullptr;
        const CFPropertyListRef list =
            CFPropertyListCreateFromXMLData(kCFAllocatorDefault, data.Get(), kCFPropertyListImmutable, &error);
        if (error != nullptr)
            CFRelease(error);
        return list;
    }

    static std::string Written(CFPropertyListRef list)
    {
        const TScoped<CFDataRef> xml(CFPropertyListCreateXMLData(kCFAllocatorDefault, list));
        return std::string(reinterpret_cast<const char*>(CFDataGetBytePtr(xml.Get())),
                           static_cast<size_t>(CFDataGetLength(xml.Get())));
    }

    // Writes a list to the file of ours, and returns what it holds.
    static std::string WriteOurs(const plist::TValue& value)
    {
        const TScoped<CFPropertyListRef> list(Read(plist::Write(value)));
        WriteFile(kOurs, Written(list.Get()));
        return DumpOf(list.Get());
    }

    static std::string DumpOfTheirs()
    {
        const TScoped<CFPropertyListRef> list(Read(ReadFile(kTheirs)));
        return list.Get() != nullptr ? DumpOf(list.Get()) : "not read";
    }

    // An array in an array, and so on.
    static plist::TValue Deep(int depth)
    {
        plist::TValue inner = plist::TValue::String("at the bottom");
        for (int i = 0; i < depth; ++i) {
            plist::TValue outer = i % 2 == 0 ? plist::TValue::Array() : plist::TValue::Dictionary();
            if (i % 2 == 0)
                outer.items.push_back(std::move(inner));
            else
                outer.Set("k", std::move(inner));
            inner = std::move(outer);
        }
        return inner;
    }
};

TEST_F(GeneratedLists, PythonReadsWhatIsWritten)
{
    for (unsigned seed = 1; seed <= 5; ++seed) {
        const std::string ours = WriteOurs(GeneratedList(seed));
        EXPECT_EQ(ours + "\n", RunPython(std::string(kPythonsDump) + "print(dump(load('/tmp/ours.plist')))\n")) << seed;
    }
}

TEST_F(GeneratedLists, WhatPythonWritesIsRead)
{
    for (unsigned seed = 6; seed <= 10; ++seed) {
        const std::string ours = WriteOurs(GeneratedList(seed));
        RunPython(std::string(kPythonsDump) +
                  "with open('/tmp/theirs.plist', 'wb') as theirs: plistlib.dump(load('/tmp/ours.plist'), theirs)\n");
        EXPECT_EQ(ours, DumpOfTheirs()) << seed;
    }
}

TEST_F(GeneratedLists, PlistutilReadsWhatIsWrittenAndWritesWhatIsRead)
{
    for (unsigned seed = 11; seed <= 15; ++seed) {
        const std::string ours = WriteOurs(GeneratedList(seed));
        RunPlistutil();
        EXPECT_EQ(ours, DumpOfTheirs()) << seed;
        EXPECT_EQ(ours + "\n", RunPython(std::string(kPythonsDump) + "print(dump(load('/tmp/between.plist')))\n"))
            << "what plistutil understood, by its binary list, of seed " << seed;
    }
}

TEST_F(GeneratedLists, AHundredDeepIsReadByAll)
{
    const std::string ours = WriteOurs(Deep(100));
    EXPECT_EQ(ours + "\n", RunPython(std::string(kPythonsDump) + "print(dump(load('/tmp/ours.plist')))\n"));
    RunPlistutil();
    EXPECT_EQ(ours, DumpOfTheirs());
}

TEST_F(GeneratedLists, EveryWayToEscapeIsReadAsPythonReadsIt)
{
    const std::string xml =
        "<plist version=\"1.0\"><array><string>&lt;&gt;&amp;&quot;&apos;</string><string>&#65;&#x42;"
        "&#xe9;&#x65E5;</string><string><![CDATA[<&amp;>]]]]><![CDATA[>]]></string>"
        "<dict><key>&lt;k&gt;<![CDATA[&]]></key><string/></dict></array></plist>";
    WriteFile(kOurs, xml);
    const TScoped<CFPropertyListRef> list(Read(xml));
    ASSERT_NE(nullptr, list.Get());
    EXPECT_EQ(DumpOf(list.Get()) + "\n",
              RunPython(std::string(kPythonsDump) + "print(dump(load('/tmp/ours.plist')))\n"));
}
