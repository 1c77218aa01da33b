// Stands in for hfs.util as briefly as a program can: the volume's name is its identity.

#include <cstring>
#include <unistd.h>

int main(int count, char** words)
{
    static const int kDone = 253;
    const char* const name = count == 3 ? words[2] : "";
    return write(STDOUT_FILENO, name, strlen(name)) > 0 ? kDone : 1;
}
