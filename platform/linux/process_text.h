#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// What the kernel writes about a process in /proc/PID/stat and /proc/PID/statm, as records.
namespace mirovan::platform
{

struct ProcessStat
{
    std::string_view name = {}; ///< Part of the text that was read.
    char state = '\0';
    std::uint32_t parent = 0;
    std::uint64_t minor_faults = 0;
    std::uint64_t major_faults = 0;
    std::uint64_t user_ticks = 0; ///< Of all its threads, ended ones included.
    std::uint64_t system_ticks = 0;
    std::int32_t nice = 0;
    std::uint64_t threads = 0;
    std::uint64_t start_ticks = 0;
    bool leads = false; ///< A process; false for a thread that does not lead one.
};

struct ProcessMemory
{
    std::uint64_t virtual_pages = 0; ///< 0 for what has no memory: a kernel thread, a zombie.
    std::uint64_t resident_pages = 0;
};

/// Empty when the text is incomplete. Of a process that is just being removed the kernel writes a
/// text without threads, in which other values are missing too: that is incomplete as well.
std::optional<ProcessStat> parse_process_stat(std::string_view text);
std::optional<ProcessMemory> parse_process_memory(std::string_view text);

/// The process status of macOS for the kernel's letter.
std::uint32_t process_status(char state);

/// The second, of the clock in which the system started at boot_second, in which a process started.
std::int64_t start_second(std::uint64_t start_ticks, std::uint64_t ticks_per_second,
                          std::int64_t boot_second);

/// The average processor usage over the lifetime of a process, times TH_USAGE_SCALE.
std::int32_t usage_share(const ProcessStat& stat, std::uint64_t ticks_per_second,
                         double seconds_since_boot);

} // namespace mirovan::platform
