#pragma once

#include <mach/host_info.h>

#include <cstdint>
#include <ctime>

namespace mirovan
{

/// When the system started: whole seconds of uptime before the present second.
std::time_t start_time(std::time_t now, std::uint64_t milliseconds_since_start);

/// The share of idle ticks in whole percent, cut off; 0 when there are no ticks.
unsigned long idle_percent(const host_cpu_load_info_data_t& load);

} // namespace mirovan
