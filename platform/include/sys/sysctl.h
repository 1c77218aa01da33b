// Darwin's sysctl: the kernel's table of processes.

#ifndef HALVORIX_PLATFORM_SYSCTL_H
#define HALVORIX_PLATFORM_SYSCTL_H

#include <cstddef>
#include <sys/types.h>

extern "C" {

#define CTL_KERN 1
#define KERN_PROC 14
#define KERN_PROC_ALL 0

// Characters of a command's name that the kernel keeps.
#ifndef MAXCOMLEN
#define MAXCOMLEN 16
#endif

// The records of a 32-bit PowerPC Mac, on every host; what is not named is zero.
struct extern_proc
{
    char fUnnamed0[24];
    pid_t p_pid;
    char fUnnamed28[135];
    char p_comm[MAXCOMLEN + 1];
    char fUnnamed180[16];
};

struct kinfo_proc
{
    struct extern_proc kp_proc;
    char fUnnamed196[296];
};

static_assert(offsetof(extern_proc, p_pid) == 24 && offsetof(extern_proc, p_comm) == 163,
              "Darwin's offsets on PowerPC");
static_assert(sizeof(extern_proc) == 196 && sizeof(kinfo_proc) == 492, "Darwin's sizes on PowerPC");

// Reads { CTL_KERN, KERN_PROC, KERN_PROC_ALL }, an array of struct kinfo_proc, zombies included; other names fail with
// ENOENT. As Darwin has it:
//
// oldValue  null: *oldSize receives what the table needs, with room for five more processes
// oldSize   in: bytes at oldValue; out: bytes written
// newValue  null: the table cannot be written (EPERM)
// returns   0, or -1 with errno: ENOMEM when the table does not fit; as many whole records as do fit are written then
int sysctl(int* name, u_int levels, void* oldValue, size_t* oldSize, void* newValue, size_t newSize);
}

#endif
