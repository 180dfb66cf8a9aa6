#include "platform/linux/host_counters.h"

#include "platform/linux/mount_table.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace mirovan::platform
{
namespace
{

/// Takes the number at the front of a text, after spaces; nothing if there is none.
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

/// The counters of a line "cpuN ..."; nothing if it is not of that form.
std::optional<processor_cpu_load_info> processor_load(std::string_view counters)
{
    // user nice system idle iowait irq softirq steal; what follows is counted in these already. Old
    // kernels have the first four alone.
    std::array<std::uint64_t, 8> known{};
    // Beyond any machine's life; bounded so that no sum over all processors wraps.
    constexpr std::uint64_t most = std::uint64_t{1} << 44U;
    std::size_t count = 0;
    for (; count < known.size(); ++count)
    {
        const auto counter = take_number(counters);
        if (!counter)
            break;
        known[count] = std::min(*counter, most);
    }
    if (count < 4)
        return std::nullopt;

    const auto& [user, nice, system, idle, iowait, irq, softirq, steal] = known;
    processor_cpu_load_info load{};
    load.cpu_ticks[CPU_STATE_USER] = user;
    load.cpu_ticks[CPU_STATE_NICE] = nice;
    load.cpu_ticks[CPU_STATE_SYSTEM] = system + irq + softirq + steal;
    load.cpu_ticks[CPU_STATE_IDLE] = idle + iowait;
    return load;
}

} // namespace

std::optional<std::uint64_t> keyed_value(std::string_view text, std::string_view key)
{
    while (auto line = next_line(text))
    {
        if (!line->starts_with(key) || line->substr(key.size(), 1) != " ")
            continue;
        line->remove_prefix(key.size());
        return take_number(*line);
    }
    return std::nullopt;
}

Memory memory_counters(std::string_view meminfo)
{
    const auto bytes = [&](std::string_view key) -> std::optional<std::uint64_t>
    {
        const auto kibibytes = keyed_value(meminfo, key);
        if (!kibibytes)
            return std::nullopt;
        return *kibibytes * 1024;
    };
    const auto sum = [&](auto first, auto... others)
    {
        auto total = bytes(first);
        if (total)
            *total += (bytes(others).value_or(0) + ...);
        return total;
    };
    Memory memory;
    memory.total = bytes("MemTotal:");
    memory.available = bytes("MemAvailable:");
    memory.free = bytes("MemFree:");
    // What cannot be paged out: locked pages and the kernel's own.
    memory.wired = sum("Unevictable:", "SUnreclaim:", "KernelStack:", "PageTables:", "Percpu:");
    memory.compressed = bytes("Zswap:");
    memory.cached = sum("Cached:", "Buffers:", "SReclaimable:");
    memory.swap_total = bytes("SwapTotal:");
    const auto swap_free = bytes("SwapFree:");
    if (memory.swap_total && swap_free)
        memory.swap_used = *memory.swap_total - std::min(*swap_free, *memory.swap_total);
    return memory;
}

std::vector<processor_cpu_load_info> processor_loads(std::string_view stat)
{
    // The kernel itself is built for no more.
    constexpr std::uint64_t most_processors = 1U << 16U;
    constexpr std::string_view key = "cpu";
    std::vector<processor_cpu_load_info> loads;
    while (auto line = next_line(stat))
    {
        if (!line->starts_with(key))
            break;
        line->remove_prefix(key.size());
        if (line->starts_with(' '))
            continue; // All of them together.
        const auto number = take_number(*line);
        const auto load = processor_load(*line);
        if (!number || *number >= most_processors || !load)
            continue;
        if (loads.size() <= *number)
            loads.resize(*number + 1);
        loads[*number] = *load;
    }
    return loads;
}

} // namespace mirovan::platform
