// IOKit's types.

#ifndef HALVORIX_PLATFORM_IOTYPES_H
#define HALVORIX_PLATFORM_IOTYPES_H

#include <IOKit/IOReturn.h>
#include <MacTypes.h>

typedef UInt32 IOItemCount;
typedef UInt32 IOByteCount;
typedef UInt32 IOOptionBits;

// The sizes of the buffers that texts are copied into, with the byte that ends them.
typedef char io_name_t[128];
typedef char io_string_t[512];

typedef mach_port_t io_object_t;
typedef io_object_t io_connect_t;
typedef io_object_t io_iterator_t;
typedef io_object_t io_registry_entry_t;
typedef io_object_t io_service_t;

#define IO_OBJECT_NULL ((io_object_t)0)

#endif
