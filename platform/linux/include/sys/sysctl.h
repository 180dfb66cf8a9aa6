#pragma once

#include <cstddef>
#include <sys/proc_info.h>
#include <sys/time.h>

constexpr int CTL_KERN = 1;
constexpr int KERN_PROC = 14;
constexpr int KERN_PROC_PID = 1;
constexpr int KERN_BOOTTIME = 21;

constexpr int CTL_HW = 6;
constexpr int HW_NCPU = 3;
constexpr int HW_MEMSIZE = 24;
constexpr int HW_AVAILCPU = 25;

struct extern_proc
{
    timeval p_starttime;
    char p_stat;
    pid_t p_pid;
    char p_nice;
    char p_comm[MAXCOMLEN + 1];
};

struct eproc
{
    struct
    {
        uid_t cr_uid;
    } e_ucred;
    pid_t e_ppid;
};

/// What everybody may know of a process: the members that the services read.
struct kinfo_proc
{
    extern_proc kp_proc;
    eproc kp_eproc;
};

// The C library may still have a call of this name, for the kernel's own tree of values.
extern "C" int sysctl(int* name, unsigned int namelen, void* oldp, std::size_t* oldlenp, void* newp,
                      std::size_t newlen) __asm__("mirovan_linux_sysctl");
