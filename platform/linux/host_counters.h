#pragma once

#include "platform/host.h"

#include <mach/processor_info.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace mirovan::platform
{

/// The number after a key at the start of a line, such as "MemFree:" of /proc/meminfo or "btime" of
/// /proc/stat.
std::optional<std::uint64_t> keyed_value(std::string_view text, std::string_view key);

/// The values of /proc/meminfo in bytes; the limit of the process is none of them.
Memory memory_counters(std::string_view meminfo);

/// The ticks of each processor in /proc/stat, by its number. A processor that is not listed, because
/// it is offline, has counters of 0.
std::vector<processor_cpu_load_info> processor_loads(std::string_view stat);

} // namespace mirovan::platform
