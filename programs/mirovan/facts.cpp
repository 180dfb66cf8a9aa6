#include "facts.h"

#include "text.h"

#include <nlohmann/json.hpp>

#include <array>
#include <map>
#include <pwd.h>

namespace program
{

using json = nlohmann::ordered_json;

std::optional<double> used_ratio(const mirovan::hardware::volume_details& volume)
{
    if (!volume.total || !volume.free || !volume.available)
        return {};
    const std::uint64_t used = *volume.total - std::min(*volume.free, *volume.total);
    const std::uint64_t usable = used + *volume.available;
    if (usable == 0)
        return {};
    return static_cast<double>(used) / static_cast<double>(usable);
}

json text_fact(const std::string& text)
{
    return text.empty() ? json(nullptr) : json(valid_utf8(text));
}

json volume_json(const mirovan::hardware::volume_details& volume)
{
    return {{"mount_point", valid_utf8(volume.mount_point.native())},
            {"device", text_fact(volume.device)},
            {"type", text_fact(volume.type)},
            {"label", text_fact(volume.label)},
            {"total_bytes", fact(volume.total)},
            {"free_bytes", fact(volume.free)},
            {"available_bytes", fact(volume.available)},
            {"used_ratio", fact(used_ratio(volume))},
            {"read_only", fact(volume.read_only)},
            {"removable", fact(volume.removable)},
            {"local", fact(volume.local)}};
}

std::string user_name(unsigned id)
{
    static std::map<unsigned, std::string> known;
    auto [place, is_new] = known.try_emplace(id, std::to_string(id));
    if (is_new)
    {
        std::array<char, 4096> buffer{};
        passwd entry{};
        passwd* found = nullptr;
        if (getpwuid_r(id, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
            place->second = found->pw_name;
    }
    return place->second;
}

} // namespace program
