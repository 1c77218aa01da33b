#include "platform/MachineFolder.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace platform {

std::string MachinePath(const std::string& name)
{
    return std::string(kMachineFolder) + "/" + name;
}

TDescriptor::~TDescriptor()
{
    if (fDescriptor >= 0)
        close(fDescriptor);
}

std::string ReadWholeFile(int descriptor)
{
    std::string text;
    char buffer[65536];
    for (;;) {
        const ssize_t count = read(descriptor, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return text;
        text.append(buffer, static_cast<size_t>(count));
    }
}

bool ReadText(const std::string& name, std::string* text)
{
    text->clear();
    const TDescriptor file(open(MachinePath(name).c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        return false;
    *text = ReadWholeFile(file.Get());
    return true;
}

bool ReadNumber(const std::string& name, long long* number)
{
    std::string text;
    if (!ReadText(name, &text))
        return false;
    char* end = nullptr;
    const long long read = strtoll(text.c_str(), &end, 10);
    if (end != text.c_str())
        *number = read;
    return true;
}

static bool WriteAll(int file, const std::string& text)
{
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(file, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR)
            return false;
        if (count > 0)
            written += static_cast<size_t>(count);
    }
    return true;
}

bool ReplaceFile(const std::string& name, const std::string& text)
{
    return ReplaceFileAt(MachinePath(name), text);
}

bool ReplaceFileAt(const std::string& path, const std::string& text)
{
    // Several threads of several processes may write at once: each has a file of its own beside the real one.
    static std::atomic<unsigned> gNext{0};
    const std::string beside = path + "." + std::to_string(getpid()) + "." + std::to_string(gNext++);
    {
        const TDescriptor file(open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
        if (!file)
            return false;
        if (!WriteAll(file.Get(), text)) {
            unlink(beside.c_str());
            return false;
        }
    }
    return rename(beside.c_str(), path.c_str()) == 0;
}

void AppendLine(const std::string& name, const std::string& line)
{
    const TDescriptor file(open(MachinePath(name).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
    if (!file)
        return;
    const std::string whole = line + "\n";
    // One write, so that lines of several processes do not mix.
    if (write(file.Get(), whole.data(), whole.size()) < 0)
        perror(name.c_str());
}

void AppendLogLine(const std::string& name, const std::string& line)
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    char when[48];
    snprintf(when, sizeof when, "%lld.%06ld %d ", static_cast<long long>(now.tv_sec), now.tv_nsec / 1000,
             static_cast<int>(getpid()));
    AppendLine(name, when + line);
}

}   // namespace platform
