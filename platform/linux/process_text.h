#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// What the kernel writes of a process in /proc/PID/stat and /proc/PID/status, as records.
namespace mirovan::platform
{

struct ProcessStat
{
    std::string_view name; ///< Part of the text that was read.
    std::uint64_t major_faults;
    std::uint64_t used_ticks; ///< Processor time of all its threads, ended ones included.
    std::uint64_t start_ticks;
};

struct ProcessStatus
{
    char state;
    std::uint32_t effective_user;
    std::uint64_t thread_group;
    std::uint64_t threads;
    std::uint64_t virtual_size; ///< In bytes; 0 for what has no memory: a kernel thread, a zombie.
    std::uint64_t resident_size;
};

/// Empty when the text is not whole. Of a process that is just being removed the kernel writes a
/// text without threads, in which other figures are missing too: that is not whole either.
std::optional<ProcessStat> parse_process_stat(std::string_view text);
std::optional<ProcessStatus> parse_process_status(std::string_view text);

/// The home platform's process status for the kernel's letter.
std::uint32_t process_status(char state);

/// The second, of the clock in which the system started at boot_second, in which a process started.
std::int64_t start_second(std::uint64_t start_ticks, std::uint64_t ticks_per_second,
                          std::int64_t boot_second);

/// The share of a processor that a process used in its life, times TH_USAGE_SCALE.
std::int32_t usage_share(const ProcessStat& stat, std::uint64_t ticks_per_second,
                         double seconds_since_boot);

} // namespace mirovan::platform
