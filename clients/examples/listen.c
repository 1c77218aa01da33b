/*
 * A small client of halvorixd in C: prints the type of each event. cc -I.. listen.c -o listen
 *
 * The daemon waits for a client that does not read, and all others wait with it. So reading comes first, always; an event
 * is worked on, here printed, only when that does not hold up the reading, or else it is counted as missed.
 */

#include "halvorixevent.h"

#include <stdio.h>
#include <string.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

static int Connect(void)
{
    struct sockaddr_un address;
    const int daemon = socket(AF_UNIX, SOCK_STREAM, 0);

    memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, HALVORIX_EVENT_SOCKET);
    return connect(daemon, (struct sockaddr*)&address, sizeof address) == 0 ? daemon : -1;
}

/* Whether a short line can be printed without waiting. */
static int OutputIsReady(void)
{
    struct timeval now = {0, 0};
    fd_set output;

    FD_ZERO(&output);
    FD_SET(STDOUT_FILENO, &output);
    return select(STDOUT_FILENO + 1, NULL, &output, NULL, &now) == 1;
}

int main(void)
{
    const int daemon = Connect();
    HalvorixEvent event;
    size_t have = 0;
    unsigned long missed = 0;
    ssize_t got;

    if (daemon < 0) {
        fprintf(stderr, "listen: no daemon listens at " HALVORIX_EVENT_SOCKET "; start halvorixd\n");
        return 1;
    }

    /* A read may end within an event, so each goes on where the last one stopped. 0 is the end of the stream. */
    while ((got = read(daemon, (char*)&event + have, sizeof event - have)) > 0) {
        have += (size_t)got;
        if (have < sizeof event)
            continue;
        have = 0;
        if (!OutputIsReady()) {
            ++missed;
            continue;
        }
        printf("type %ld, %lu missed before it\n", (long)event.type, missed);
        if (fflush(stdout) != 0)
            break;
        missed = 0;
    }
    return 0;
}
