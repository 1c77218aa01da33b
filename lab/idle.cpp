// A process that does nothing, for whoever needs one of a certain name: init copies this program under that name.

#include <unistd.h>

int main()
{
    for (;;)
        pause();
}
