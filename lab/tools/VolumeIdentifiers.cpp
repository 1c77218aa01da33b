#include "lab/tools/VolumeIdentifiers.h"

#include "lab/Files.h"
#include "lab/Registry.h"

#include <cstdio>
#include <random>
#include <set>
#include <uuid/uuid.h>

namespace tools {

static const char* const kNoIdentifier = "0000000000000000";

std::string FreshIdentifier(const lab::TMachine& machine)
{
    std::set<std::string> taken{kNoIdentifier};
    for (const std::string& bsdName : lab::NamesInFolder(machine.Folder() + "/volumes"))
        taken.insert(lab::TextOf(machine.Volume(bsdName), "Identifier"));

    std::random_device source;
    char identifier[17];
    do
        std::snprintf(identifier, sizeof identifier, "%08X%08X", source(), source());
    while (taken.count(identifier) != 0);
    return identifier;
}

static std::string Text(const uuid_t uuid)
{
    char text[37];
    uuid_unparse_upper(uuid, text);
    return text;
}

static bool IsIdentifier(const std::string& identifier)
{
    return identifier.size() == 16 && identifier.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
}

std::string UUIDOfIdentifier(const std::string& identifier)
{
    uuid_t uuid{};
    if (!IsIdentifier(identifier) || identifier == kNoIdentifier)
        return Text(uuid);
    // kFSUUIDNamespaceSHA1 in Apple's hfs.util, whose name tells of another digest than it takes.
    uuid_t space;
    uuid_parse("B3E20F39-F292-11D6-97A4-00306543ECAC", space);
    const std::string bytes = lab::BytesFromHexadecimal(identifier);
    uuid_generate_md5(uuid, space, bytes.data(), bytes.size());
    return Text(uuid);
}

std::string FreshUUID()
{
    uuid_t uuid;
    uuid_generate_random(uuid);
    return Text(uuid);
}

}   // namespace tools
