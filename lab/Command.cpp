#include "lab/Files.h"
#include "lab/Machine.h"

#include <fcntl.h>
#include <unistd.h>

namespace lab {

// 32-bit, most significant byte first, and the processor's number 20 at offset 18.
static bool IsPowerPCProgram(const std::string& path)
{
    unsigned char header[20] = {};
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool whole = read(descriptor, header, sizeof header) == static_cast<ssize_t>(sizeof header);
    close(descriptor);
    return whole && header[0] == 0x7f && header[1] == 'E' && header[5] == 2 && header[18] == 0 && header[19] == 20;
}

std::vector<std::string> CommandFor(const std::string& path, const std::vector<std::string>& arguments)
{
    std::vector<std::string> command{path, path};
    if (IsPowerPCProgram(path)) {
        const std::string name = BaseName(path);
        command = {"/lab/emulator/" + name, name, "-0", path, path};
    }
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

}   // namespace lab
