#include "platform/linux/host_figures.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace mirovan::platform
{
namespace
{

/// Takes the number at the front of a text, behind blanks; nothing when there is none.
std::optional<std::uint64_t> take_number(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{})
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

} // namespace

std::optional<std::uint64_t> keyed_figure(std::string_view text, std::string_view key)
{
    while (!text.empty())
    {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.size() <= key.size() || line.substr(0, key.size()) != key ||
            line[key.size()] != ' ')
            continue;
        std::string_view rest = line.substr(key.size());
        return take_number(rest);
    }
    return std::nullopt;
}

std::optional<vm_statistics> memory_statistics(std::string_view meminfo, std::string_view vmstat,
                                               std::uint64_t page_size)
{
    const auto free_kibibytes = keyed_figure(meminfo, "MemFree:");
    if (!free_kibibytes)
        return std::nullopt;
    const std::uint64_t kibibytes_per_page = page_size / 1024;
    // The counters of the home platform have 32 bits and wrap as well.
    const auto pages = [&](std::string_view key)
    { return static_cast<natural_t>(keyed_figure(meminfo, key).value_or(0) / kibibytes_per_page); };
    const auto events = [&](std::string_view key)
    { return static_cast<natural_t>(keyed_figure(vmstat, key).value_or(0)); };
    const auto transfers = [&](std::string_view key)
    { return static_cast<natural_t>(keyed_figure(vmstat, key).value_or(0) / kibibytes_per_page); };

    vm_statistics statistics{};
    statistics.free_count = static_cast<natural_t>(*free_kibibytes / kibibytes_per_page);
    statistics.active_count = pages("Active:");
    statistics.inactive_count = pages("Inactive:");
    // What cannot be paged out: locked pages and the kernel's own.
    statistics.wire_count = pages("Unevictable:") + pages("SUnreclaim:") + pages("KernelStack:") +
                            pages("PageTables:") + pages("Percpu:");
    statistics.reactivations = events("pgactivate");
    statistics.pageins = transfers("pgpgin");
    statistics.pageouts = transfers("pgpgout");
    statistics.faults = events("pgfault");
    statistics.purges = events("pglazyfreed");
    return statistics;
}

std::optional<host_cpu_load_info> processor_load(std::string_view stat)
{
    constexpr std::string_view key = "cpu ";
    if (stat.substr(0, key.size()) != key)
        return std::nullopt;
    std::string_view line = stat.substr(key.size(), stat.find('\n') - key.size());
    // user nice system idle iowait irq softirq steal; what follows is counted in these already. Old
    // kernels have the first four alone.
    std::array<std::uint64_t, 8> figures{};
    // Beyond any machine's life; bounded so that no sum of them wraps.
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max() / figures.size();
    std::size_t known = 0;
    for (; known < figures.size(); ++known)
    {
        const auto figure = take_number(line);
        if (!figure)
            break;
        figures[known] = std::min(*figure, most);
    }
    if (known < 4)
        return std::nullopt;

    const auto& [user, nice, system, idle, iowait, irq, softirq, steal] = figures;
    std::array<std::uint64_t, CPU_STATE_MAX> ticks{};
    ticks[CPU_STATE_USER] = user;
    ticks[CPU_STATE_NICE] = nice;
    ticks[CPU_STATE_SYSTEM] = system + irq + softirq + steal;
    ticks[CPU_STATE_IDLE] = idle + iowait;

    const std::uint64_t sum = ticks[0] + ticks[1] + ticks[2] + ticks[3];
    unsigned shift = 0;
    while (sum >> shift > std::numeric_limits<natural_t>::max())
        ++shift;
    host_cpu_load_info load{};
    for (std::size_t state = 0; state < ticks.size(); ++state)
        load.cpu_ticks[state] = static_cast<natural_t>(ticks[state] >> shift);
    return load;
}

} // namespace mirovan::platform
