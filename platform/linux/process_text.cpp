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

/// The rest of the line that begins with a key; empty when there is none.
std::string_view line_of(std::string_view text, std::string_view key)
{
    const std::size_t at = text.find(key);
    if (at == std::string_view::npos)
        return {};
    const std::string_view rest = text.substr(at + key.size());
    return rest.substr(0, rest.find('\n'));
}

/// The number in a line; false when it has none.
template <class Number>
bool read_line(std::string_view text, std::string_view key, Number& number)
{
    std::string_view line = line_of(text, key);
    return read_number(next_word(line), number);
}

/// A size in bytes, given in kB; 0 when its line is missing.
std::uint64_t read_size(std::string_view text, std::string_view key)
{
    constexpr std::uint64_t bytes_per_kilobyte = 1024;
    std::uint64_t kilobytes = 0;
    return read_line(text, key, kilobytes) ? kilobytes * bytes_per_kilobyte : 0;
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
    constexpr std::size_t last = 22;
    std::array<std::string_view, last + 1> fields;
    std::string_view rest = text.substr(name_end + 1);
    for (std::size_t number = first; number <= last; ++number)
        fields[number] = next_word(rest);

    ProcessStat stat{text.substr(name_begin + 1, name_end - name_begin - 1), 0, 0, 0};
    std::uint64_t threads = 0;
    std::uint64_t user_ticks = 0;
    std::uint64_t system_ticks = 0;
    if (!read_number(fields[12], stat.major_faults) || !read_number(fields[14], user_ticks) ||
        !read_number(fields[15], system_ticks) || !read_number(fields[20], threads) ||
        !read_number(fields[22], stat.start_ticks) || threads == 0)
        return std::nullopt;
    stat.used_ticks = user_ticks + system_ticks;
    return stat;
}

std::optional<ProcessStatus> parse_process_status(std::string_view text)
{
    // Here the kernel writes the name, which comes first, without newlines: no line can be forged.
    const std::string_view state = line_of(text, "\nState:\t");
    std::string_view users = line_of(text, "\nUid:\t");
    ProcessStatus status{};
    next_word(users);
    if (state.empty() || !read_number(next_word(users), status.effective_user) ||
        !read_line(text, "\nTgid:\t", status.thread_group) ||
        !read_line(text, "\nThreads:\t", status.threads) || status.threads == 0)
        return std::nullopt;
    status.state = state.front();
    status.virtual_size = read_size(text, "\nVmSize:\t");
    status.resident_size = read_size(text, "\nVmRSS:\t");
    return status;
}

std::uint32_t process_status(char state)
{
    switch (state)
    {
    case 'R':
        return SRUN;
    case 'T':
    case 't':
        return SSTOP;
    case 'Z':
    case 'X':
        return SZOMB;
    default:
        return SSLEEP;
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
    const double share = static_cast<double>(stat.used_ticks) / rate / age * TH_USAGE_SCALE;
    constexpr double most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(share, most));
}

} // namespace mirovan::platform
