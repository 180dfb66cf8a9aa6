#pragma once

#include <cstdint>
#include <ctime>

namespace mirovan
{

/// The start time of the system: the current second minus the uptime in whole seconds.
std::time_t start_time(std::time_t now, std::uint64_t milliseconds_since_start);

} // namespace mirovan
