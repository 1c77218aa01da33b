// A program's link to Disk Arbitration.

#ifndef HALVORIX_PLATFORM_DASESSION_H
#define HALVORIX_PLATFORM_DASESSION_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFRunLoop.h>

extern "C" {

typedef struct __DASession* DASessionRef;

CFTypeID DASessionGetTypeID(void);

// Release it on the thread of its run loop; that takes it off the run loop.
DASessionRef DASessionCreate(CFAllocatorRef allocator);

// From now on what happens to disks is told on that run loop, when it runs in that mode. One run loop at a time.
void DASessionScheduleWithRunLoop(DASessionRef session, CFRunLoopRef runLoop, CFStringRef runLoopMode);
void DASessionUnscheduleFromRunLoop(DASessionRef session, CFRunLoopRef runLoop, CFStringRef runLoopMode);
}

#endif
