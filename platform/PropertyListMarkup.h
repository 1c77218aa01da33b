// The XML that property lists are written in: tags, text and what stands around them, without a general XML parser.

#ifndef HALVORIX_PLATFORM_PROPERTYLISTMARKUP_H
#define HALVORIX_PLATFORM_PROPERTYLISTMARKUP_H

#include <string>

namespace plist {

// What stands between < and >.
struct TTag
{
    std::string name;
    bool closing = false;   // </name>
    bool empty = false;     // <name/>
};

// A text and the place that was reached in it. What reads returns false when something else stands there; the reason is then
// remembered, and the place is of no use any more.
class TMarkup
{
public:
    // text  stays the caller's, and must outlive the markup
    explicit TMarkup(const std::string& text) : fText(text) {}

    // Everything up to the first element: the XML declaration, the document type, comments. Sees to it that the whole text is
    // UTF-8 of characters that XML allows.
    bool ReadProlog();

    // Skips blanks, comments and processing instructions.
    bool SkipMisc();

    // The tag that stands here, attributes included: <plist> may have some, and no other.
    bool ReadTag(TTag* tag);

    // The next tag inside a value that holds values.
    bool ReadInnerTag(TTag* tag);

    // The tag that stands here must be </name>.
    bool ReadClosingTag(const std::string& name);

    // Appends the text up to the next tag.
    // markup  whether entities and CDATA sections may stand in it
    bool ReadText(bool markup, std::string* text);

    bool AtEnd() const { return fAt >= fText.size(); }

    // Remembers the first failure, with the line of the place that was reached. Returns false.
    bool Fail(const std::string& what);

    // "line 2: what was wrong"; empty when nothing was.
    const std::string& Error() const { return fError; }

private:
    bool CheckCharacters();
    bool LooksAt(const char* text) const;
    bool Skip(const char* text);
    void SkipSpace();
    bool SkipBehind(const char* text);
    bool TakeUpTo(const char* end, std::string* text);
    bool ReadDeclaration();
    bool ReadDocumentType();
    bool ReadAttributes(TTag* tag);
    bool ReadEntity(std::string* text);

    const std::string& fText;
    size_t fAt = 0;
    std::string fError;
};

}   // namespace plist

#endif
