#include "lab/Files.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace lab {

std::string SystemError(const std::string& what, const std::string& path)
{
    return "cannot " + what + " " + path + ": " + std::strerror(errno);
}

// Reads to the end from where the descriptor stands.
static bool ReadAll(int descriptor, std::string* text)
{
    char buffer[16384];
    for (;;) {
        const ssize_t count = read(descriptor, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count == 0;
        text->append(buffer, static_cast<std::size_t>(count));
    }
}

bool ReadFile(const std::string& path, std::string* text)
{
    text->clear();
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool done = ReadAll(descriptor, text);
    close(descriptor);
    if (!done)
        text->clear();
    return done;
}

std::string ReadLine(const std::string& path)
{
    std::string text;
    ReadFile(path, &text);
    return text.substr(0, text.find('\n'));
}

// Opens, writes in one call when the system takes it so, and closes. The descriptor's own failures keep their errno.
static bool WriteWhole(const std::string& path, int flags, const std::string& text)
{
    const int descriptor = open(path.c_str(), flags | O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0)
        return false;
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            const int reason = errno;
            close(descriptor);
            errno = reason;
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return close(descriptor) == 0;
}

std::string ReplaceFile(const std::string& path, const std::string& text)
{
    const std::string fresh =
        path.substr(0, path.size() - BaseName(path).size()) + "." + BaseName(path) + "." + std::to_string(getpid());
    if (WriteWhole(fresh, O_TRUNC, text) && rename(fresh.c_str(), path.c_str()) == 0)
        return "";
    const std::string error = SystemError("write", path);
    unlink(fresh.c_str());
    return error;
}

std::string AppendToFile(const std::string& path, const std::string& text)
{
    return WriteWhole(path, O_APPEND, text) ? "" : SystemError("write to", path);
}

std::string MakeFolder(const std::string& path)
{
    if (mkdir(path.c_str(), 0777) == 0 || errno == EEXIST)
        return "";
    const std::size_t slash = path.rfind('/');
    if (errno != ENOENT || slash == std::string::npos || slash == 0)
        return SystemError("make the folder", path);
    const std::string error = MakeFolder(path.substr(0, slash));
    if (!error.empty())
        return error;
    return mkdir(path.c_str(), 0777) == 0 || errno == EEXIST ? "" : SystemError("make the folder", path);
}

std::vector<std::string> NamesInFolder(const std::string& path)
{
    std::vector<std::string> names;
    DIR* const folder = opendir(path.c_str());
    if (!folder)
        return names;
    while (const dirent* const entry = readdir(folder)) {
        if (entry->d_name[0] != '.')
            names.push_back(entry->d_name);
    }
    closedir(folder);
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t end = text.find(separator); end != std::string::npos; end = text.find(separator, start)) {
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

std::vector<std::string> SplitLines(const std::string& text)
{
    std::vector<std::string> lines = Split(text, '\n');
    if (lines.back().empty())
        lines.pop_back();
    return lines;
}

std::string InWords(const std::vector<std::string>& texts)
{
    std::string text;
    for (std::size_t i = 0; i < texts.size(); ++i)
        text += (i == 0 ? "" : i + 1 == texts.size() ? " and " : ", ") + texts[i];
    return text.empty() ? "none" : text;
}

std::string BaseName(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

std::string Escape(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte < 0x7f && byte != '\\') {
            result += character;
            continue;
        }
        char escaped[5];
        std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(byte));
        result += escaped;
    }
    return result;
}

std::string Unescape(const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && text[i + 1] == 'x' &&
            std::isxdigit(static_cast<unsigned char>(text[i + 2])) &&
            std::isxdigit(static_cast<unsigned char>(text[i + 3]))) {
            result += static_cast<char>(std::strtol(text.substr(i + 2, 2).c_str(), nullptr, 16));
            i += 3;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string Hexadecimal(const std::string& bytes)
{
    static const char kDigits[] = "0123456789abcdef";
    std::string digits;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        digits += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return digits;
}

std::string BytesFromHexadecimal(const std::string& digits)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(std::strtol(digits.substr(i, 2).c_str(), nullptr, 16));
    return bytes;
}

double MonotonicSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

TFileLock::TFileLock(const std::string& path) : fDescriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666))
{
    while (fDescriptor >= 0 && flock(fDescriptor, LOCK_EX) != 0 && errno == EINTR) {
    }
}

TFileLock::~TFileLock()
{
    if (fDescriptor >= 0)
        close(fDescriptor);
}

}   // namespace lab
