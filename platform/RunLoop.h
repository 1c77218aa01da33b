// What a run loop waits for.

#ifndef HALVORIX_PLATFORM_RUNLOOP_H
#define HALVORIX_PLATFORM_RUNLOOP_H

#include <CoreFoundation/CFRunLoop.h>

namespace platform {

class TRunLoopSource
{
public:
    // The run loop waits until this can be read, or -1.
    virtual int Descriptor() const = 0;
    // Whether there is something to tell already.
    virtual bool IsDue() const = 0;
    // Called on the run loop's thread when either is so. May take the source off the run loop, and destroy it.
    virtual void Tell() = 0;
    // The run loop's thread ends: the source stands in it no longer.
    virtual void RunLoopIsGone() = 0;

protected:
    ~TRunLoopSource() = default;
};

// A source stands in a run loop once at most.
void AddSource(CFRunLoopRef runLoop, CFStringRef mode, TRunLoopSource* source);
void RemoveSource(CFRunLoopRef runLoop, TRunLoopSource* source);

// Lets the run loop look at its sources again, from any thread.
void WakeRunLoop(CFRunLoopRef runLoop);

}   // namespace platform

#endif
