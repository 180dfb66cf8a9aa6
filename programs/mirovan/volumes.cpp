#include "facts.h"

#include "commands.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace program
{

namespace
{

constexpr std::size_t bar_columns = 20;

} // namespace

int volumes(const VolumesOptions& options)
{
    const Screen screen{stdout};
    unsigned flags = 0;
    if (options.all)
        flags |= MIROVAN_VOLUMES_ALL_MOUNTS;
    if (options.network)
        flags |= MIROVAN_VOLUMES_NETWORK_SIZES;
    auto all = mirovan::hardware::volumes(flags);
    std::stable_sort(all.begin(), all.end(),
                     [](const auto& a, const auto& b) { return a.mount_point < b.mount_point; });
    bool is_one_fuller = false;
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    Table table{{{"VOLUME", false, 10, true},
                 {"", false, 6},
                 {"USED", true, 9},
                 {"SIZE", true, 7},
                 {"AVAILABLE", true, 8},
                 {"TYPE", false, 4},
                 {"DEVICE", false, 3}}};
    for (const auto& volume : all)
    {
        const std::optional<double> ratio = used_ratio(volume);
        if (options.limit >= 0 && !(ratio && *ratio > options.limit))
            continue;
        is_one_fuller = true;
        list.push_back(volume_json(volume));
        const auto bytes = [](const auto& size) { return size ? human_bytes(*size) : "?"; };
        const auto colour = ratio ? colour_of(*ratio) : Colour::none;
        table.add({harmless(volume.mount_point.native()),
                   ratio ? screen.paint(colour, bar(*ratio, bar_columns)) : "",
                   ratio ? human_percent(*ratio) : "?", bytes(volume.total),
                   bytes(volume.available),
                   harmless(volume.type) + (volume.read_only.value_or(false) ? " (read-only)" : ""),
                   harmless(volume.device)});
    }
    if (options.json)
        put(list.dump(2) + '\n');
    else if (!list.empty())
        put(table.lines(screen));
    return options.limit >= 0 && is_one_fuller ? 1 : 0;
}

} // namespace program
