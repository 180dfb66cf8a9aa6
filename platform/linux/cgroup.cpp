#include "platform/linux/cgroup.h"

#include "platform/linux/host_counters.h"
#include "platform/linux/mount_table.h"
#include "platform/linux/read_number.h"
#include "platform/linux/read_text.h"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace mirovan::platform
{
namespace
{

/// Where the files of one control group are, and which groups around it can be seen.
struct Group
{
    std::string folder; ///< of the outermost group
    std::string path;   ///< of the group in that folder; empty, or with a '/' in front
    bool unified;       ///< version 2
};

/// What a controller limits: true from the limit of one group, or false with errno set.
using ReadLimit = bool (*)(const Group& group, const std::string& folder,
                           std::optional<std::uint64_t>& limit);

/// Reads a file that need not exist: without it, or when its group is being removed, the text is
/// empty.
bool read_optional(const std::string& path, std::string& text)
{
    if (read_text(path.c_str(), text))
        return true;
    text.clear();
    return errno == ENOENT || errno == ENOTDIR || errno == ENODEV;
}

bool has_item(std::string_view list, std::string_view item)
{
    while (!list.empty())
        if (next_field(list, ',') == item)
            return true;
    return false;
}

/// The path of this process's group in the hierarchy of a controller, from /proc/self/cgroup; the
/// unified hierarchy has the number 0 and lists no controllers.
std::optional<std::string> group_path(std::string_view groups, std::string_view controller,
                                      bool unified)
{
    while (auto line = next_line(groups))
    {
        const std::string_view number = next_field(*line, ':');
        const std::string_view controllers = next_field(*line, ':');
        if (unified ? number == "0" && controllers.empty() : has_item(controllers, controller))
            return std::string{*line};
    }
    return std::nullopt;
}

/// The group's path below the mount point. A mount shows the part of the hierarchy at its root; a
/// group outside of that part is seen as the mount point itself.
std::string path_below(const std::string& path, std::string_view root)
{
    if (root == "/")
        return path == "/" ? "" : path;
    if (path.starts_with(root) && path.substr(root.size(), 1) == "/")
        return path.substr(root.size());
    return "";
}

bool find_groups(const std::string& root, std::string_view controller, std::vector<Group>& groups)
{
    std::string own;
    if (!read_optional(root + "/proc/self/cgroup", own))
        return false;
    std::string mounts;
    if (!own.empty() && !read_optional(root + "/proc/self/mountinfo", mounts))
        return false;
    std::string_view rest = mounts;
    while (const auto line = next_line(rest))
    {
        if (line->find(" - cgroup") == std::string_view::npos)
            continue;
        const auto mount = parse_mount_line(*line);
        const bool unified = mount && mount->type == "cgroup2";
        if (!mount || (!unified && !has_item(mount->volume_options, controller)))
            continue;
        const auto path = group_path(own, controller, unified);
        // A path that leads out of the caller's own namespace.
        if (path && !path->starts_with("/.."))
            groups.push_back({root + unescape_octal(mount->point),
                              path_below(*path, unescape_octal(mount->root)), unified});
    }
    return true;
}

/// The lowest limit of a controller's groups, from the innermost to the outermost.
bool read_lowest(const std::string& root, std::string_view controller, ReadLimit read,
                 std::optional<std::uint64_t>& lowest)
{
    std::vector<Group> groups;
    if (!find_groups(root, controller, groups))
        return false;
    for (const Group& group : groups)
        for (std::string path = group.path;; path.resize(path.rfind('/')))
        {
            std::optional<std::uint64_t> limit;
            if (!read(group, group.folder + path, limit))
                return false;
            if (limit)
                lowest = std::min(*limit, lowest.value_or(*limit));
            if (path.empty())
                break;
        }
    return true;
}

bool read_memory(const Group& group, const std::string& folder, std::optional<std::uint64_t>& limit)
{
    // Version 1 says "none" by the largest number of pages.
    constexpr std::uint64_t none = std::uint64_t{1} << 62U;
    std::string text;
    std::uint64_t bytes = 0;
    if (group.unified)
    {
        if (!read_optional(folder + "/memory.max", text))
            return false;
        std::string_view rest = text;
        if (read_number(next_field(rest, '\n'), bytes))
            limit = bytes;
        return true;
    }
    // In version 1 the groups above limit it only if set so: the kernel reports the result.
    if (folder != group.folder + group.path)
        return true;
    if (!read_optional(folder + "/memory.stat", text))
        return false;
    bytes = keyed_value(text, "hierarchical_memory_limit").value_or(none);
    if (!read_optional(folder + "/memory.limit_in_bytes", text))
        return false;
    std::string_view rest = text;
    std::uint64_t own = none;
    if (read_number(next_field(rest, '\n'), own))
        bytes = std::min(bytes, own);
    if (bytes < none)
        limit = bytes;
    return true;
}

bool read_quota(const Group& group, const std::string& folder, std::optional<std::uint64_t>& limit)
{
    std::string text;
    if (group.unified)
    {
        if (!read_optional(folder + "/cpu.max", text))
            return false;
    }
    else
    {
        std::string period;
        if (!read_optional(folder + "/cpu.cfs_quota_us", text) ||
            !read_optional(folder + "/cpu.cfs_period_us", period))
            return false;
        std::replace(text.begin(), text.end(), '\n', ' ');
        text += period;
    }
    // "max" or -1 means no quota.
    std::string_view rest = text;
    std::uint64_t quota = 0;
    std::uint64_t period = 0;
    if (read_number(next_field(rest), quota) && read_number(next_field(rest, '\n'), period) &&
        period != 0)
        limit = quota / period + (quota % period != 0 ? 1 : 0);
    return true;
}

} // namespace

bool read_memory_limit(const std::string& root, std::optional<std::uint64_t>& bytes)
{
    return read_lowest(root, "memory", read_memory, bytes);
}

bool read_processor_quota(const std::string& root, std::optional<std::uint64_t>& processors)
{
    return read_lowest(root, "cpu", read_quota, processors);
}

} // namespace mirovan::platform
