#pragma once

#include <mach/host_info.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace mirovan::platform
{

/// The value behind a key at the start of a line of /proc/meminfo or /proc/vmstat, such as
/// "MemFree:" or "pgfault".
std::optional<std::uint64_t> keyed_figure(std::string_view text, std::string_view key);

/// The memory statistics in pages; fields that Linux does not count are 0. Nothing when the texts
/// do not even tell of free memory.
std::optional<vm_statistics> memory_statistics(std::string_view meminfo, std::string_view vmstat,
                                               std::uint64_t page_size);

/// The load of all processors together from /proc/stat. The four counters are scaled down by the
/// same power of two until their sum fits the 32 bits that callers add them up in.
std::optional<host_cpu_load_info> processor_load(std::string_view stat);

} // namespace mirovan::platform
