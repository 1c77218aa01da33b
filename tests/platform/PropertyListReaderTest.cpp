#include "platform/PropertyList.h"

#include <cmath>
#include <gtest/gtest.h>

using plist::Kind;
using plist::TValue;

static TValue ReadText(const std::string& xml)
{
    TValue value;
    std::string error;
    EXPECT_TRUE(plist::Read(xml, &value, &error)) << error << "\n" << xml;
    return value;
}

// What is inside <plist> of a whole document.
static TValue ReadInside(const std::string& inside)
{
    return ReadText("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                    "<plist version=\"1.0\">\n" +
                    inside + "\n</plist>\n");
}

// The error of a text that is refused.
static std::string ErrorOf(const std::string& xml)
{
    TValue value;
    std::string error;
    EXPECT_FALSE(plist::Read(xml, &value, &error)) << xml;
    return error;
}

static bool IsRefused(const std::string& inside)
{
    return !ErrorOf("<plist version=\"1.0\">" + inside + "</plist>").empty();
}

TEST(PropertyListReader, ReadsEveryType)
{
    const TValue all = ReadInside("<dict><key>text</key><string>t</string><key>whole</key><integer>-5</integer>"
                                  "<key>part</key><real>2.5</real><key>yes</key><true/><key>no</key><false/>"
                                  "<key>bytes</key><data>AAEC</data><key>then</key><date>2008-10-15T12:34:56Z</date>"
                                  "<key>list</key><array><string>a</string></array><key>table</key><dict/></dict>");
    EXPECT_EQ("t", all.Find("text")->text);
    EXPECT_EQ(-5, all.Find("whole")->integer);
    EXPECT_EQ(2.5, all.Find("part")->real);
    EXPECT_TRUE(all.Find("yes")->boolean);
    EXPECT_EQ(Kind::kBoolean, all.Find("no")->kind);
    EXPECT_FALSE(all.Find("no")->boolean);
    EXPECT_EQ(std::string("\0\1\2", 3), all.Find("bytes")->text);
    EXPECT_EQ(245766896, all.Find("then")->real);
    EXPECT_EQ(Kind::kDate, all.Find("then")->kind);
    EXPECT_EQ("a", all.Find("list")->items.at(0).text);
    EXPECT_EQ(Kind::kDictionary, all.Find("table")->kind);
    EXPECT_EQ(nullptr, all.Find("nothing"));
}

TEST(PropertyListReader, NeedsNeitherDeclarationNorDocumentTypeNorPlist)
{
    EXPECT_EQ(7, ReadText("<plist><integer>7</integer></plist>").integer);
    EXPECT_EQ(7, ReadText("<integer>7</integer>").integer);
    EXPECT_EQ(7, ReadText("<?xml version='1.0' encoding='UTF-8' standalone='no' ?><?pi x?><!DOCTYPE plist>"
                          "<plist a='1' b=\"2\" ><integer >7</integer ></plist >")
                     .integer);
    EXPECT_EQ(7, ReadText("\xEF\xBB\xBF<integer>7</integer>").integer);
}

TEST(PropertyListReader, KeysKeepTheirOrder)
{
    const TValue value = ReadInside("<dict><key>b</key><true/><key>a</key><true/></dict>");
    EXPECT_EQ("b", value.entries.at(0).first);
    EXPECT_EQ("a", value.entries.at(1).first);
}

TEST(PropertyListReader, TheLastValueOfAKeyCounts)
{
    const TValue value = ReadInside("<dict><key>a</key><integer>1</integer><key>b</key><true/>"
                                    "<key>a</key><integer>2</integer></dict>");
    ASSERT_EQ(2u, value.entries.size());
    EXPECT_EQ("a", value.entries[0].first);
    EXPECT_EQ(2, value.entries[0].second.integer);
}

TEST(PropertyListReader, EntitiesStandForCharacters)
{
    EXPECT_EQ("<&>\"'", ReadInside("<string>&lt;&amp;&gt;&quot;&apos;</string>").text);
    EXPECT_EQ("A\xC3\xA9\xE6\x97\xA5", ReadInside("<string>&#65;&#xe9;&#x65E5;</string>").text);
    EXPECT_EQ("a&b", ReadInside("<dict><key>a&amp;b</key><true/></dict>").entries.at(0).first);
}

TEST(PropertyListReader, EntitiesThatStandForNothingAreRefused)
{
    for (const char* entity : {"&nbsp;", "&;", "&", "&amp", "&#;", "&#x;", "&#0;", "&#8;", "&#xD800;", "&#X41;",
                               "&#-5;", "&# 65;", "&#65", "&#x110000;", "&#xFFFFFFFF41;"})
        EXPECT_TRUE(IsRefused("<string>" + std::string(entity) + "</string>")) << entity;
}

TEST(PropertyListReader, ACharacterNumberThatAMacWouldMisreadIsRefused)
{
    EXPECT_TRUE(IsRefused("<string>&#x1F600;</string>"));
    EXPECT_EQ("\xF0\x9F\x98\x80", ReadInside("<string>\xF0\x9F\x98\x80</string>").text);
}

TEST(PropertyListReader, CDATAIsTextAsItStands)
{
    EXPECT_EQ("a<&amp;>]]b", ReadInside("<string>a<![CDATA[<&amp;>]]]]>b</string>").text);
    EXPECT_TRUE(IsRefused("<string><![CDATA[a</string>"));
    EXPECT_TRUE(IsRefused("<integer><![CDATA[5]]></integer>"));
}

TEST(PropertyListReader, CommentsStandBetweenValuesOnly)
{
    EXPECT_EQ(2u, ReadInside("<!-- one --><array><true/><!-- < & > --><true/></array><!---->").items.size());
    EXPECT_TRUE(IsRefused("<string>a<!-- c -->b</string>"));
    EXPECT_TRUE(IsRefused("<array><!-- a -- b --></array>"));
    EXPECT_TRUE(IsRefused("<array><!-- never ended</array>"));
}

TEST(PropertyListReader, TextKeepsItsBlanksAndLineEnds)
{
    EXPECT_EQ(" a\r\n\tb ", ReadInside("<string> a\r\n\tb </string>").text);
}

TEST(PropertyListReader, IntegersAreDecimalAndOfSixtyFourBits)
{
    EXPECT_EQ(INT64_MIN, ReadInside("<integer>-9223372036854775808</integer>").integer);
    EXPECT_EQ(INT64_MAX, ReadInside("<integer>9223372036854775807</integer>").integer);
    EXPECT_FALSE(ReadInside("<integer>9223372036854775807</integer>").wide);
    for (const char* text : {"", " 5", "5 ", "+5", "0x1F", "1e5", "5.", "five", "- 5", "-", "-9223372036854775809",
                             "18446744073709551616"})
        EXPECT_TRUE(IsRefused("<integer>" + std::string(text) + "</integer>")) << text;
}

TEST(PropertyListReader, AnIntegerBeyondSixtyThreeBitsIsMarkedWide)
{
    const TValue value = ReadInside("<integer>18446744073709551615</integer>");
    EXPECT_TRUE(value.wide);
    EXPECT_EQ(-1, value.integer);
}

TEST(PropertyListReader, RealsAreDecimalOrNamed)
{
    EXPECT_EQ(100000, ReadInside("<real>1E5</real>").real);
    EXPECT_EQ(-0.5, ReadInside("<real>-.5</real>").real);
    EXPECT_EQ(5, ReadInside("<real>+5.</real>").real);
    EXPECT_TRUE(std::isnan(ReadInside("<real>nan</real>").real));
    EXPECT_EQ(-INFINITY, ReadInside("<real>-infinity</real>").real);
    for (const char* text : {"", " 1.5", "1.5 ", "0x10", "1e", "1e+", ".", "1.2.3", "1,5", "--1", "nan(1)", "e5"})
        EXPECT_TRUE(IsRefused("<real>" + std::string(text) + "</real>")) << text;
}

TEST(PropertyListReader, DatesAreDaysOfTheCalendar)
{
    EXPECT_EQ(0, ReadInside("<date>2001-01-01T00:00:00Z</date>").real);
    EXPECT_EQ(-978307200, ReadInside("<date>1970-01-01T00:00:00Z</date>").real);
    EXPECT_EQ(-26438401, ReadInside("<date>2000-02-29T23:59:59Z</date>").real);
    EXPECT_EQ(252423993599, ReadInside("<date>9999-12-31T23:59:59Z</date>").real);
    for (const char* text :
         {"2001-02-29T00:00:00Z", "1900-02-29T00:00:00Z", "2001-13-01T00:00:00Z", "2001-00-01T00:00:00Z",
          "2001-04-31T00:00:00Z", "2001-01-00T00:00:00Z", "2001-01-01T24:00:00Z", "2001-01-01T00:60:00Z",
          "2001-01-01T00:00:60Z", "2001-01-01T00:00:00", "2001-01-01 00:00:00Z", "2001-1-1T0:0:0Z",
          "0000-01-01T00:00:00Z", ""})
        EXPECT_TRUE(IsRefused("<date>" + std::string(text) + "</date>")) << text;
}

TEST(PropertyListReader, DataIsPaddedBase64WithBlanksAnywhere)
{
    EXPECT_EQ("abcd", ReadInside("<data>\n\tYW Jj\n\tZA==\n</data>").text);
    EXPECT_EQ("", ReadInside("<data></data>").text);
    for (const char* text : {"YWJ", "Y", "YW=", "YWJjZ===", "YW==YWJj", "====", "YW-j", "Y=WJ", "YWJj&#65;"})
        EXPECT_TRUE(IsRefused("<data>" + std::string(text) + "</data>")) << text;
}

TEST(PropertyListReader, AnEmptyTagIsAnEmptyValueWhereThereIsOne)
{
    EXPECT_EQ("", ReadInside("<string/>").text);
    EXPECT_EQ(Kind::kArray, ReadInside("<array />").kind);
    EXPECT_TRUE(ReadInside("<true></true>").boolean);
    for (const char* text : {"<integer/>", "<real/>", "<date/>", "<data/>", "<true>x</true>"})
        EXPECT_TRUE(IsRefused(text)) << text;
}

TEST(PropertyListReader, WhatIsNotWellFormedIsRefused)
{
    static const char* const kTexts[] = {
        "",
        "   ",
        "text",
        "<plist>",
        "<plist/>",
        "<plist></plist>",
        "<plist><true/>",
        "<plist><true/></dict>",
        "<plist><true/><true/></plist>",
        "<plist><true/></plist>text",
        "<plist><true/></plist><true/>",
        "<plist><array><true/></plist>",
        "<plist><array></dict></plist>",
        "<plist><dict><true/></dict></plist>",
        "<plist><dict><key>a</key></dict></plist>",
        "<plist><dict><key>a</key><true/>x</dict></plist>",
        "<plist><string>a</array></plist>",
        "<plist><string>a<b/></string></plist>",
        "<plist><set/></plist>",
        "<plist>< true/></plist>",
        "<plist><True/></plist>",
        "<plist><true/ ></plist>",
        "<plist><true a=\"1\"/></plist>",
        "<plist version><true/></plist>",
        "<plist version=\"1.0\" junk><true/></plist>",
        "<plist version=\"1.0><true/></plist>",
        "<plist><true/></plist version=\"1.0\">",
        "<plist><true",
        "</plist>",
        "<plist><key>a</key></plist>",
        " <?xml version=\"1.0\"?><true/>",
        "<?xml version=\"1.0\"?><?xml version=\"1.0\"?><true/>",
        "<?xml version=\"1.0\"<true/>",
        "<?xml encoding=\"UTF-8\"?><true/>",
        "<?xml version=\"1.0\" standalone=\"yes\" encoding=\"UTF-8\"?><true/>",
        "<?xml version=\"1.0\" version=\"1.0\"?><true/>",
        "<?xml version=\"1.0\" more=\"1\"?><true/>",
        "<?xmlversion=\"1.0\"?><true/>",
        "<?<pi?><true/>",
        "<? pi?><true/>",
        "<?XML version=\"1.0\"?><true/>",
        "<plist 1=\"1\"><true/></plist>",
        "<plist a=\"&\"><true/></plist>",
        "<plist a=\"1\"b=\"1\"><true/></plist>",
        "<plist a=\"1\" a=\"1\"><true/></plist>",
        "<string>a]]>b</string>",
        "<!DOCTYPEplist><true/>",
        "<!DOCTYPE plist SYSTEM><true/>",
        "<!DOCTYPE plist PUBLIC \"a\"><true/>",
        "<!DOCTYPE plist SYSTEM \"a\"\"b\"><true/>",
        "<true/><!DOCTYPE plist>",
        "<!DOCTYPE plist [ <!ENTITY a 'b'> ]><plist><true/></plist>",
        "<!DOCTYPE html><plist><true/></plist>",
        "<!doctype plist><plist><true/></plist>",
        "<!DOCTYPE plist SYSTEM \"a>b\"><plist><true/></plist>",
    };
    for (const char* text : kTexts)
        EXPECT_NE("", ErrorOf(text)) << text;
}

TEST(PropertyListReader, OtherEncodingsThanUTF8AreRefused)
{
    for (const char* encoding : {"utf-8", "UTF-8"})
        EXPECT_TRUE(ReadText("<?xml version='1.0' encoding='" + std::string(encoding) + "'?><true/>").boolean);
    for (const char* encoding : {"UTF-16", "ISO-8859-1", "macintosh", ""})
        EXPECT_NE("", ErrorOf("<?xml version='1.0' encoding='" + std::string(encoding) + "'?><true/>")) << encoding;
    EXPECT_NE("", ErrorOf(std::string("\xFE\xFF\0<\0t", 6)));
    EXPECT_NE("", ErrorOf("<string>\xC3(</string>"));
}

TEST(PropertyListReader, CharactersThatXMLDoesNotAllowAreRefused)
{
    EXPECT_NE("", ErrorOf("<string>a\x01</string>"));
    EXPECT_NE("", ErrorOf(std::string("<string>a\0b</string>", 20)));
    EXPECT_NE("", ErrorOf("<string>\xEF\xBF\xBE</string>"));
    EXPECT_EQ("\x7F", ReadInside("<string>\x7F</string>").text);
}

TEST(PropertyListReader, ArraysStandFiveHundredAndTwelveDeepAndNoDeeper)
{
    const auto nested = [](int depth) {
        std::string xml;
        for (int i = 0; i < depth; ++i)
            xml += i % 2 == 0 ? "<array>" : "<dict><key>k</key>";
        xml += "<true/>";
        for (int i = depth; i-- > 0;)
            xml += i % 2 == 0 ? "</array>" : "</dict>";
        return xml;
    };
    EXPECT_EQ(1u, ReadInside(nested(512)).items.size());
    EXPECT_NE(std::string::npos, ErrorOf(nested(513)).find("512"));
    EXPECT_NE("", ErrorOf(nested(100000)));
}

TEST(PropertyListReader, AnErrorNamesTheLine)
{
    EXPECT_EQ("line 3: \"x\" is no integer of 64 bits",
              ErrorOf("<plist>\n<array>\n<integer>x</integer>\n</array></plist>"));
    EXPECT_EQ("line 1: the text ends where a tag is expected", ErrorOf(""));
}

TEST(PropertyListReader, ManyKeysTakeNoTimeToSpeakOf)
{
    std::string xml = "<dict>";
    for (int i = 0; i < 50000; ++i)
        xml += "<key>" + std::to_string(i) + "</key><true/>";
    EXPECT_EQ(50000u, ReadText(xml + "</dict>").entries.size());
}

// Every prefix of a document, and the document with each byte replaced: no such text may do anything but be read or refused
// with an error, which the sanitizers see to.
TEST(PropertyListReader, DamagedTextIsReadOrRefusedWithAnError)
{
    const std::string whole =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST "
        "1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\"><dict>"
        "<key>a&amp;</key><array><integer>-5</integer><real>1e5</real><!-- c --><data>AA==</data>"
        "<date>2008-10-15T12:34:56Z</date></array><key>b</key><string>x<![CDATA[y]]>&#65;</string>"
        "</dict></plist>\n";
    size_t refused = 0;
    const auto tryText = [&](const std::string& text) {
        TValue value;
        std::string error;
        if (!plist::Read(text, &value, &error)) {
            EXPECT_NE("", error) << text;
            ++refused;
        }
    };
    for (size_t i = 0; i < whole.size(); ++i) {
        tryText(whole.substr(0, i));
        for (const char c : {'<', '>', '&', '/', '"', ' ', '\0', '\x80', '0', 'z'}) {
            std::string damaged = whole;
            damaged[i] = c;
            tryText(damaged);
        }
    }
    EXPECT_GT(refused, whole.size());
}
