// How many locks a thread of the product holds, in a daemon that HeldLocks.cpp watches.

#ifndef HALVORIX_TESTS_SUPPORT_HELDLOCKS_H
#define HALVORIX_TESTS_SUPPORT_HELDLOCKS_H

// Those that this thread holds or waits for; 0 where nobody watches.
inline thread_local unsigned gLocksHeld = 0;

#endif
