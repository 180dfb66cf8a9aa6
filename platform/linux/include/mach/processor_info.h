#pragma once

#include <mach/host_info.h>
#include <mach/mach_types.h>

#include <cstdint>

using processor_flavor_t = integer_t;
using processor_info_array_t = integer_t*;

constexpr processor_flavor_t PROCESSOR_CPU_LOAD_INFO = 2;

struct processor_cpu_load_info
{
    /// Those of macOS have 32 bits and wrap, those of Linux do not.
    uint64_t cpu_ticks[CPU_STATE_MAX];
};
using processor_cpu_load_info_data_t = processor_cpu_load_info;
