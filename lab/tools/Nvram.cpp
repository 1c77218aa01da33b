// nvram: the firmware's variables.

#include "lab/Files.h"
#include "lab/Registry.h"
#include "lab/tools/Tool.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

using plist::TValue;

namespace tools {

static const char* const kOptions = "/options";

// What makes up the registry's tree is no variable.
static bool IsVariable(const std::string& key)
{
    return key.rfind("IOObject", 0) != 0 && key.rfind("IORegistryEntry", 0) != 0;
}

static std::string NumberInWords(std::uint32_t number)
{
    if (number == 0xffffffff)
        return "-1";
    char text[16];
    std::snprintf(text, sizeof text, number < 1000 ? "%u" : "0x%x", static_cast<unsigned>(number));
    return text;
}

// Printable bytes as they are, a per cent sign as well; the others as %xx.
static std::string BytesInWords(const std::string& bytes)
{
    std::string text;
    for (const char byte : bytes) {
        const bool printable = std::isprint(static_cast<unsigned char>(byte)) != 0;
        text += printable ? std::string(1, byte) : "%" + lab::Hexadecimal(std::string(1, byte));
    }
    return text;
}

static std::string ValueInWords(const TValue& value)
{
    switch (value.kind) {
    case plist::Kind::kBoolean:
        return value.boolean ? "true" : "false";
    case plist::Kind::kInteger:
        return NumberInWords(static_cast<std::uint32_t>(value.integer));
    case plist::Kind::kData:
        return BytesInWords(value.text);
    default:
        return value.text;
    }
}

static void Print(const std::string& name, const TValue& value)
{
    std::printf("%s\t%s\n", name.c_str(), ValueInWords(value).c_str());
}

// The bytes that a text with %xx stands for.
static std::string BytesFromWords(const std::string& text)
{
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escaped = text[i] == '%' && i + 2 < text.size();
        bytes += escaped ? lab::BytesFromHexadecimal(text.substr(i + 1, 2)) : std::string(1, text[i]);
        i += escaped ? 2 : 0;
    }
    return bytes;
}

// A value of the kind that the variable had; what is new is a text. Returns false when the text is no such value.
static bool ReadValue(const TValue* old, const std::string& text, TValue* value)
{
    *value = TValue::String(text);
    if (!old || old->kind == plist::Kind::kString)
        return true;
    if (old->kind == plist::Kind::kBoolean) {
        *value = TValue::Boolean(text == "true");
        return text == "true" || text == "false";
    }
    if (old->kind == plist::Kind::kData) {
        *value = TValue::Data(BytesFromWords(text));
        return true;
    }
    char* end = nullptr;
    *value = TValue::Integer(static_cast<std::uint32_t>(std::strtol(text.c_str(), &end, 0)));
    return !text.empty() && *end == '\0';
}

// Prints and sets variables.
class TVariables
{
public:
    explicit TVariables(lab::TMachine* machine) : fMachine(machine) {}

    void PrintAll()
    {
        lab::TRegistry registry(fMachine->Folder());
        const TValue* const options = registry.AtDeviceTreePath(kOptions);
        for (std::size_t i = 0; options && i < options->entries.size(); ++i) {
            if (IsVariable(options->entries[i].first))
                Print(options->entries[i].first, options->entries[i].second);
        }
    }

    int PrintOne(const std::string& name)
    {
        lab::TRegistry registry(fMachine->Folder());
        const TValue* const value = Find(&registry, name);
        if (!value)
            return Refuse("nvram", "Error getting variable - '" + name + "': (iokit/common) data was not found");
        Print(name, *value);
        return 0;
    }

    int Set(const std::string& name, const std::string& text)
    {
        lab::TRegistry registry(fMachine->Folder());
        TValue value;
        if (!ReadValue(Find(&registry, name), text, &value))
            return Refuse("nvram", "Error setting variable - '" + name + "': (iokit/common) invalid argument");
        const std::string error = fMachine->SetDeviceTreeProperty(kOptions, name, value);
        return error.empty() ? 0 : Refuse("nvram", "Error setting variable - '" + name + "': " + error);
    }

    // To delete what is not there is no error.
    void Delete(const std::string& name)
    {
        if (IsVariable(name))
            fMachine->RemoveDeviceTreeProperty(kOptions, name);
    }

private:
    static const TValue* Find(lab::TRegistry* registry, const std::string& name)
    {
        const TValue* const options = registry->AtDeviceTreePath(kOptions);
        return options && IsVariable(name) ? options->Find(name) : nullptr;
    }

    lab::TMachine* fMachine;
};

// Each line of the file is a name, blanks and a value; comments begin with a number sign.
static int SetFromFile(TVariables* variables, const std::string& path)
{
    std::string text;
    if (!lab::ReadFile(path, &text))
        return Refuse("nvram", "Couldn't open nvram file - '" + path + "': No such file or directory");
    for (const std::string& line : lab::SplitLines(text)) {
        const std::size_t end = line.find_first_of(" \t");
        if (line.empty() || line[0] == '#')
            continue;
        const std::size_t start = line.find_first_not_of(" \t", end);
        const int status = variables->Set(line.substr(0, end), start == std::string::npos ? "" : line.substr(start));
        if (status != 0)
            return status;
    }
    return 0;
}

int Nvram(lab::TMachine& machine, const TWords& words)
{
    TVariables variables(&machine);
    int status = words.empty() ? Refuse("nvram", "usage: nvram [-p] [-f FILE] [-d NAME] NAME[=VALUE] ...") : 0;
    // Words are carried out one after the other, to the first that fails.
    for (std::size_t i = 0; status == 0 && i < words.size(); ++i) {
        const std::size_t equals = words[i].find('=');
        if (words[i] == "-p")
            variables.PrintAll();
        else if (words[i] == "-d" && i + 1 < words.size())
            variables.Delete(words[++i]);
        else if (words[i] == "-f" && i + 1 < words.size())
            status = SetFromFile(&variables, words[++i]);
        else if (words[i][0] == '-')
            status = Refuse("nvram", "usage: nvram [-p] [-f FILE] [-d NAME] NAME[=VALUE] ...");
        else if (equals != std::string::npos)
            status = variables.Set(words[i].substr(0, equals), words[i].substr(equals + 1));
        else
            status = variables.PrintOne(words[i]);
    }
    return status;
}

}   // namespace tools
