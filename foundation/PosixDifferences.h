// What POSIX systems do differently, told by the feature and not by the system's name.

#ifndef HALVORIX_FOUNDATION_POSIXDIFFERENCES_H
#define HALVORIX_FOUNDATION_POSIXDIFFERENCES_H

#include <fcntl.h>

// Stores the whole structure's size in address, a sockaddr_un, where that has a member for it (BSD's does: on a Mac it
// becomes 106). Call with 0 as second argument.
template <class TAddress>
auto SetAddressLength(TAddress* address, int) -> decltype(address->sun_len, void())
{
    address->sun_len = sizeof *address;
}

// The same where it has none. 0 fits `int` better than `long`, so this one is taken only when the other does not exist.
template <class TAddress>
void SetAddressLength(TAddress*, long)
{
}

// Keeps a descriptor from the programs that this process executes; without effect on one that is not open. Two steps,
// because a Mac has no call that makes a descriptor so from the start: a child forked between the two inherits it.
inline void SetCloseOnExec(int descriptor)
{
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

#endif
