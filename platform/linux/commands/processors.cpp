#include "platform/linux/commands/machine.h"
#include "platform/linux/commands/text.h"
#include "platform/linux/mount_table.h"

#include <algorithm>
#include <map>
#include <set>

namespace mirovan::commands
{
namespace
{

/// What /proc/cpuinfo says of one processor, or of all in common.
using Entry = std::map<std::string, std::string, std::less<>>;

const std::string& text_of(const Entry& entry, std::string_view key)
{
    static const std::string nothing;
    const auto found = entry.find(key);
    return found == entry.end() ? nothing : found->second;
}

/// An empty line ends an entry. A colon separates key and value.
std::vector<Entry> read_entries(std::string_view text)
{
    std::vector<Entry> entries(1);
    while (const auto line = platform::next_line(text))
    {
        const std::size_t colon = line->find(':');
        if (trimmed(*line).empty() && !entries.back().empty())
            entries.emplace_back();
        else if (colon != std::string_view::npos)
            entries.back().try_emplace(std::string{trimmed(line->substr(0, colon))},
                                       trimmed(line->substr(colon + 1)));
    }
    return entries;
}

/// The usual name of an Arm part, which reports only numbers.
std::string_view arm_part(std::string_view implementer, std::string_view part)
{
    constexpr struct
    {
        std::string_view part;
        std::string_view name;
    } parts[] = {
        {"0xb76", "ARM1176"},     {"0xc07", "Cortex-A7"},   {"0xc08", "Cortex-A8"},
        {"0xc09", "Cortex-A9"},   {"0xc0f", "Cortex-A15"},  {"0xd03", "Cortex-A53"},
        {"0xd04", "Cortex-A35"},  {"0xd05", "Cortex-A55"},  {"0xd07", "Cortex-A57"},
        {"0xd08", "Cortex-A72"},  {"0xd09", "Cortex-A73"},  {"0xd0a", "Cortex-A75"},
        {"0xd0b", "Cortex-A76"},  {"0xd0c", "Neoverse-N1"}, {"0xd0d", "Cortex-A77"},
        {"0xd40", "Neoverse-V1"}, {"0xd41", "Cortex-A78"},  {"0xd44", "Cortex-X1"},
        {"0xd46", "Cortex-A510"}, {"0xd47", "Cortex-A710"}, {"0xd48", "Cortex-X2"},
        {"0xd49", "Neoverse-N2"}, {"0xd4f", "Neoverse-V2"},
    };
    constexpr std::string_view arm = "0x41";
    for (const auto& known : parts)
        if (implementer == arm && part == known.part)
            return known.name;
    return {};
}

/// A name without the speed that some end in.
std::string name_of(const Entry& entry)
{
    for (const char* key : {"model name", "cpu model", "cpu", "uarch"})
    {
        const std::string& text = text_of(entry, key);
        if (!text.empty())
            return std::string{trimmed(before(text, '@'))};
    }
    return std::string{arm_part(text_of(entry, "CPU implementer"), text_of(entry, "CPU part"))};
}

/// The different names, since one machine may have fast and economical processors.
std::string names_of(const std::vector<Entry>& entries)
{
    std::string names;
    std::set<std::string> seen;
    for (const Entry& entry : entries)
    {
        const std::string name = name_of(entry);
        if (!name.empty() && seen.insert(name).second)
            names += (names.empty() ? "" : ", ") + name;
    }
    return names;
}

/// A decimal number, with a point in every locale, times a power of ten; 0 for anything else.
std::uint64_t scaled_number(std::string_view text, std::uint64_t scale)
{
    const auto whole = leading_number(text);
    constexpr std::uint64_t limit = 1'000'000'000;
    if (!whole || *whole > limit)
        return 0;
    std::uint64_t value = *whole * scale;
    for (; !text.empty() && text.front() >= '0' && text.front() <= '9'; text.remove_prefix(1))
        value += static_cast<std::uint64_t>(text.front() - '0') * (scale /= 10);
    return value;
}

/// The speed that a name such as "Core i7-8850H CPU @ 2.60GHz" ends in.
std::uint64_t advertised_kilohertz(const Entry& entry)
{
    const std::string& name = text_of(entry, "model name");
    const std::size_t at = name.rfind('@');
    if (at == std::string::npos)
        return 0;
    constexpr std::uint64_t per_gigahertz = 1'000'000;
    constexpr std::uint64_t per_megahertz = 1'000;
    return scaled_number(trimmed(std::string_view{name}.substr(at + 1)),
                         name.ends_with("MHz") ? per_megahertz : per_gigahertz);
}

std::vector<std::string> processor_folders(const System& system)
{
    const std::string folder = "/sys/devices/system/cpu/";
    std::vector<std::string> folders;
    for (const std::string& name : system.list(folder))
        if (name.starts_with("cpu") && name.size() > 3 &&
            name.find_first_not_of("0123456789", 3) == std::string::npos)
            folders.push_back(folder + name);
    return folders;
}

std::uint64_t highest_kilohertz(const System& system)
{
    std::uint64_t highest = 0;
    for (const std::string& folder : processor_folders(system))
    {
        const std::string text = system.read(folder + "/cpufreq/cpuinfo_max_freq");
        std::string_view rest = text;
        highest = std::max(highest, leading_number(rest).value_or(0));
    }
    return highest;
}

std::uint64_t kilohertz_of(const System& system, const std::vector<Entry>& entries)
{
    const std::uint64_t advertised = advertised_kilohertz(entries.front());
    if (advertised != 0)
        return advertised;
    const std::uint64_t highest = highest_kilohertz(system);
    if (highest != 0)
        return highest;
    constexpr std::uint64_t per_megahertz = 1'000;
    for (const char* key : {"cpu MHz", "clock", "cpu MHz dynamic"})
        if (const auto now = scaled_number(text_of(entries.front(), key), per_megahertz); now != 0)
            return now;
    return 0;
}

/// The package and the core that each processor is a part of.
using Places = std::set<std::pair<std::string, std::string>>;

Places places_in_entries(const std::vector<Entry>& entries)
{
    Places places;
    for (const Entry& entry : entries)
        if (!text_of(entry, "core id").empty())
            places.emplace(text_of(entry, "physical id"), text_of(entry, "core id"));
    return places;
}

Places places_in_folders(const System& system)
{
    Places places;
    for (const std::string& folder : processor_folders(system))
    {
        const std::string core = system.read(folder + "/topology/core_id");
        if (!core.empty())
            places.emplace(system.read(folder + "/topology/physical_package_id"), core);
    }
    return places;
}

void count(const System& system, const std::vector<Entry>& entries, Processors& processors)
{
    Places places = places_in_entries(entries);
    if (places.empty())
        places = places_in_folders(system);
    std::set<std::string> packages;
    for (const auto& [package, core] : places)
        packages.insert(package);
    processors.packages = packages.size();
    processors.cores = places.size();
}

} // namespace

Processors read_processors(const System& system)
{
    const std::vector<Entry> entries = read_entries(system.read("/proc/cpuinfo"));
    Processors processors{.name = names_of(entries), .kilohertz = kilohertz_of(system, entries)};
    count(system, entries, processors);
    return processors;
}

} // namespace mirovan::commands
