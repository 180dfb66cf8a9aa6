#include "platform/linux/mount_tree.h"

#include <algorithm>
#include <tuple>

namespace mirovan::platform
{
namespace
{

template <std::size_t Count>
bool is_one_of(std::string_view text, const std::string_view (&list)[Count])
{
    return std::find(std::begin(list), std::end(list), text) != std::end(list);
}

bool has_option(std::string_view options, std::string_view wanted)
{
    while (!options.empty())
        if (next_field(options, ',') == wanted)
            return true;
    return false;
}

bool has_server(std::string_view type)
{
    constexpr std::string_view types[] = {"nfs",  "nfs4", "cifs", "smb3",   "9p",       "afs",
                                          "ceph", "coda", "gfs2", "lustre", "virtiofs", "ocfs2"};
    return type.starts_with("fuse") || is_one_of(type, types);
}

bool is_root(const MountLine& mount)
{
    return mount.point == "/";
}

/// File systems on block devices that give their mounts a device number of no device.
bool numbers_its_own(std::string_view type)
{
    constexpr std::string_view types[] = {"btrfs", "bcachefs", "zfs"};
    return is_one_of(type, types);
}

bool is_on_device(const MountLine& mount)
{
    return mount.device.major != 0 || numbers_its_own(mount.type);
}

/// What a program mounts for its own use, or a container engine or package manager for others.
bool is_internal(const MountLine& mount)
{
    constexpr std::string_view types[] = {"fuse.gvfsd-fuse", "fuse.portal", "fuse.lxcfs",
                                          "fusectl"};
    constexpr std::string_view files[] = {"/etc/hosts", "/etc/hostname", "/etc/resolv.conf"};
    return is_one_of(mount.type, types) || is_one_of(mount.point, files) ||
           (mount.type == "squashfs" && mount.point.starts_with("/snap/"));
}

bool is_listed(const MountLine& mount, Volumes which)
{
    if (is_root(mount))
        return true;
    if (which == Volumes::on_devices)
        return is_on_device(mount);
    return (is_on_device(mount) || has_server(mount.type)) && !is_internal(mount);
}

/// Whether a mount shows a volume better than another does: the root folder comes before the rest,
/// the whole volume before a part of it.
bool is_better(const MountLine& mount, const MountLine& than)
{
    return !is_root(than) && (is_root(mount) || (mount.root == "/" && than.root != "/"));
}

} // namespace

bool is_read_only(const MountLine& mount)
{
    return has_option(mount.options, "ro") || has_option(mount.volume_options, "ro");
}

bool is_local(const MountLine& mount)
{
    return mount.device.major != 0 || (!has_server(mount.type) && mount.type != "autofs");
}

MountTree::MountTree(std::string_view table)
{
    while (const auto line = next_line(table))
        if (const auto mount = parse_mount_line(*line))
            mounts_.push_back(*mount);
    for (const MountLine& mount : mounts_)
    {
        by_id_.try_emplace(mount.id, &mount);
        last_at_[mount.point] = &mount;
    }
}

template <class Condition>
bool MountTree::any_ancestor(const MountLine& mount, const Condition& condition) const
{
    const MountLine* current = &mount;
    // A broken table could lead in a circle.
    for (std::size_t steps = mounts_.size(); steps != 0; --steps)
    {
        const auto parent = by_id_.find(current->parent);
        if (parent == by_id_.end() || parent->second == current)
            return false;
        current = parent->second;
        if (condition(*current))
            return true;
    }
    return false;
}

bool MountTree::is_covered(const MountLine& mount) const
{
    // What was mounted last at its mount point or at a folder on the way there decides.
    for (std::string_view path = mount.point;;)
    {
        const auto last = last_at_.find(path);
        if (last != last_at_.end() && last->second > &mount &&
            !any_ancestor(mount,
                          [&](const MountLine& ancestor) { return &ancestor == last->second; }))
            return true;
        const std::size_t slash = path.rfind('/');
        if (path.size() <= 1 || slash == std::string_view::npos)
            return false;
        path = path.substr(0, std::max<std::size_t>(slash, 1));
    }
}

bool MountTree::is_behind_server(const MountLine& mount) const
{
    return any_ancestor(mount, [](const MountLine& ancestor)
                        { return ancestor.point != "/" && has_server(ancestor.type); });
}

std::vector<const MountLine*> MountTree::volumes(Volumes which) const
{
    std::vector<const MountLine*> listed;
    std::map<std::tuple<std::string_view, unsigned, unsigned>, std::size_t> known;
    for (const MountLine& mount : mounts_)
    {
        if (!is_listed(mount, which) || is_covered(mount))
            continue;
        const auto identity =
            numbers_its_own(mount.type)
                ? std::tuple{mount.source, 0U, 0U}
                : std::tuple{std::string_view{}, mount.device.major, mount.device.minor};
        const auto [same, is_new] = known.try_emplace(identity, listed.size());
        if (is_new)
            listed.push_back(&mount);
        else if (is_better(mount, *listed[same->second]))
            listed[same->second] = &mount;
    }
    return listed;
}

} // namespace mirovan::platform
