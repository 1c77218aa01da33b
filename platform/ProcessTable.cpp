// The kernel's table of processes, made from /proc.

#include <sys/sysctl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <string>
#include <unistd.h>
#include <vector>

// Characters of a name that Linux keeps.
static const std::size_t kHostCharacters = 15;

// The name that the host's kernel keeps for the process; empty when the process is gone.
static std::string ShortName(const std::string& process)
{
    char name[64] = "";
    FILE* const file = fopen(("/proc/" + process + "/comm").c_str(), "re");
    if (file == nullptr)
        return name;
    const std::size_t length = fread(name, 1, sizeof name - 1, file);
    fclose(file);
    name[length] = 0;
    if (length > 0 && name[length - 1] == '\n')
        name[length - 1] = 0;
    return name;
}

// The base name of the program that the process executes; empty for a zombie and where it may not be seen.
static std::string ProgramName(const std::string& process)
{
    char path[PATH_MAX] = "";
    const ssize_t length = readlink(("/proc/" + process + "/exe").c_str(), path, sizeof path);
    if (length <= 0)
        return std::string();
    std::string name(path, static_cast<std::size_t>(length));
    name.erase(0, name.rfind('/') + 1);
    const std::size_t removed = name.rfind(" (deleted)");
    return name.substr(0, removed);
}

static std::string NameOf(const std::string& process)
{
    const std::string shortName = ShortName(process);
    if (shortName.size() < kHostCharacters)
        return shortName;
    // A script's or a renamed thread's program has another name, which is not what the process is called.
    const std::string program = ProgramName(process);
    return program.compare(0, shortName.size(), shortName) == 0 ? program : shortName;
}

static std::vector<kinfo_proc> AllProcesses()
{
    std::vector<kinfo_proc> processes;
    DIR* const folder = opendir("/proc");
    while (const dirent* const entry = folder != nullptr ? readdir(folder) : nullptr) {
        if (strspn(entry->d_name, "0123456789") != strlen(entry->d_name))
            continue;
        const std::string name = NameOf(entry->d_name);
        if (name.empty())
            continue;   // it ended since the folder was read
        kinfo_proc process = {};
        process.kp_proc.p_pid = atoi(entry->d_name);
        name.copy(process.kp_proc.p_comm, MAXCOMLEN);
        processes.push_back(process);
    }
    if (folder != nullptr)
        closedir(folder);
    return processes;
}

static int Fail(int error)
{
    errno = error;
    return -1;
}

int sysctl(int* name, u_int levels, void* oldValue, size_t* oldSize, void* newValue, size_t)
{
    if (levels < 3 || levels > 4 || name[0] != CTL_KERN || name[1] != KERN_PROC || name[2] != KERN_PROC_ALL)
        return Fail(ENOENT);
    if (newValue != nullptr)
        return Fail(EPERM);
    if (oldSize == nullptr)
        return 0;

    const std::vector<kinfo_proc> processes = AllProcesses();
    if (oldValue == nullptr) {
        // Darwin's slack, so that the table still fits when a few processes have started meanwhile.
        *oldSize = (processes.size() + 5) * sizeof(kinfo_proc);
        return 0;
    }
    const std::size_t count = std::min(processes.size(), *oldSize / sizeof(kinfo_proc));
    if (count > 0)
        memcpy(oldValue, processes.data(), count * sizeof(kinfo_proc));
    *oldSize = count * sizeof(kinfo_proc);
    return count < processes.size() ? Fail(ENOMEM) : 0;
}
