// Run loops: a thread waits in its own for what its sources have to tell.

#ifndef HALVORIX_PLATFORM_CFRUNLOOP_H
#define HALVORIX_PLATFORM_CFRUNLOOP_H

#include <CoreFoundation/CFBase.h>

extern "C" {

typedef struct __CFRunLoop* CFRunLoopRef;

extern const CFStringRef kCFRunLoopDefaultMode;

CFTypeID CFRunLoopGetTypeID(void);

// The calling thread's run loop; it lives as long as the thread.
CFRunLoopRef CFRunLoopGetCurrent(void);

// Runs the calling thread's run loop in the default mode: calls what its sources have to tell, and waits. Returns when
// the mode has no source, or when this run is stopped. A callback may run the loop once more inside.
void CFRunLoopRun(void);

// Makes the innermost run of the run loop return, from any thread. Without effect when it does not run.
void CFRunLoopStop(CFRunLoopRef runLoop);
}

#endif
