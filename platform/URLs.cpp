#include "platform/URLs.h"

#include "platform/Objects.h"
#include "platform/Strings.h"
#include "platform/Text.h"

#include <climits>
#include <cstring>
#include <functional>
#include <unistd.h>
#include <vector>

using namespace platform;

// The URL's text: what is neither a letter, a digit nor one of a few marks stands as % and two digits for each byte.
static std::u16string Escaped(const std::u16string& path)
{
    // A literal: a string would be destroyed at exit, while other threads run.
    static const char kPlain[] = "-_.!~*'()/:@&=+$,";
    std::string bytes;
    Encode(path, kCFStringEncodingUTF8, &bytes);
    std::u16string escaped;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        const bool letter = (byte | 0x20) >= 'a' && (byte | 0x20) <= 'z';
        const bool digit = byte >= '0' && byte <= '9';
        if (letter || digit || (byte != 0 && std::strchr(kPlain, c) != nullptr)) {
            escaped += static_cast<char16_t>(byte);
            continue;
        }
        escaped += u'%';
        escaped += u"0123456789ABCDEF"[byte >> 4];
        escaped += u"0123456789ABCDEF"[byte & 0xF];
    }
    return escaped;
}

static bool IsAbsolute(const std::u16string& path)
{
    return path.front() == u'/';
}

struct __CFURL : TObject
{
    __CFURL(const TType& type, const std::u16string& path, TReference base)
        : TObject(type, 1), fPath(path), fBase(std::move(base)),
          fText(MakeString((IsAbsolute(path) ? u"file://localhost" : u"") + Escaped(path), false))
    {
    }

    CFStringRef Text() const { return static_cast<CFStringRef>(fText.Get()); }
    CFURLRef Base() const { return static_cast<CFURLRef>(fBase.Get()); }

    const std::u16string fPath;   // never empty; a directory's ends in a slash
    const TReference fBase;       // the folder that a relative path starts at
    const TReference fText;
};

static const __CFURL* Content(const TObject* url)
{
    return static_cast<const __CFURL*>(url);
}

static bool URLsAreEqual(const TObject* one, const TObject* other)
{
    const CFURLRef firstBase = Content(one)->Base();
    const CFURLRef secondBase = Content(other)->Base();
    if ((firstBase == nullptr) != (secondBase == nullptr))
        return false;
    return CFEqual(Content(one)->Text(), Content(other)->Text()) &&
           (firstBase == nullptr || CFEqual(firstBase, secondBase));
}

static CFHashCode HashOfURL(const TObject* url)
{
    return CFHash(Content(url)->Text());
}

static const TType kURLType = {"CFURL", 29, Destroy<__CFURL>, URLsAreEqual, HashOfURL};

static const __CFURL* ToBeRead(CFURLRef url)
{
    return As<__CFURL>(url, kURLType);
}

// The path without the slashes it ends in; the root keeps one.
static std::u16string WithoutEnd(const std::u16string& path)
{
    const size_t last = path.find_last_not_of(u'/');
    return last == std::u16string::npos ? u"/" : path.substr(0, last + 1);
}

// Appends a relative path to the absolute one of a folder: "." goes nowhere, ".." up.
static std::u16string Joined(const std::u16string& folder, const std::u16string& path)
{
    std::u16string joined = WithoutEnd(folder) == u"/" ? u"" : WithoutEnd(folder);
    size_t at = 0;
    while (at <= path.size()) {
        const size_t end = std::min(path.find(u'/', at), path.size());
        const std::u16string part = path.substr(at, end - at);
        if (part == u"..")
            joined.resize(joined.find_last_of(u'/') == std::u16string::npos ? 0 : joined.find_last_of(u'/'));
        else if (part != u".")
            joined += u"/" + part;
        at = end + 1;
    }
    return joined.empty() ? u"/" : joined;
}

static std::u16string Resolved(const __CFURL* url)
{
    return url->Base() == nullptr ? url->fPath : Joined(Resolved(ToBeRead(url->Base())), url->fPath);
}

static bool BytesOfPath(const std::u16string& path, std::string* bytes)
{
    // A NUL that the URL was made with ends the path.
    // NOLINTNEXTLINE(readability-redundant-string-cstr)
    return PathBytes(WithoutEnd(path).c_str(), bytes);
}

static TReference CurrentFolder()
{
    char path[PATH_MAX];
    if (getcwd(path, sizeof path) == nullptr)
        return TReference();
    std::u16string text;
    if (!Decode(path, kCFStringEncodingUTF8, &text))
        return TReference();
    return TReference(Make<__CFURL>(kURLType, WithoutEnd(text) + (text == u"/" ? u"" : u"/"), TReference()));
}

// A URL of the path, which may be relative to the current folder.
static CFURLRef MakeURL(std::u16string path, bool isDirectory)
{
    if (isDirectory && path.back() != u'/')
        path += u'/';
    TReference base;
    if (!IsAbsolute(path))
        base = CurrentFolder();
    return Make<__CFURL>(kURLType, path, std::move(base));
}

namespace platform {

CFURLRef MakeURLBelow(CFURLRef folder, const std::u16string& path)
{
    return Make<__CFURL>(kURLType, path, TReference(CFRetain(folder)));
}

bool AbsolutePath(CFURLRef url, std::string* path)
{
    return BytesOfPath(Resolved(ToBeRead(url)), path);
}

}   // namespace platform

CFTypeID CFURLGetTypeID(void)
{
    return kURLType.identifier;
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8* path, CFIndex length, Boolean isDirectory)
{
    if (length <= 0)
        return nullptr;
    std::u16string text;
    if (!Decode(std::string(reinterpret_cast<const char*>(path), static_cast<size_t>(length)), kCFStringEncodingUTF8,
                &text))
        return nullptr;
    return MakeURL(isDirectory ? text : WithoutEnd(text), isDirectory);
}

static void CheckStyle(CFURLPathStyle style)
{
    if (style != kCFURLPOSIXPathStyle)
        Die("paths are taken and given in POSIX style only, not in style %d", static_cast<int>(style));
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef, CFStringRef path, CFURLPathStyle style, Boolean isDirectory)
{
    CheckStyle(style);
    std::u16string text = UnitsOf(path);
    if (text.empty())
        return nullptr;
    const bool endsInOneSlash = text.size() > 1 && text.back() == u'/' && text[text.size() - 2] != u'/';
    if (!isDirectory && endsInOneSlash)
        text.pop_back();
    return MakeURL(std::move(text), isDirectory);
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer, CFIndex size)
{
    const __CFURL* const read = ToBeRead(url);
    std::string bytes;
    return BytesOfPath(resolveAgainstBase ? Resolved(read) : read->fPath, &bytes) &&
           CopyCString(bytes, reinterpret_cast<char*>(buffer), size);
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style)
{
    CheckStyle(style);
    return MakeString(WithoutEnd(ToBeRead(url)->fPath), false);
}

CFStringRef CFURLGetString(CFURLRef url)
{
    return ToBeRead(url)->Text();
}

CFStringRef CFURLCopyScheme(CFURLRef url)
{
    Check(url, kURLType);
    return CFSTR("file");
}

CFStringRef CFURLCopyLastPathComponent(CFURLRef url)
{
    std::u16string path = ToBeRead(url)->fPath;
    if (path == u"/")
        return MakeString(path, false);
    if (path.back() == u'/')
        path.pop_back();
    return MakeString(path.substr(path.find_last_of(u'/') + 1), false);
}

Boolean CFURLHasDirectoryPath(CFURLRef url)
{
    return ToBeRead(url)->fPath.back() == u'/';
}
