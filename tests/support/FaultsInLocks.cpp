// The end of a lock, which the table of faults stands in front of only to count it.

#include "tests/support/FaultTable.h"
#include "tests/support/HeldLocks.h"

#include <pthread.h>

extern "C" {

// Takes no lock itself: a forked child comes here before it executes a program, and another thread may have held that lock
// when it was forked.
int __real_pthread_mutex_unlock(pthread_mutex_t*);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex)
{
    if (gInside == 0 && gLocksHeld != 0)
        --gLocksHeld;
    return __real_pthread_mutex_unlock(mutex);
}
}
