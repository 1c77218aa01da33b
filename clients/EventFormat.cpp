#include "clients/EventFormat.h"

#include <algorithm>
#include <cstring>
#include <ctime>

// Steps over a decimal number without superfluous zeros. Returns false, and stays, when there is none.
static bool SkipNumber(const char** text)
{
    const std::size_t digits = strspn(*text, "0123456789");
    if (digits == 0 || (digits > 1 && **text == '0'))
        return false;
    *text += digits;
    return true;
}

bool GuessDevice(const HalvorixEvent& event, std::string* device)
{
    if (!memchr(event.name, 0, sizeof event.name))
        return false;

    const char* const name = reinterpret_cast<const char*>(event.name);
    if (strncmp(name, "disk", 4) != 0)
        return false;

    const char* rest = name + 4;
    if (!SkipNumber(&rest))
        return false;
    if (*rest == 's' && !SkipNumber(&++rest))
        return false;
    if (*rest)
        return false;

    *device = name;
    return true;
}

static std::string HexText(const void* bytes, std::size_t count)
{
    static const char kDigits[] = "0123456789abcdef";
    const unsigned char* const from = static_cast<const unsigned char*>(bytes);
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += kDigits[from[i] >> 4];
        text += kDigits[from[i] & 15];
    }
    return text;
}

// The time in the manner of strftime(3), in UTC or here.
static std::string TimeText(TMilliseconds time, const char* manner, bool utc)
{
    const time_t seconds = static_cast<time_t>(time / 1000);
    tm parts = {};
    if (utc) {
        gmtime_r(&seconds, &parts);
    } else {
        localtime_r(&seconds, &parts);
    }

    char text[64];
    return std::string(text, strftime(text, sizeof text, manner, &parts));
}

static std::string TextOfEvent(const HalvorixEvent& event, TMilliseconds received)
{
    const std::size_t kShown = 16;
    std::string line = TimeText(received, "%Y-%m-%d %H:%M:%S", false) + "  type " + std::to_string(event.type);
    std::string device;
    if (GuessDevice(event, &device))
        line += "  " + device + " (a guess)";
    line += "  4: " + HexText(event.head, sizeof event.head);
    line += "  16: " + HexText(event.body, kShown);
    if (std::any_of(event.body + kShown, event.body + sizeof event.body, [](uint8_t byte) { return byte != 0; }))
        line += "...";
    return line + "\n";
}

static std::string JSONOfEvent(const HalvorixEvent& event, TMilliseconds received)
{
    const std::string thousandths = std::to_string(1000 + received % 1000).substr(1);

    // Nothing needs an escape: a guessed name holds letters and digits alone.
    std::string device;
    const std::string guess = GuessDevice(event, &device) ? "\"" + device + "\"" : "null";
    return "{\"received\":\"" + TimeText(received, "%Y-%m-%dT%H:%M:%S.", true) + thousandths +
           "Z\",\"type\":" + std::to_string(event.type) + ",\"queueEmpty\":" + (event.queueEmpty ? "true" : "false") +
           ",\"deviceGuess\":" + guess + ",\"record\":\"" + HexText(&event, sizeof event) + "\"}\n";
}

std::string FormatEvent(EFormat format, const HalvorixEvent& event, TMilliseconds received)
{
    switch (format) {
    case EFormat::kText:
        return TextOfEvent(event, received);
    case EFormat::kJSON:
        return JSONOfEvent(event, received);
    case EFormat::kRaw:
        break;
    }
    return std::string(reinterpret_cast<const char*>(&event), sizeof event);
}

std::string FormatDropped(EFormat format, std::uint64_t count)
{
    switch (format) {
    case EFormat::kText:
        return std::to_string(count) + (count == 1 ? " event was" : " events were") +
               " dropped here, since this output was not read in time\n";
    case EFormat::kJSON:
        return "{\"dropped\":" + std::to_string(count) + "}\n";
    case EFormat::kRaw:
        break;
    }
    return "";
}
