// The reader of XML property lists: strict and bounded in depth.

#include "platform/PropertyList.h"
#include "platform/PropertyListLeaves.h"
#include "platform/PropertyListMarkup.h"

#include <unordered_map>

namespace plist {
namespace {

class TReader
{
public:
    explicit TReader(const std::string& text) : fMarkup(text) {}

    bool ReadDocument(TValue* value, std::string* error)
    {
        if (fMarkup.ReadProlog() && ReadRoot(value) && ReadEnd())
            return true;
        *error = fMarkup.Error();
        return false;
    }

private:
    bool ReadRoot(TValue* value)
    {
        TTag tag;
        if (!fMarkup.ReadTag(&tag))
            return false;
        if (tag.closing)
            return fMarkup.Fail("</" + tag.name + "> closes nothing");
        if (tag.name != "plist")
            return ReadValue(tag, 0, value);
        if (tag.empty)
            return fMarkup.Fail("the property list is empty");
        if (!fMarkup.ReadInnerTag(&tag))
            return false;
        if (tag.closing)
            return fMarkup.Fail("the property list is empty");
        if (!ReadValue(tag, 0, value))
            return false;
        return fMarkup.SkipMisc() && fMarkup.ReadClosingTag("plist");
    }

    bool ReadEnd()
    {
        if (!fMarkup.SkipMisc())
            return false;
        return fMarkup.AtEnd() || fMarkup.Fail("something follows the property list");
    }

    // Values

    bool ReadValue(const TTag& tag, int depth, TValue* value)
    {
        if (tag.name == "dict" || tag.name == "array") {
            if (depth == kMaximumDepth)
                return fMarkup.Fail("arrays and dictionaries are more than " + std::to_string(kMaximumDepth) + " deep");
            *value = tag.name == "dict" ? TValue::Dictionary() : TValue::Array();
            if (tag.empty)
                return true;
            return tag.name == "dict" ? ReadDictionary(depth + 1, value) : ReadArray(depth + 1, value);
        }
        if (tag.name == "true" || tag.name == "false") {
            *value = TValue::Boolean(tag.name == "true");
            return tag.empty || fMarkup.ReadClosingTag(tag.name);
        }
        std::string text;
        if (!tag.empty && (!fMarkup.ReadText(tag.name == "string", &text) || !fMarkup.ReadClosingTag(tag.name)))
            return false;
        if (tag.name == "string") {
            *value = TValue::String(std::move(text));
            return true;
        }
        if (tag.empty)
            return fMarkup.Fail("<" + tag.name + "/> has no value");
        return MakeLeaf(tag.name, text, value);
    }

    bool MakeLeaf(const std::string& name, const std::string& text, TValue* value)
    {
        if (name == "integer")
            return ReadInteger(text, value) || fMarkup.Fail("\"" + text + "\" is no integer of 64 bits");
        if (name == "real")
            return ReadReal(text, value) || fMarkup.Fail("\"" + text + "\" is no real number");
        if (name == "date")
            return ReadDate(text, value) || fMarkup.Fail("\"" + text + "\" is no date like 2008-10-15T12:34:56Z");
        if (name == "data")
            return ReadData(text, value) || fMarkup.Fail("the data is no base64");
        return fMarkup.Fail("<" + name + "> is no type of a property list");
    }

    bool ReadArray(int depth, TValue* array)
    {
        for (;;) {
            TTag tag;
            if (!fMarkup.ReadInnerTag(&tag))
                return false;
            if (tag.closing)
                return tag.name == "array" || fMarkup.Fail("</" + tag.name + "> stands where </array> is expected");
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
            if (!fMarkup.ReadInnerTag(&tag))
                return false;
            if (tag.closing)
                return tag.name == "dict" || fMarkup.Fail("</" + tag.name + "> stands where </dict> is expected");
            std::string key;
            TValue value;
            if (!ReadKey(tag, &key) || !fMarkup.ReadInnerTag(&tag))
                return false;
            if (tag.closing)
                return fMarkup.Fail("the key \"" + key + "\" has no value");
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
            return fMarkup.Fail("<" + tag.name + "> stands where <key> is expected");
        return tag.empty || (fMarkup.ReadText(true, key) && fMarkup.ReadClosingTag("key"));
    }

    TMarkup fMarkup;
};

}   // namespace

bool Read(const std::string& xml, TValue* value, std::string* error)
{
    return TReader(xml).ReadDocument(value, error);
}

}   // namespace plist
