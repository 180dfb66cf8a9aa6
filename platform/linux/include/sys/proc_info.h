#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

constexpr std::size_t MAXCOMLEN = 16;

constexpr int PROC_PIDTASKALLINFO = 2;
constexpr int PROC_PIDTHREADINFO = 5;
constexpr int PROC_PIDLISTTHREADS = 6;

// The members that Linux can fill and the services read, in their documented order.

struct proc_bsdinfo
{
    uint32_t pbi_status;
    uint32_t pbi_ppid;
    uid_t pbi_uid;
    char pbi_comm[MAXCOMLEN];
    char pbi_name[2 * MAXCOMLEN];
    int32_t pbi_nice;
    uint64_t pbi_start_tvsec;
    uint64_t pbi_start_tvusec;
};

struct proc_taskinfo
{
    uint64_t pti_virtual_size;
    uint64_t pti_resident_size;
    uint64_t pti_total_user; // In units of mach_absolute_time().
    uint64_t pti_total_system;
    int32_t pti_faults;
    int32_t pti_pageins;
    int32_t pti_threadnum;
    int32_t pti_numrunning;
};

struct proc_taskallinfo
{
    proc_bsdinfo pbsd;
    proc_taskinfo ptinfo;
};

struct proc_threadinfo
{
    int32_t pth_cpu_usage;
};
