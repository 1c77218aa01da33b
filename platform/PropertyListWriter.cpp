// The writer of XML property lists: what Apple's own writes, to the byte.

#include "platform/PropertyList.h"
#include "platform/PropertyListLeaves.h"

namespace plist {
namespace {

std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '>')
            escaped += "&gt;";
        else
            escaped += c;
    }
    return escaped;
}

void WriteValue(const TValue& value, size_t level, std::string* xml);

void WriteContainer(const TValue& value, size_t level, std::string* xml)
{
    const std::string indent(level, '\t');
    const std::string name = value.kind == Kind::kArray ? "array" : "dict";
    if (value.items.empty() && value.entries.empty()) {
        *xml += indent + "<" + name + "/>\n";
        return;
    }
    *xml += indent + "<" + name + ">\n";
    for (const TValue& item : value.items)
        WriteValue(item, level + 1, xml);
    for (const auto& entry : value.entries) {
        *xml += indent + "\t<key>" + Escaped(entry.first) + "</key>\n";
        WriteValue(entry.second, level + 1, xml);
    }
    *xml += indent + "</" + name + ">\n";
}

void WriteLeaf(const char* name, const std::string& text, size_t level, std::string* xml)
{
    *xml += std::string(level, '\t') + "<" + name + ">" + text + "</" + name + ">\n";
}

void WriteValue(const TValue& value, size_t level, std::string* xml)
{
    const std::string indent(level, '\t');
    switch (value.kind) {
    case Kind::kString:
        return WriteLeaf("string", Escaped(value.text), level, xml);
    case Kind::kInteger:
        return WriteLeaf("integer", IntegerText(value), level, xml);
    case Kind::kReal:
        return WriteLeaf("real", RealText(value.real), level, xml);
    case Kind::kDate:
        return WriteLeaf("date", DateText(value.real), level, xml);
    case Kind::kBoolean:
        *xml += indent + (value.boolean ? "<true/>\n" : "<false/>\n");
        return;
    case Kind::kData:
        *xml += indent + "<data>\n" + DataLines(value.text, level) + indent + "</data>\n";
        return;
    case Kind::kArray:
    case Kind::kDictionary:
        return WriteContainer(value, level, xml);
    }
}

}   // namespace

std::string Write(const TValue& value)
{
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                      "<plist version=\"1.0\">\n";
    WriteValue(value, 0, &xml);
    return xml + "</plist>\n";
}

}   // namespace plist
