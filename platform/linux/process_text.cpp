#include "platform/linux/process_text.h"

#include "platform/linux/read_number.h"

#include <algorithm>
#include <array>
#include <limits>
#include <mach/thread_info.h>
#include <sys/proc.h>

namespace mirovan::platform
{
namespace
{

std::string_view next_word(std::string_view& text)
{
    constexpr std::string_view blanks = " \t\n";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(blanks));
    text.remove_prefix(word.size());
    return word;
}

} // namespace

std::optional<ProcessStat> parse_process_stat(std::string_view text)
{
    // The name may hold anything, parentheses and newlines included; nothing behind it does.
    const std::size_t name_begin = text.find('(');
    const std::size_t name_end = text.rfind(')');
    if (name_begin == std::string_view::npos || name_end <= name_begin)
        return std::nullopt;

    constexpr std::size_t first = 3;
    constexpr std::size_t last = 38;
    std::array<std::string_view, last + 1> fields;
    std::string_view rest = text.substr(name_end + 1);
    for (std::size_t number = first; number <= last; ++number)
        fields[number] = next_word(rest);

    ProcessStat stat;
    std::int64_t exit_signal = 0;
    if (!read_number(fields[4], stat.parent) || !read_number(fields[10], stat.minor_faults) ||
        !read_number(fields[12], stat.major_faults) || !read_number(fields[14], stat.user_ticks) ||
        !read_number(fields[15], stat.system_ticks) || !read_number(fields[19], stat.nice) ||
        !read_number(fields[20], stat.threads) || !read_number(fields[22], stat.start_ticks) ||
        !read_number(fields[38], exit_signal) || stat.threads == 0)
        return std::nullopt;
    stat.name = text.substr(name_begin + 1, name_end - name_begin - 1);
    stat.state = fields[3].front();
    // What the kernel itself goes by.
    stat.leads = exit_signal >= 0;
    return stat;
}

std::optional<ProcessMemory> parse_process_memory(std::string_view text)
{
    ProcessMemory memory;
    if (!read_number(next_word(text), memory.virtual_pages) ||
        !read_number(next_word(text), memory.resident_pages) || text.empty())
        return std::nullopt;
    return memory;
}

std::uint32_t process_status(char state)
{
    switch (state)
    {
    case 'T':
    case 't':
        return SSTOP;
    case 'Z':
    case 'X':
        return SZOMB;
    case 'D':
        return SSLEEP;
    case 'I':
        return SIDL;
    default:
        return SRUN;
    }
}

std::int64_t start_second(std::uint64_t start_ticks, std::uint64_t ticks_per_second,
                          std::int64_t boot_second)
{
    return boot_second + static_cast<std::int64_t>(start_ticks / ticks_per_second);
}

std::int32_t usage_share(const ProcessStat& stat, std::uint64_t ticks_per_second,
                         double seconds_since_boot)
{
    const auto rate = static_cast<double>(ticks_per_second);
    const double age = seconds_since_boot - static_cast<double>(stat.start_ticks) / rate;
    if (age <= 0)
        return 0;
    const double share =
        static_cast<double>(stat.user_ticks + stat.system_ticks) / rate / age * TH_USAGE_SCALE;
    constexpr double most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(share, most));
}

} // namespace mirovan::platform
