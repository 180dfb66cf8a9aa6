#pragma once

#include <mach/mach_types.h>

#include <cstdint>

using vm_size_t = uintptr_t;
using host_flavor_t = integer_t;
using host_info_t = integer_t*;

constexpr host_flavor_t HOST_VM_INFO = 2;
constexpr host_flavor_t HOST_CPU_LOAD_INFO = 3;

struct vm_statistics
{
    natural_t free_count;
    natural_t active_count;
    natural_t inactive_count;
    natural_t wire_count;
    natural_t zero_fill_count;
    natural_t reactivations;
    natural_t pageins;
    natural_t pageouts;
    natural_t faults;
    natural_t cow_faults;
    natural_t lookups;
    natural_t hits;
    natural_t purgeable_count;
    natural_t purges;
    natural_t speculative_count;
};
using vm_statistics_data_t = vm_statistics;

constexpr int CPU_STATE_USER = 0;
constexpr int CPU_STATE_SYSTEM = 1;
constexpr int CPU_STATE_IDLE = 2;
constexpr int CPU_STATE_NICE = 3;
constexpr int CPU_STATE_MAX = 4;

struct host_cpu_load_info
{
    natural_t cpu_ticks[CPU_STATE_MAX];
};
using host_cpu_load_info_data_t = host_cpu_load_info;

constexpr mach_msg_type_number_t HOST_VM_INFO_COUNT =
    sizeof(vm_statistics_data_t) / sizeof(integer_t);
constexpr mach_msg_type_number_t HOST_CPU_LOAD_INFO_COUNT =
    sizeof(host_cpu_load_info_data_t) / sizeof(integer_t);
