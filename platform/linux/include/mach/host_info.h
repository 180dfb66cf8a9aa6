#pragma once

#include <mach/mach_types.h>

#include <cstdint>

using vm_size_t = uintptr_t;
using vm_address_t = uintptr_t;
using host_flavor_t = integer_t;
using host_info_t = integer_t*;

constexpr host_flavor_t HOST_VM_INFO = 2;

// The member that the services read.
struct vm_statistics
{
    natural_t free_count;
};
using vm_statistics_data_t = vm_statistics;

constexpr int CPU_STATE_USER = 0;
constexpr int CPU_STATE_SYSTEM = 1;
constexpr int CPU_STATE_IDLE = 2;
constexpr int CPU_STATE_NICE = 3;
constexpr int CPU_STATE_MAX = 4;

constexpr mach_msg_type_number_t HOST_VM_INFO_COUNT =
    sizeof(vm_statistics_data_t) / sizeof(integer_t);
