// Holds a POSIX mutex for the length of a scope.

#ifndef HALVORIX_FOUNDATION_SCOPEDLOCK_H
#define HALVORIX_FOUNDATION_SCOPEDLOCK_H

#include <pthread.h>

class TScopedLock
{
public:
    // mutex  initialised; outlives this object
    explicit TScopedLock(pthread_mutex_t* mutex) : fMutex(mutex) { pthread_mutex_lock(fMutex); }
    ~TScopedLock() { pthread_mutex_unlock(fMutex); }

    TScopedLock(const TScopedLock&) = delete;
    TScopedLock& operator=(const TScopedLock&) = delete;

private:
    pthread_mutex_t* fMutex;
};

#endif
