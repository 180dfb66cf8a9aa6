#pragma once

#include <cstdint>
#include <ctime>

namespace mirovan
{

/// When the system started: whole seconds of uptime before the present second.
std::time_t start_time(std::time_t now, std::uint64_t milliseconds_since_start);

} // namespace mirovan
