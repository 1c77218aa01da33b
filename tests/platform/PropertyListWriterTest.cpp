#include "platform/PropertyList.h"

#include <cmath>
#include <gtest/gtest.h>

using plist::Kind;
using plist::TValue;

// What stands between <plist> and </plist>.
static std::string Inside(const TValue& value)
{
    const std::string xml = plist::Write(value);
    const std::string open = "<plist version=\"1.0\">\n";
    const size_t start = xml.find(open) + open.size();
    return xml.substr(start, xml.find("</plist>") - start);
}

static TValue Of(Kind kind, double real)
{
    TValue value;
    value.kind = kind;
    value.real = real;
    return value;
}

TEST(PropertyListWriter, WritesWhatAppleWrites)
{
    TValue table = TValue::Dictionary();
    table.Set("b", TValue::String("<a&b>\"'"));
    table.Set("a", TValue::Array());
    table.Find("a")->items = {TValue::Integer(-5), TValue::Boolean(true), TValue::Data("abc"), TValue::Dictionary()};
    table.Set("c", TValue::Array());

    EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
              "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
              "<plist version=\"1.0\">\n"
              "<dict>\n"
              "\t<key>b</key>\n"
              "\t<string>&lt;a&amp;b&gt;\"'</string>\n"
              "\t<key>a</key>\n"
              "\t<array>\n"
              "\t\t<integer>-5</integer>\n"
              "\t\t<true/>\n"
              "\t\t<data>\n"
              "\t\tYWJj\n"
              "\t\t</data>\n"
              "\t\t<dict/>\n"
              "\t</array>\n"
              "\t<key>c</key>\n"
              "\t<array/>\n"
              "</dict>\n"
              "</plist>\n",
              plist::Write(table));
}

TEST(PropertyListWriter, DataFillsSeventySixColumnsWithItsTabs)
{
    TValue value = TValue::Data(std::string(58, 'x'));
    EXPECT_EQ("<data>\n" +
                  std::string(19 * 4, ' ')
                      .replace(0, 76,
                               "eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4"
                               "eHh4eHh4eHh4eHh4eHh4") +
                  "\neA==\n</data>\n",
              Inside(value));
    for (int level = 0; level < 12; ++level) {
        TValue outer = TValue::Array();
        outer.items.push_back(value);
        value = outer;
    }
    const std::string deep = Inside(value);
    EXPECT_NE(std::string::npos, deep.find("\n\t\t\t\t\t\t\t\teHh4eHh4eHh4\n")) << "8 tabs at most before 12 digits";
}

TEST(PropertyListWriter, RealsHaveSeventeenDigitsAtMost)
{
    EXPECT_EQ("<real>0.10000000000000001</real>\n", Inside(Of(Kind::kReal, 0.1)));
    EXPECT_EQ("<real>1e+17</real>\n", Inside(Of(Kind::kReal, 1e17)));
    EXPECT_EQ("<real>0.0</real>\n", Inside(Of(Kind::kReal, -0.0)));
    EXPECT_EQ("<real>nan</real>\n", Inside(Of(Kind::kReal, std::nan(""))));
    EXPECT_EQ("<real>-infinity</real>\n", Inside(Of(Kind::kReal, -INFINITY)));
}

TEST(PropertyListWriter, DatesAreDaysOfTheCalendar)
{
    EXPECT_EQ("<date>2001-01-01T00:00:00Z</date>\n", Inside(Of(Kind::kDate, 0)));
    EXPECT_EQ("<date>2000-12-31T23:59:59Z</date>\n", Inside(Of(Kind::kDate, -0.25)));
    EXPECT_EQ("<date>2000-02-29T23:59:59Z</date>\n", Inside(Of(Kind::kDate, -26438401)));
    EXPECT_EQ("<date>1904-01-01T00:00:00Z</date>\n", Inside(Of(Kind::kDate, -3061152000)));
}

TEST(PropertyListWriter, AWideIntegerIsWrittenUnsigned)
{
    TValue value = TValue::Integer(-1);
    value.wide = true;
    EXPECT_EQ("<integer>18446744073709551615</integer>\n", Inside(value));
}

TEST(PropertyListWriter, EachDayOfFourHundredYearsComesBack)
{
    for (long day = -146097; day < 146097; day += 13) {
        const TValue date = Of(Kind::kDate, static_cast<double>(day) * 86400 + 3661);
        TValue back;
        std::string error;
        ASSERT_TRUE(plist::Read(plist::Write(date), &back, &error)) << error;
        ASSERT_EQ(date.real, back.real);
    }
}

TEST(PropertyListWriter, SettingAKeyAgainKeepsItsPlace)
{
    TValue table = TValue::Dictionary();
    table.Set("a", TValue::Integer(1));
    table.Set("b", TValue::Integer(2));
    table.Set("a", TValue::Integer(3));
    EXPECT_EQ("<dict>\n\t<key>a</key>\n\t<integer>3</integer>\n\t<key>b</key>\n\t<integer>2</integer>\n</dict>\n",
              Inside(table));
}
