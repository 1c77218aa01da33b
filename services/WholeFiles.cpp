#include "services/WholeFiles.h"

#include "services/ScopedDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

bool ReadWholeFile(const char* path, void* buffer, std::size_t size)
{
    const TScopedDescriptor file(open(path, O_RDONLY));
    return file && read(file.Get(), buffer, size) == static_cast<ssize_t>(size);
}
