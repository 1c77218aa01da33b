// Core Foundation, the part that is called.
//
// Ownership is Apple's: whoever got an object from a function with Create or Copy in its name gives it back with
// CFRelease; what a Get function returns stays its owner's. Every object is counted while it lives (platform/Counts.h),
// except CFSTR constants, kCFBooleanTrue and kCFBooleanFalse, and a thread's run loop.
// An object of the wrong type, a null one or a dead one ends the process with a message, as it would crash on a Mac.

#ifndef HALVORIX_PLATFORM_COREFOUNDATION_H
#define HALVORIX_PLATFORM_COREFOUNDATION_H

#include <CoreFoundation/CFBase.h>

#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFBundle.h>
#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFDate.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFNumber.h>
#include <CoreFoundation/CFPropertyList.h>
#include <CoreFoundation/CFRunLoop.h>
#include <CoreFoundation/CFString.h>
#include <CoreFoundation/CFURL.h>
#include <CoreFoundation/CFURLAccess.h>
#include <CoreFoundation/CFUUID.h>

#endif
