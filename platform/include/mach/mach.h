// Mach's ports and return codes, as far as IOKit's interface shows them.

#ifndef HALVORIX_PLATFORM_MACH_H
#define HALVORIX_PLATFORM_MACH_H

extern "C" {

typedef unsigned int mach_port_t;
typedef mach_port_t task_port_t;
typedef int kern_return_t;
typedef kern_return_t mach_error_t;
typedef int boolean_t;   // as on PowerPC and 32-bit Intel

#define MACH_PORT_NULL 0

#define KERN_SUCCESS 0
#define KERN_INVALID_ARGUMENT 4
#define KERN_FAILURE 5
#define KERN_INVALID_NAME 15

// What a call to something that is gone, or was never there, returns.
#define MACH_SEND_INVALID_DEST 0x10000003

extern mach_port_t mach_task_self_;
#define mach_task_self() mach_task_self_
}

#endif
