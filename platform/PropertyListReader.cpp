// The reader of XML property lists: strict, bounded in depth, without a general XML parser behind it.

#include "platform/PropertyList.h"
#include "platform/Text.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <strings.h>
#include <unordered_map>

namespace plist {
namespace {

// What stands between < and >.
struct TTag
{
    std::string name;
    bool closing = false;   // </name>
    bool empty = false;     // <name/>
};

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsNameCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || IsDigit(c) || c == '-' || c == '_' || c == '.' ||
           c == ':';
}

bool IsName(const std::string& text)
{
    const bool begins = !text.empty() && !IsDigit(text[0]) && text[0] != '-' && text[0] != '.';
    return begins && std::all_of(text.begin(), text.end(), IsNameCharacter);
}

// Whether XML 1.0 allows the character in a document.
bool IsXMLCharacter(unsigned long c)
{
    return c == '\t' || c == '\n' || c == '\r' || (c >= 0x20 && c < 0xD800) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

using TAttributes = std::vector<std::pair<std::string, std::string>>;

constexpr char kBlanks[] = " \t\r\n";

class TReader
{
public:
    explicit TReader(const std::string& text) : fText(text) {}

    bool ReadDocument(TValue* value, std::string* error)
    {
        if (CheckCharacters() && ReadProlog() && ReadRoot(value) && ReadEnd())
            return true;
        *error = fError;
        return false;
    }

private:
    // Text

    // Remembers the first failure, with the line of the place that was reached. Returns false.
    bool Fail(const std::string& what)
    {
        if (fError.empty()) {
            long line = 1;
            for (size_t i = 0; i < fAt && i < fText.size(); ++i)
                line += fText[i] == '\n';
            fError = "line " + std::to_string(line) + ": " + what;
        }
        return false;
    }

    bool AtEnd() const { return fAt >= fText.size(); }

    bool LooksAt(const char* text) const { return fText.compare(fAt, strlen(text), text) == 0; }

    bool Skip(const char* text)
    {
        if (!LooksAt(text))
            return false;
        fAt += strlen(text);
        return true;
    }

    void SkipSpace()
    {
        while (!AtEnd() && IsSpace(fText[fAt]))
            ++fAt;
    }

    // Moves behind the next occurrence of the text. False when there is none.
    bool SkipBehind(const char* text)
    {
        const size_t found = fText.find(text, fAt);
        if (found == std::string::npos)
            return false;
        fAt = found + strlen(text);
        return true;
    }

    // Takes what stands in front of the end, and moves behind it. False when there is no such end.
    bool TakeUpTo(const char* end, std::string* text)
    {
        const size_t start = fAt;
        if (!SkipBehind(end))
            return false;
        *text = fText.substr(start, fAt - start - strlen(end));
        return true;
    }

    // The whole text is UTF-8 of characters that XML allows.
    bool CheckCharacters()
    {
        Skip("\xEF\xBB\xBF");
        std::u16string units;
        if (!platform::Decode(fText, kCFStringEncodingUTF8, &units))
            return Fail("the text is not UTF-8");
        for (const char16_t unit : units) {
            // Halves of pairs are fine: decoding has seen to it that they are paired.
            const bool half = unit >= 0xD800 && unit < 0xE000;
            if (!half && !IsXMLCharacter(unit))
                return Fail("the text holds the character " + std::to_string(unit) + ", which XML does not allow");
        }
        return true;
    }

    // Around the values

    // Skips blanks, comments and processing instructions.
    bool SkipMisc()
    {
        for (;;) {
            SkipSpace();
            if (Skip("<!--")) {
                // Two hyphens end a comment, and nothing else may begin with them.
                if (!SkipBehind("--") || !Skip(">"))
                    return Fail("a comment does not end with -->");
            } else if (Skip("<?")) {
                std::string instruction;
                if (!TakeUpTo("?>", &instruction))
                    return Fail("a processing instruction does not end with ?>");
                const std::string name = instruction.substr(0, instruction.find_first_of(kBlanks));
                if (!IsName(name) || strcasecmp(name.c_str(), "xml") == 0)
                    return Fail("<?" + name + " cannot stand here");
            } else {
                return true;
            }
        }
    }

    bool ReadDeclaration()
    {
        std::string inside;
        if (!TakeUpTo("?>", &inside))
            return Fail("the XML declaration does not end with ?>");
        TAttributes attributes;
        const bool split = SplitAttributes(inside.substr(0, inside.find_last_not_of(kBlanks) + 1), &attributes);
        // They have an order, and only the first must be there.
        size_t at = 0;
        const auto take = [&](const char* name, const char* otherwise) {
            return at < attributes.size() && attributes[at].first == name ? attributes[at++].second : otherwise;
        };
        const std::string version = take("version", "");
        const std::string encoding = take("encoding", "UTF-8");
        const std::string standalone = take("standalone", "yes");
        if (!split || at != attributes.size() || version != "1.0" || (standalone != "yes" && standalone != "no"))
            return Fail("the XML declaration is not <?xml version=\"1.0\" encoding=\"UTF-8\"?>");
        if (strcasecmp(encoding.c_str(), "utf-8") != 0)
            return Fail("the encoding is " + encoding + "; only UTF-8 is read");
        return true;
    }

    // Splits text at its blanks; what is quoted is one word, without its quotes. False when a quote is not closed.
    static bool SplitWords(const std::string& text, std::vector<std::string>* words)
    {
        size_t at = 0;
        while ((at = text.find_first_not_of(kBlanks, at)) != std::string::npos) {
            const bool quoted = text[at] == '"' || text[at] == '\'';
            size_t end = quoted ? text.find(text[at], at + 1) : text.find_first_of(kBlanks, at);
            if (quoted && end == std::string::npos)
                return false;
            end = std::min(end, text.size());
            words->push_back(text.substr(at + quoted, end - at - quoted));
            at = std::min(end + quoted, text.size());
            // A word ends at a blank.
            if (at < text.size() && !IsSpace(text[at]))
                return false;
        }
        return true;
    }

    // The name, and where its definition stands; not the definition itself, which would define entities.
    bool ReadDocumentType()
    {
        std::string inside;
        std::vector<std::string> words;
        if (!TakeUpTo(">", &inside) || !SplitWords(inside, &words))
            return Fail("the document type does not end");
        const size_t count = words.size();
        const bool located = (count == 3 && words[1] == "SYSTEM") || (count == 4 && words[1] == "PUBLIC");
        if (count == 0 || !IsSpace(inside[0]) || words[0] != "plist" || (count != 1 && !located))
            return Fail("the document type is not that of a property list");
        return true;
    }

    bool ReadProlog()
    {
        if (fText.find_first_of(kBlanks, fAt) == fAt + 5 && Skip("<?xml") && !ReadDeclaration())
            return false;
        if (!SkipMisc())
            return false;
        if (Skip("<!DOCTYPE") && !ReadDocumentType())
            return false;
        return SkipMisc();
    }

    bool ReadRoot(TValue* value)
    {
        TTag tag;
        if (!ReadTag(&tag))
            return false;
        if (tag.closing)
            return Fail("</" + tag.name + "> closes nothing");
        if (tag.name != "plist")
            return ReadValue(tag, 0, value);
        if (tag.empty)
            return Fail("the property list is empty");
        if (!ReadInnerTag(&tag) || (tag.closing && !Fail("the property list is empty")) || !ReadValue(tag, 0, value))
            return false;
        return SkipMisc() && ReadClosingTag("plist");
    }

    bool ReadEnd()
    {
        if (!SkipMisc())
            return false;
        return AtEnd() || Fail("something follows the property list");
    }

    // Tags

    bool ReadTag(TTag* tag)
    {
        *tag = TTag();
        if (!Skip("<"))
            return Fail(AtEnd() ? "the text ends where a tag is expected" : "text stands where a tag is expected");
        tag->closing = Skip("/");
        while (!AtEnd() && IsNameCharacter(fText[fAt]))
            tag->name += fText[fAt++];
        if (tag->name.empty())
            return Fail("a tag has no name");
        return ReadAttributes(tag);
    }

    // What follows the name, up to the > of the tag.
    bool ReadAttributes(TTag* tag)
    {
        TAttributes attributes;
        const size_t start = fAt;
        char quote = 0;
        for (; !AtEnd() && (quote != 0 || fText[fAt] != '>'); ++fAt) {
            const char c = fText[fAt];
            if (c == '<')
                return Fail("<" + tag->name + " is not closed by >");
            if (quote == c)
                quote = 0;
            else if (quote == 0 && (c == '"' || c == '\''))
                quote = c;
        }
        if (AtEnd())
            return Fail("<" + tag->name + " is not closed by >");
        std::string rest = fText.substr(start, fAt++ - start);
        if (!tag->closing && !rest.empty() && rest.back() == '/') {
            tag->empty = true;
            rest.pop_back();
        }
        while (!rest.empty() && IsSpace(rest.back()))
            rest.pop_back();
        if (!rest.empty() && (tag->name != "plist" || tag->closing || !SplitAttributes(rest, &attributes)))
            return Fail("<" + tag->name + rest + "> has what no such tag has");
        return true;
    }

    static bool Has(const TAttributes& attributes, const std::string& name)
    {
        return std::any_of(attributes.begin(), attributes.end(), [&](const auto& one) { return one.first == name; });
    }

    // Reads any number of: blanks, a name, = and a quoted value. No name may stand twice.
    static bool SplitAttributes(const std::string& text, TAttributes* attributes)
    {
        size_t at = 0;
        while (at < text.size()) {
            const size_t name = text.find_first_not_of(kBlanks, at);
            const size_t equals = text.find('=', at);
            if (name == at || name == std::string::npos || equals == std::string::npos || equals + 1 >= text.size())
                return false;
            const char quote = text[equals + 1];
            const size_t close = text.find(quote, equals + 2);
            if ((quote != '"' && quote != '\'') || close == std::string::npos)
                return false;
            const std::string key = text.substr(name, equals - name);
            const std::string value = text.substr(equals + 2, close - equals - 2);
            if (!IsName(key) || value.find_first_of("<&") != std::string::npos || Has(*attributes, key))
                return false;
            attributes->emplace_back(key, value);
            at = close + 1;
        }
        return true;
    }

    // The next tag inside a value that holds values.
    bool ReadInnerTag(TTag* tag) { return SkipMisc() && ReadTag(tag); }

    bool ReadClosingTag(const std::string& name)
    {
        TTag tag;
        if (!ReadTag(&tag))
            return false;
        if (!tag.closing || tag.name != name)
            return Fail("<" + std::string(tag.closing ? "/" : "") + tag.name + "> stands where </" + name +
                        "> is expected");
        return true;
    }

    // Values

    bool ReadValue(const TTag& tag, int depth, TValue* value)
    {
        if (tag.name == "dict" || tag.name == "array") {
            if (depth == kMaximumDepth)
                return Fail("arrays and dictionaries are more than " + std::to_string(kMaximumDepth) + " deep");
            *value = tag.name == "dict" ? TValue::Dictionary() : TValue::Array();
            if (tag.empty)
                return true;
            return tag.name == "dict" ? ReadDictionary(depth + 1, value) : ReadArray(depth + 1, value);
        }
        if (tag.name == "true" || tag.name == "false") {
            *value = TValue::Boolean(tag.name == "true");
            return tag.empty || ReadClosingTag(tag.name);
        }
        std::string text;
        if (!tag.empty && (!ReadText(tag.name == "string", &text) || !ReadClosingTag(tag.name)))
            return false;
        if (tag.name == "string") {
            *value = TValue::String(std::move(text));
            return true;
        }
        if (tag.empty)
            return Fail("<" + tag.name + "/> has no value");
        return MakeLeaf(tag.name, text, value);
    }

    bool MakeLeaf(const std::string& name, const std::string& text, TValue* value)
    {
        if (name == "integer")
            return MakeInteger(text, value) || Fail("\"" + text + "\" is no integer of 64 bits");
        if (name == "real")
            return MakeReal(text, value) || Fail("\"" + text + "\" is no real number");
        if (name == "date")
            return MakeDate(text, value) || Fail("\"" + text + "\" is no date like 2008-10-15T12:34:56Z");
        if (name == "data")
            return MakeData(text, value) || Fail("the data is no base64");
        return Fail("<" + name + "> is no type of a property list");
    }

    bool ReadArray(int depth, TValue* array)
    {
        for (;;) {
            TTag tag;
            if (!ReadInnerTag(&tag))
                return false;
            if (tag.closing)
                return tag.name == "array" || Fail("</" + tag.name + "> stands where </array> is expected");
            array->items.emplace_back();
            if (!ReadValue(tag, depth, &array->items.back()))
                return false;
        }
    }

    bool ReadDictionary(int depth, TValue* dictionary)
    {
        std::unordered_map<std::string, size_t> places;
        for (;;) {
            TTag tag;
            if (!ReadInnerTag(&tag))
                return false;
            if (tag.closing)
                return tag.name == "dict" || Fail("</" + tag.name + "> stands where </dict> is expected");
            std::string key;
            TValue value;
            if (!ReadKey(tag, &key) || !ReadInnerTag(&tag))
                return false;
            if (tag.closing)
                return Fail("the key \"" + key + "\" has no value");
            if (!ReadValue(tag, depth, &value))
                return false;
            // The last of several values with one key counts.
            const auto place = places.emplace(key, dictionary->entries.size());
            if (place.second)
                dictionary->entries.emplace_back(std::move(key), std::move(value));
            else
                dictionary->entries[place.first->second].second = std::move(value);
        }
    }

    bool ReadKey(const TTag& tag, std::string* key)
    {
        if (tag.name != "key")
            return Fail("<" + tag.name + "> stands where <key> is expected");
        return tag.empty || (ReadText(true, key) && ReadClosingTag("key"));
    }

    // Reads text up to the next tag. markup: whether entities and CDATA may stand in it.
    bool ReadText(bool markup, std::string* text)
    {
        while (!AtEnd()) {
            if (markup && Skip("<![CDATA[")) {
                std::string section;
                if (!TakeUpTo("]]>", &section))
                    return Fail("a CDATA section does not end with ]]>");
                *text += section;
            } else if (LooksAt("]]>")) {
                return Fail("]]> ends nothing");
            } else if (fText[fAt] == '<') {
                return true;
            } else if (fText[fAt] == '&') {
                if (!markup || !ReadEntity(text))
                    return Fail("an entity stands where none is read");
            } else {
                *text += fText[fAt++];
            }
        }
        return Fail("the text ends inside a value");
    }

    bool ReadEntity(std::string* text)
    {
        static const struct
        {
            const char* entity;
            char character;
        } kNamed[] = {{"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
        for (const auto& named : kNamed) {
            if (Skip(named.entity)) {
                *text += named.character;
                return true;
            }
        }
        const size_t end = fText.find(';', fAt);
        if (end == std::string::npos || !LooksAt("&#"))
            return Fail("an entity is not one of &amp; &lt; &gt; &quot; &apos; and &#NUMBER;");
        const bool hexadecimal = fText[fAt + 2] == 'x';
        const std::string digits = fText.substr(fAt + (hexadecimal ? 3 : 2), end - fAt - (hexadecimal ? 3 : 2));
        fAt = end + 1;
        return AppendCharacter(digits, hexadecimal, text) || Fail("the character number " + digits + " is not read");
    }

    // Beyond U+FFFF a Mac would read another character than the one that is meant, so that is refused.
    static bool AppendCharacter(const std::string& digits, bool hexadecimal, std::string* text)
    {
        const char* const allowed = hexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
        if (digits.empty() || digits.size() > 8 || digits.find_first_not_of(allowed) != std::string::npos)
            return false;
        const unsigned long number = strtoul(digits.c_str(), nullptr, hexadecimal ? 16 : 10);
        std::string bytes;
        if (number > 0xFFFF || !IsXMLCharacter(number) ||
            !platform::Encode(std::u16string(1, static_cast<char16_t>(number)), kCFStringEncodingUTF8, &bytes))
            return false;
        *text += bytes;
        return true;
    }

    // Leaves

    static bool MakeInteger(const std::string& text, TValue* value)
    {
        const bool negative = !text.empty() && text[0] == '-';
        const std::string digits = text.substr(negative ? 1 : 0);
        if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos)
            return false;
        errno = 0;
        const unsigned long long magnitude = strtoull(digits.c_str(), nullptr, 10);
        constexpr unsigned long long kTwoTo63 = 1ull << 63;
        if (errno == ERANGE || (negative && magnitude > kTwoTo63))
            return false;
        *value = TValue::Integer(static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude));
        value->wide = !negative && magnitude >= kTwoTo63;
        return true;
    }

    // Whether the text is [sign] digits [. digits] [e [sign] digits], with a digit before the e.
    static bool IsDecimal(const std::string& text)
    {
        size_t at = text.find_first_of("+-") == 0 ? 1 : 0;
        size_t digits = 0;
        for (; at < text.size() && IsDigit(text[at]); ++at)
            ++digits;
        if (at < text.size() && text[at] == '.') {
            for (++at; at < text.size() && IsDigit(text[at]); ++at)
                ++digits;
        }
        if (digits == 0 || at == text.size())
            return digits != 0;
        if (text[at] != 'e' && text[at] != 'E')
            return false;
        ++at;
        if (at < text.size() && (text[at] == '+' || text[at] == '-'))
            ++at;
        return at < text.size() && text.find_first_not_of("0123456789", at) == std::string::npos;
    }

    static bool MakeReal(const std::string& text, TValue* value)
    {
        static const struct
        {
            const char* name;
            double value;
        } kNamed[] = {{"nan", std::numeric_limits<double>::quiet_NaN()},
                      {"+infinity", std::numeric_limits<double>::infinity()},
                      {"-infinity", -std::numeric_limits<double>::infinity()}};
        *value = TValue();
        value->kind = Kind::kReal;
        for (const auto& named : kNamed) {
            value->real = named.value;
            if (text == named.name)
                return true;
        }
        value->real = strtod(text.c_str(), nullptr);
        return IsDecimal(text);
    }

    // Days from 1 January 2001 to this day of the Gregorian calendar.
    static long DaysSince2001(long year, long month, long day)
    {
        static const long kBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
        const long past = year - 1;
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        const long days =
            past * 365 + past / 4 - past / 100 + past / 400 + kBefore[month - 1] + (leap && month > 2) + day - 1;
        constexpr long kDaysTo2001 = 2000L * 365 + 500 - 20 + 5;
        return days - kDaysTo2001;
    }

    static bool MakeDate(const std::string& text, TValue* value)
    {
        static const char kShape[] = "dddd-dd-ddTdd:dd:ddZ";
        if (text.size() != sizeof kShape - 1)
            return false;
        for (size_t i = 0; i < text.size(); ++i) {
            if (kShape[i] == 'd' ? !IsDigit(text[i]) : text[i] != kShape[i])
                return false;
        }
        const auto number = [&text](size_t at, size_t length) { return atol(text.substr(at, length).c_str()); };
        const long year = number(0, 4);
        const long month = number(5, 2);
        const long day = number(8, 2);
        if (year < 1 || month < 1 || month > 12 || day < 1 || number(11, 2) > 23 || number(14, 2) > 59 ||
            number(17, 2) > 59)
            return false;
        const long nextMonth = month == 12 ? DaysSince2001(year + 1, 1, 1) : DaysSince2001(year, month + 1, 1);
        const long days = DaysSince2001(year, month, day);
        if (days >= nextMonth)
            return false;
        *value = TValue();
        value->kind = Kind::kDate;
        value->real = static_cast<double>(days) * 86400 +
                      static_cast<double>(number(11, 2) * 3600 + number(14, 2) * 60 + number(17, 2));
        return true;
    }

    static bool MakeData(const std::string& text, TValue* value)
    {
        static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::string bytes;
        unsigned group = 0;
        int digits = 0;
        int padding = 0;
        for (const char c : text) {
            if (IsSpace(c))
                continue;
            const char* const place = c == '\0' ? nullptr : strchr(kAlphabet, c);
            if (c == '=' && digits % 4 >= 2) {
                ++padding;
            } else if (place == nullptr || padding != 0) {
                return false;
            }
            group = group << 6 | (c == '=' ? 0u : static_cast<unsigned>(place - kAlphabet));
            if (++digits % 4 == 0) {
                for (int shift = 16; shift >= 8 * padding; shift -= 8)
                    bytes += static_cast<char>(group >> shift & 0xFF);
                group = 0;
            }
        }
        *value = TValue::Data(std::move(bytes));
        return digits % 4 == 0;
    }

    const std::string& fText;
    size_t fAt = 0;
    std::string fError;
};

}   // namespace

bool Read(const std::string& xml, TValue* value, std::string* error)
{
    return TReader(xml).ReadDocument(value, error);
}

}   // namespace plist
