// The text that `ioreg -l -w0` prints on 10.2 to 10.6: a line for each entry, and its properties between braces.
//
// Every level is drawn two columns wide. The bars tell which entries are still to come, so that a line that is missing shows.

#include "lab/Files.h"
#include "lab/Registry.h"
#include "lab/import/Capture.h"
#include "lab/import/RegistryValue.h"

#include <algorithm>
#include <cstdlib>

using plist::TValue;

namespace import {

// A property list holds at most 512 levels, and an entry takes two.
static constexpr std::size_t kDeepest = 200;
// From here on ioreg draws bars wrongly.
static constexpr std::size_t kDeepestBars = 31;

namespace {

struct TNode
{
    std::size_t line = 0;   // from 1 on
    std::size_t lastLine = 0;
    std::string prefix;        // what is drawn before the entry
    std::string blockPrefix;   // what is drawn before its opening brace
    TValue entry;
    std::vector<std::size_t> children;

    std::size_t Depth() const { return prefix.size() / 2; }
};

// A tree, as nodes in the order of their lines. The first is its root.
using TTree = std::vector<TNode>;

class TTextReader
{
public:
    explicit TTextReader(const std::string& text) : fLines(lab::SplitLines(text)) {}

    TCapture Read();

private:
    bool IsHeader(std::size_t at) const;
    void ExpectWholeHeader(std::size_t at) const;
    bool IsInBlock(std::size_t at, std::size_t column) const;
    [[noreturn]] void Fail(std::size_t at, const std::string& text) const;

    void ReadTree();
    void ReadHeader(TTree* tree);
    void ReadState(const std::string& text, TNode* node);
    void ReadBlock(TNode* node);
    void ReadProperty(std::size_t column, TValue* entry);
    void SkipForeignLines(bool inTree);
    static void CheckBars(const TTree& tree);
    static TValue Assemble(const TTree& tree, std::size_t index);

    std::vector<std::string> fLines;
    std::size_t fAt = 0;
    TCapture fCapture;
};

// Where the text behind the bars begins.
std::size_t EndOfPrefix(const std::string& line)
{
    return std::min(line.find_first_not_of(" |"), line.size());
}

bool StandsAt(const std::string& line, std::size_t at, const char* text)
{
    return line.compare(at, std::char_traits<char>::length(text), text) == 0;
}

bool EndsWith(const std::string& line, char character)
{
    return !line.empty() && line.back() == character;
}

void TTextReader::Fail(std::size_t at, const std::string& text) const
{
    // A line that was cut is whatever it happens to be; that it was cut is what its reader has to know.
    if (at < fLines.size() && EndsWith(fLines[at], '$'))
        throw TDamage{at + 1, "it was cut off behind " + std::to_string(fLines[at].size() - 1) +
                                  " characters, where the window ended; ioreg -l -w0 prints whole lines"};
    throw TDamage{at + 1, text};
}

bool TTextReader::IsHeader(std::size_t at) const
{
    return StandsAt(fLines[at], EndOfPrefix(fLines[at]), "+-o ");
}

// Whether the line is one of a block whose properties begin in this column: a property, or the closing brace.
bool TTextReader::IsInBlock(std::size_t at, std::size_t column) const
{
    const std::string& line = fLines[at];
    const std::size_t start = EndOfPrefix(line);
    if (start + 2 == column && line.substr(start) == "}")
        return true;
    return start == column && line[start] == '"' && line.find("\" = ", start + 1) != std::string::npos;
}

// Entries

// ", id 0x100000123, registered, matched, active, busy 0 (12 ms), retain 7"; what there is differs between systems.
void TTextReader::ReadState(const std::string& text, TNode* node)
{
    const std::string classes = ReadableText(text.substr(0, text.find(',')));
    // ioreg -i prints all classes that it inherits from, the base first.
    const std::vector<std::string> chain = lab::Split(classes, ':');
    for (std::size_t i = 1; i < chain.size(); ++i)
        fCapture.superclasses[chain[i]] = chain[i - 1];
    node->entry.Set("IOObjectClass", TValue::String(chain.back()));

    const std::size_t identifier = text.find(", id 0x");
    if (identifier != std::string::npos)
        node->entry.Set(lab::kIdentifierKey, TValue::Integer(std::strtoll(text.c_str() + identifier + 7, nullptr, 16)));
    if (text.find(", retain") != std::string::npos && text.find("registered, ") == std::string::npos)
        fCapture.plainClasses.push_back(chain.back());
}

void TTextReader::ExpectWholeHeader(std::size_t at) const
{
    const std::string& line = fLines[at];
    const std::size_t classAt = line.rfind("  <class ");
    if (classAt == std::string::npos || classAt < EndOfPrefix(line) + 2 || !EndsWith(line, '>'))
        Fail(at, "the entry does not end with its class and its state; ioreg -l -w0 prints each in one line, and no "
                 "program may wrap it");
}

void TTextReader::ReadHeader(TTree* tree)
{
    const std::string& line = fLines[fAt];
    TNode node;
    node.line = fAt + 1;
    node.prefix = line.substr(0, EndOfPrefix(line));
    ExpectWholeHeader(fAt);
    const bool fits = tree->empty() ? node.Depth() == 0 : node.Depth() > 0 && node.Depth() <= tree->back().Depth() + 1;
    if (node.prefix.size() % 2 != 0 || !fits)
        Fail(fAt, "the entry does not stand below one that could hold it");
    if (node.Depth() > kDeepest)
        Fail(fAt, "the entry stands more than " + std::to_string(kDeepest) + " levels deep");

    const std::size_t classAt = line.rfind("  <class ");
    const std::size_t nameAt = node.prefix.size() + 4;
    const std::string full = classAt > nameAt ? line.substr(nameAt, classAt - nameAt) : "";
    const std::size_t at = full.rfind('@');
    node.entry = TValue::Dictionary();
    ReadState(line.substr(classAt + 9, line.size() - classAt - 10), &node);
    node.entry.Set("IORegistryEntryName", TValue::String(ReadableText(full.substr(0, at))));
    if (at != std::string::npos)
        node.entry.Set("IORegistryEntryLocation", TValue::String(ReadableText(full.substr(at + 1))));

    for (std::size_t parent = tree->size(); parent-- > 0;) {
        if ((*tree)[parent].Depth() + 1 != node.Depth())
            continue;
        (*tree)[parent].children.push_back(tree->size());
        break;
    }
    ++fAt;
    tree->push_back(std::move(node));
}

// Properties

// A property takes one line, and more when line feeds stand in its value: those lines have no bars before them.
void TTextReader::ReadProperty(std::size_t column, TValue* entry)
{
    const std::size_t first = fAt;
    const std::size_t equals = fLines[first].find("\" = ", column + 1);
    const std::string key = ReadableText(fLines[first].substr(column + 1, equals - column - 1));
    std::string text = fLines[first].substr(equals + 4);
    TValue value;
    std::size_t unreadable = 0;
    for (++fAt; !ReadRegistryValue(text, &value, &unreadable); ++fAt) {
        unreadable = 0;
        if (fAt == fLines.size() || IsInBlock(fAt, column) || IsHeader(fAt))
            Fail(first, "the value of \"" + key + "\" is none that ioreg prints, or it breaks off");
        text += "\n" + fLines[fAt];
    }
    fCapture.unreadable += unreadable;
    entry->Set(key, std::move(value));
}

// The properties of an entry between braces, and the empty line behind them.
void TTextReader::ReadBlock(TNode* node)
{
    const std::string entry = "the entry in line " + std::to_string(node->line);
    if (fAt == fLines.size())
        throw TDamage{fAt, "the registry is cut short: it ends here, before the properties of " + entry};
    if (fLines[fAt].substr(EndOfPrefix(fLines[fAt])) != "{")
        Fail(fAt, "the properties of " + entry + " should begin here; ioreg -l -w0 prints those of all entries");
    const std::size_t column = node->prefix.size() + 6;
    if (EndOfPrefix(fLines[fAt]) + 2 != column)
        Fail(fAt, "the brace does not stand below its entry");
    node->blockPrefix = fLines[fAt].substr(0, column - 2);
    for (++fAt;;) {
        if (fAt == fLines.size())
            throw TDamage{fAt, "the registry is cut short: it ends here, among the properties of " + entry};
        if (!IsInBlock(fAt, column))
            Fail(fAt, "this is no property of " + entry +
                          "; ioreg -l -w0 prints each in one line, and no program may wrap it");
        if (EndsWith(fLines[fAt], '}') && EndOfPrefix(fLines[fAt]) + 2 == column)
            break;
        ReadProperty(column, &node->entry);
    }
    ++fAt;
    if (fAt < fLines.size() && EndOfPrefix(fLines[fAt]) == fLines[fAt].size())
        ++fAt;
}

// Trees

// What a registry consists of must not hang on lines that ioreg does not print.
void TTextReader::SkipForeignLines(bool inTree)
{
    const std::size_t first = fAt;
    while (fAt < fLines.size() && !IsHeader(fAt))
        ++fAt;
    const bool goesOn = fAt < fLines.size() && EndOfPrefix(fLines[fAt]) > 0;
    for (std::size_t at = first; inTree && goesOn && at < fAt; ++at) {
        if (EndOfPrefix(fLines[at]) < fLines[at].size())
            Fail(at, "this is no line of a registry, and the registry goes on behind it");
    }
}

void TTextReader::ReadTree()
{
    ExpectWholeHeader(fAt);
    if (!StandsAt(fLines[fAt], 0, "+-o Root  <class "))
        Fail(fAt, "a registry begins with the line \"+-o Root  <class ...\"; ioreg -l -w0 prints it whole");
    TTree tree;
    do {
        ReadHeader(&tree);
        ReadBlock(&tree.back());
        tree.back().lastLine = fAt;
        SkipForeignLines(true);
    } while (fAt < fLines.size() && EndOfPrefix(fLines[fAt]) > 0);
    CheckBars(tree);
    AddPlane(Assemble(tree, 0), &fCapture);
}

// Tells that an entry is missing before the node `next`, or is there although none should be, by what the node `teller` shows.
[[noreturn]] void FailAtEntry(const TTree& tree, std::size_t next, std::size_t teller, bool isMissing)
{
    const std::string line = "line " + std::to_string(tree[teller].line);
    if (!isMissing)
        throw TDamage{tree[next].line, "this entry should not be here: by what " + line + " shows, none follows there"};
    if (next == tree.size())
        throw TDamage{tree.back().lastLine,
                      "the registry is cut short: it ends here, but by what " + line + " shows, an entry follows"};
    throw TDamage{tree[next].line, "an entry is missing before this line: by what " + line + " shows, one follows"};
}

// For each node, where the nodes below it end.
std::vector<std::size_t> EndsOf(const TTree& tree)
{
    std::vector<std::size_t> ends(tree.size(), tree.size());
    std::vector<std::size_t> above;
    for (std::size_t i = 0; i < tree.size(); ++i) {
        for (; above.size() > tree[i].Depth(); above.pop_back())
            ends[above.back()] = i;
        above.push_back(i);
    }
    return ends;
}

// Compares what is drawn before each entry and its brace with what stands behind them: a bar for each entry above, and at the
// brace for the entry itself, which another follows on its level, and one for the entries below.
void TTextReader::CheckBars(const TTree& tree)
{
    const std::vector<std::size_t> ends = EndsOf(tree);
    std::vector<std::size_t> above;
    for (std::size_t i = 0; i < tree.size(); ++i) {
        const std::size_t depth = tree[i].Depth();
        above.resize(depth);
        above.push_back(i);
        const std::string& drawing = tree[i].blockPrefix;
        for (std::size_t level = 0; level < std::min(drawing.size() / 2, kDeepestBars); ++level) {
            const bool isBelow = level > depth;
            const std::size_t next = isBelow ? i + 1 : ends[above[level]];
            const bool follows = next < tree.size() && tree[next].Depth() == level;
            const bool drawn = drawing[2 * level] == '|';
            if (drawn != follows)
                FailAtEntry(tree, next, i, drawn);
        }
    }
}

TValue TTextReader::Assemble(const TTree& tree, std::size_t index)
{
    TValue entry = tree[index].entry;
    if (tree[index].children.empty())
        return entry;
    TValue children = TValue::Array();
    for (const std::size_t child : tree[index].children)
        children.items.push_back(Assemble(tree, child));
    entry.Set("IORegistryEntryChildren", std::move(children));
    return entry;
}

TCapture TTextReader::Read()
{
    for (std::string& line : fLines) {
        if (EndsWith(line, '\r'))
            line.pop_back();
    }
    SkipForeignLines(false);
    if (fAt == fLines.size())
        throw TDamage{1, "no registry begins here nor in any line behind it; ioreg -l -w0 prints one"};
    while (fAt < fLines.size())
        ReadTree();
    return std::move(fCapture);
}

}   // namespace

static void ReplaceAll(const std::string& what, const std::string& by, std::string* text)
{
    for (std::size_t at = text->find(what); at != std::string::npos; at = text->find(what, at + by.size()))
        text->replace(at, what.size(), by);
}

TCapture ReadRegistryText(const std::string& text)
{
    std::string plain = text;
    // As a web page shows it, when its markup was taken over.
    if (plain.find("  &lt;class ") != std::string::npos && plain.find("  <class ") == std::string::npos) {
        ReplaceAll("&lt;", "<", &plain);
        ReplaceAll("&gt;", ">", &plain);
        ReplaceAll("&quot;", "\"", &plain);
        ReplaceAll("&amp;", "&", &plain);
    }
    return TTextReader(plain).Read();
}

}   // namespace import
