#include "platform/PropertyListMarkup.h"

#include "platform/PropertyListLeaves.h"
#include "platform/Text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <strings.h>
#include <utility>
#include <vector>

namespace plist {

using TAttributes = std::vector<std::pair<std::string, std::string>>;

constexpr char kBlanks[] = " \t\r\n";

static bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

static bool IsNameCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || IsDigit(c) || c == '-' || c == '_' || c == '.' ||
           c == ':';
}

static bool IsName(const std::string& text)
{
    const bool begins = !text.empty() && !IsDigit(text[0]) && text[0] != '-' && text[0] != '.';
    return begins && std::all_of(text.begin(), text.end(), IsNameCharacter);
}

// Whether XML 1.0 allows the character in a document.
static bool IsXMLCharacter(unsigned long c)
{
    return c == '\t' || c == '\n' || c == '\r' || (c >= 0x20 && c < 0xD800) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
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

// Text

bool TMarkup::Fail(const std::string& what)
{
    if (fError.empty()) {
        long line = 1;
        for (size_t i = 0; i < fAt && i < fText.size(); ++i)
            line += fText[i] == '\n';
        fError = "line " + std::to_string(line) + ": " + what;
    }
    return false;
}

bool TMarkup::LooksAt(const char* text) const
{
    // Most often it does not stand here, and its first character tells.
    return !AtEnd() && fText[fAt] == text[0] && fText.compare(fAt, strlen(text), text) == 0;
}

bool TMarkup::Skip(const char* text)
{
    if (!LooksAt(text))
        return false;
    fAt += strlen(text);
    return true;
}

void TMarkup::SkipSpace()
{
    while (!AtEnd() && IsSpace(fText[fAt]))
        ++fAt;
}

// Moves behind the next occurrence of the text. False when there is none.
bool TMarkup::SkipBehind(const char* text)
{
    const size_t found = fText.find(text, fAt);
    if (found == std::string::npos)
        return false;
    fAt = found + strlen(text);
    return true;
}

// Takes what stands in front of the end, and moves behind it. False when there is no such end.
bool TMarkup::TakeUpTo(const char* end, std::string* text)
{
    const size_t start = fAt;
    if (!SkipBehind(end))
        return false;
    *text = fText.substr(start, fAt - start - strlen(end));
    return true;
}

// Bytes that are one character each, and that XML allows wherever they stand: nearly all of every list.
static bool IsPlain(char c)
{
    return (c >= ' ' && c <= '~') || IsSpace(c);
}

// The whole text is UTF-8 of characters that XML allows.
bool TMarkup::CheckCharacters()
{
    Skip("\xEF\xBB\xBF");
    if (std::all_of(fText.begin() + static_cast<std::ptrdiff_t>(fAt), fText.end(), IsPlain))
        return true;
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

bool TMarkup::SkipMisc()
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

// Behind its "<?xml".
bool TMarkup::ReadDeclaration()
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

// The name, and where its definition stands; not the definition itself, which would define entities.
bool TMarkup::ReadDocumentType()
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

bool TMarkup::ReadProlog()
{
    if (!CheckCharacters())
        return false;
    if (fText.find_first_of(kBlanks, fAt) == fAt + 5 && Skip("<?xml") && !ReadDeclaration())
        return false;
    if (!SkipMisc())
        return false;
    if (Skip("<!DOCTYPE") && !ReadDocumentType())
        return false;
    return SkipMisc();
}

// Tags

bool TMarkup::ReadTag(TTag* tag)
{
    *tag = TTag();
    if (!Skip("<"))
        return Fail(AtEnd() ? "the text ends where a tag is expected" : "text stands where a tag is expected");
    tag->closing = Skip("/");
    const size_t start = fAt;
    while (!AtEnd() && IsNameCharacter(fText[fAt]))
        ++fAt;
    tag->name.assign(fText, start, fAt - start);
    if (tag->name.empty())
        return Fail("a tag has no name");
    return Skip(">") || ReadAttributes(tag);   // most have a name alone
}

// What follows the name, up to the > of the tag.
bool TMarkup::ReadAttributes(TTag* tag)
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

bool TMarkup::ReadInnerTag(TTag* tag)
{
    return SkipMisc() && ReadTag(tag);
}

bool TMarkup::ReadClosingTag(const std::string& name)
{
    TTag tag;
    if (!ReadTag(&tag))
        return false;
    if (!tag.closing || tag.name != name)
        return Fail("<" + std::string(tag.closing ? "/" : "") + tag.name + "> stands where </" + name +
                    "> is expected");
    return true;
}

bool TMarkup::ReadText(bool markup, std::string* text)
{
    for (;;) {
        const size_t start = fAt;
        while (!AtEnd() && fText[fAt] != '<' && fText[fAt] != '&' && fText[fAt] != ']')
            ++fAt;
        text->append(fText, start, fAt - start);
        if (AtEnd())
            return Fail("the text ends inside a value");
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
}

bool TMarkup::ReadEntity(std::string* text)
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

}   // namespace plist
