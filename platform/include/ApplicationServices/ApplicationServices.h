// ApplicationServices, the part that is called: CoreServices and the Process Manager.

#ifndef HALVORIX_PLATFORM_APPLICATIONSERVICES_H
#define HALVORIX_PLATFORM_APPLICATIONSERVICES_H

#include <ApplicationServices/Processes.h>
#include <CoreServices/CoreServices.h>

#endif
