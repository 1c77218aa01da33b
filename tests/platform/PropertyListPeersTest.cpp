// The reader and writer beside two that were written by others.

#include "tests/platform/PropertyListPeers.h"

using plist::TValue;

class PropertyListPeers : public TPropertyListPeers
{
protected:
    static TValue ReadTheirs()
    {
        TValue value;
        std::string error;
        EXPECT_TRUE(plist::Read(ReadFile(kTheirs), &value, &error)) << error << "\n" << ReadFile(kTheirs);
        return value;
    }

    // Every type, with values at which implementations differ.
    static TValue Sample()
    {
        TValue list = TValue::Dictionary();
        for (const char* text :
             {"", "plain", "<&>\"'", " lead and trail ", "line\nline\ttab", "Z\xC3\xBCrich", "\xF0\x9F\x98\x80", "]]>"})
            list.Set("text " + std::to_string(list.entries.size()), TValue::String(text));
        for (const std::int64_t number :
             {std::int64_t{0}, std::int64_t{-1}, std::int64_t{255}, std::int64_t{1} << 40, INT64_MAX, INT64_MIN})
            list.Set("number " + std::to_string(list.entries.size()), TValue::Integer(number));
        for (size_t size = 0; size < 130; size += 13)
            list.Set("data " + std::to_string(size), TValue::Data(std::string(size, '\xA5')));
        for (const double real : {0.5, -123456.789, 1e300})
            list.Set("real " + std::to_string(list.entries.size()), Real(plist::Kind::kReal, real));
        for (const double moment : {0.0, 245766896.0, -3061152000.0})
            list.Set("date " + std::to_string(list.entries.size()), Real(plist::Kind::kDate, moment));
        list.Set("<key> & \"co\"", TValue::Boolean(true));
        TValue nested = TValue::Array();
        nested.items = {TValue::Boolean(false), TValue::Array(), TValue::Dictionary(), list};
        list.Set("nested", nested);
        return list;
    }

    static TValue Real(plist::Kind kind, double real)
    {
        TValue value;
        value.kind = kind;
        value.real = real;
        return value;
    }
};

TEST_F(PropertyListPeers, PythonReadsWhatIsWrittenAndWritesWhatIsRead)
{
    WriteFile(kOurs, plist::Write(Sample()));
    RunPython("import plistlib\n"
              "with open('/tmp/ours.plist', 'rb') as ours: value = plistlib.load(ours)\n"
              "with open('/tmp/theirs.plist', 'wb') as theirs: plistlib.dump(value, theirs, sort_keys=False)\n");

    EXPECT_EQ(plist::Write(Sample()), plist::Write(ReadTheirs()));
}

TEST_F(PropertyListPeers, PlistutilReadsWhatIsWrittenAndWritesWhatIsRead)
{
    WriteFile(kOurs, plist::Write(Sample()));
    RunPlistutil();

    EXPECT_EQ(plist::Write(Sample()), plist::Write(ReadTheirs()));
}

TEST_F(PropertyListPeers, PythonTakesTheSameBytesForTheSameValues)
{
    // To the byte, but for reals, of which Python writes the fewest digits that will do, and lines of data deep down.
    TValue sample = Sample();
    sample.entries.pop_back();
    TValue list = TValue::Dictionary();
    for (const auto& entry : sample.entries) {
        if (entry.second.kind != plist::Kind::kReal)
            list.entries.push_back(entry);
    }
    WriteFile(kOurs, plist::Write(list));
    RunPython("import plistlib\n"
              "with open('/tmp/ours.plist', 'rb') as ours: value = plistlib.load(ours)\n"
              "with open('/tmp/theirs.plist', 'wb') as theirs: plistlib.dump(value, theirs, sort_keys=False)\n");

    EXPECT_EQ(ReadFile(kOurs), ReadFile(kTheirs));
}

TEST_F(PropertyListPeers, WhatPythonsXMLParserRefusesIsRefused)
{
    // Damaged in many ways; of each, what is read here is well-formed XML to an independent parser.
    const std::string whole =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict><key>a&amp;</key>"
        "<array><integer>-5</integer><!-- c --><data>AA==</data></array><key>b</key>"
        "<string>x<![CDATA[y]]>&#65;</string></dict></plist>\n";
    std::string taken;
    size_t count = 0;
    for (size_t i = 0; i < whole.size(); ++i) {
        for (const char c : {'<', '>', '&', '/', '"', ' ', ';', '-', 'x', ']'}) {
            std::string damaged = whole;
            damaged[i] = c;
            TValue value;
            std::string error;
            if (plist::Read(damaged, &value, &error)) {
                taken += damaged + '\0';
                ++count;
            }
        }
    }
    WriteFile(kOurs, taken);
    ASSERT_GT(count, 100u) << "digits and letters can be replaced";

    EXPECT_EQ(std::to_string(count) + "\n",
              RunPython("import xml.parsers.expat\n"
                        "texts = open('/tmp/ours.plist', 'rb').read().split(b'\\0')[:-1]\n"
                        "for text in texts: xml.parsers.expat.ParserCreate().Parse(text, True)\n"
                        "print(len(texts))\n"));
}
