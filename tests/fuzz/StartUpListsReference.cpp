#include "tests/fuzz/StartUpListsReference.h"

#include "platform/PropertyList.h"
#include "platform/Text.h"
#include "tests/fuzz/VersionsReference.h"

// Finds the text with this key, in UTF-8.
static bool FindText(const std::string& list, const char* key, std::string* text)
{
    plist::TValue value;
    std::string error;
    if (!plist::Read(list, &value, &error) || value.kind != plist::Kind::kDictionary)
        return false;
    const plist::TValue* const entry = value.Find(key);
    if (entry == nullptr || entry->kind != plist::Kind::kString)
        return false;
    *text = entry->text;
    return true;
}

bool BootDeviceInList(const std::string& printed, std::string* device)
{
    if (!FindText(printed, "Boot Volume", device) || device->size() > 31)
        return false;
    for (const char character : *device) {
        if (static_cast<unsigned char>(character) > 127)
            return false;
    }
    return true;
}

std::uint32_t VersionInList(const std::string& file)
{
    std::string text;
    std::u16string characters;
    std::string bytes;
    if (!FindText(file, "ProductVersion", &text) || !platform::Decode(text, kCFStringEncodingUTF8, &characters) ||
        !platform::Encode(characters, kCFStringEncodingMacRoman, &bytes) || bytes.size() > 15)
        return 0;
    std::uint32_t version = 0;
    VersionOfText(bytes, &version);
    return version;
}
