#include "platform/linux/commands/volumes.h"

#include "platform/linux/commands/text.h"
#include "platform/linux/mount_table.h"

#include <algorithm>
#include <map>

namespace mirovan::commands
{
namespace
{

using platform::MountLine;

/// The lines of the mount table, and how they lie on each other.
class MountTree
{
public:
    explicit MountTree(std::string_view table)
    {
        while (const auto line = platform::next_line(table))
            if (const auto mount = platform::parse_mount_line(*line))
                mounts_.push_back(*mount);
        for (const MountLine& mount : mounts_)
            by_id_.try_emplace(mount.id, &mount);
    }
    ~MountTree() = default;
    MountTree(const MountTree&) = delete;
    MountTree& operator=(const MountTree&) = delete;

    const std::vector<MountLine>& mounts() const { return mounts_; }

    /// Whether another was mounted over it later, so that its mount point leads there.
    bool is_covered(const MountLine& mount) const
    {
        return std::any_of(&mount + 1, mounts_.data() + mounts_.size(),
                           [&](const MountLine& later) {
                               return leads_through(mount.point, later.point) &&
                                      !is_ancestor(later, mount);
                           });
    }

    /// Whether the way to it leads over a volume whose server may not answer.
    bool is_behind_server(const MountLine& mount) const
    {
        return any_ancestor(mount, [](const MountLine& ancestor)
                            { return ancestor.point != "/" && has_server(ancestor.type); });
    }

private:
    static bool leads_through(std::string_view path, std::string_view folder)
    {
        return folder == "/" || (path.starts_with(folder) &&
                                 (path.size() == folder.size() || path[folder.size()] == '/'));
    }

    static bool has_server(std::string_view type)
    {
        constexpr std::string_view types[] = {"nfs",  "nfs4",   "cifs",     "smb3",
                                              "9p",   "afs",    "ceph",     "coda",
                                              "gfs2", "lustre", "virtiofs", "ocfs2"};
        return type.starts_with("fuse") ||
               std::find(std::begin(types), std::end(types), type) != std::end(types);
    }

    template <class Condition>
    bool any_ancestor(const MountLine& mount, const Condition& condition) const
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

    bool is_ancestor(const MountLine& upper, const MountLine& mount) const
    {
        return any_ancestor(mount,
                            [&](const MountLine& ancestor) { return ancestor.id == upper.id; });
    }

    std::vector<MountLine> mounts_;
    std::map<std::uint64_t, const MountLine*> by_id_;
};

/// File systems on block devices that give their mounts a device number of no device.
bool numbers_its_own(std::string_view type)
{
    return type == "btrfs" || type == "bcachefs";
}

bool is_root(const MountLine& mount)
{
    return mount.point == "/";
}

bool is_listed(const MountLine& mount)
{
    return is_root(mount) || mount.device.major != 0 || numbers_its_own(mount.type);
}

bool is_same_volume(const MountLine& one, const MountLine& other)
{
    return numbers_its_own(one.type) ? one.source == other.source : one.device == other.device;
}

/// Whether a mount shows a volume better than another does: the root folder comes before the rest,
/// the whole volume before a part of it.
bool is_better(const MountLine& mount, const MountLine& than)
{
    return !is_root(than) && (is_root(mount) || (mount.root == "/" && than.root != "/"));
}

std::vector<const MountLine*> listed_mounts(const MountTree& tree)
{
    std::vector<const MountLine*> listed;
    for (const MountLine& mount : tree.mounts())
    {
        if (!is_listed(mount) || tree.is_covered(mount))
            continue;
        const auto same =
            std::find_if(listed.begin(), listed.end(),
                         [&](const MountLine* other) { return is_same_volume(mount, *other); });
        if (same == listed.end())
            listed.push_back(&mount);
        else if (is_better(mount, **same))
            *same = &mount;
    }
    return listed;
}

bool has_option(std::string_view options, std::string_view wanted)
{
    while (!options.empty())
    {
        const std::string_view option = before(options, ',');
        if (option == wanted)
            return true;
        options.remove_prefix(std::min(option.size() + 1, options.size()));
    }
    return false;
}

std::string last_part(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

/// The name of the device below /dev; empty for a volume that is on none.
std::string device_name(const System& system, const MountLine& mount)
{
    const std::string source = platform::unescape_octal(mount.source);
    const auto [major, minor] = mount.device;
    std::string file = "/sys/dev/block/";
    file.append(std::to_string(major)).append(":").append(std::to_string(minor));
    const std::string events = system.read(file.append("/uevent"));
    constexpr std::string_view key = "DEVNAME=";
    const std::size_t found = events.find(key);
    if (found != std::string::npos)
        return std::string{before(std::string_view{events}.substr(found + key.size()), '\n')};
    if (!source.starts_with("/dev/"))
        return {};
    const std::string target = system.link(source);
    return last_part(target.empty() ? source : target);
}

using DeviceNames = std::map<std::string, std::string>;

/// Names given to devices in a folder of /dev/disk, by the device's own name.
DeviceNames read_device_names(const System& system, const std::string& folder)
{
    DeviceNames names;
    for (const std::string& name : system.list(folder))
        if (const std::string target = system.link(folder + name); !target.empty())
            names.try_emplace(last_part(target), unescape_hexadecimal(name));
    return names;
}

/// Fills in what the volume is called, by its device or by itself.
void identify(const System& system, const DeviceNames& labels, const DeviceNames& uuids,
              bool may_ask, Volume& volume)
{
    VolumeIdentity identity;
    if (may_ask)
        identity = system.volume_identity(volume.mount_point);
    const auto label = labels.find(volume.device);
    const auto uuid = uuids.find(volume.device);
    volume.label = label == labels.end() ? identity.label : label->second;
    volume.uuid = capitals_if_hexadecimal(uuid == uuids.end() ? identity.uuid : uuid->second);
}

} // namespace

std::vector<Volume> read_volumes(const System& system)
{
    const std::string table = system.read("/proc/self/mountinfo");
    const MountTree tree{table};
    const DeviceNames labels = read_device_names(system, "/dev/disk/by-label/");
    const DeviceNames uuids = read_device_names(system, "/dev/disk/by-uuid/");
    std::vector<Volume> volumes;
    for (const MountLine* mount : listed_mounts(tree))
    {
        const bool may_ask = !tree.is_behind_server(*mount);
        Volume volume;
        volume.mount_point = platform::unescape_octal(mount->point);
        volume.file_system = mount->type;
        volume.device = device_name(system, *mount);
        volume.writable =
            !has_option(mount->options, "ro") && !has_option(mount->volume_options, "ro");
        if (may_ask)
            volume.size = system.volume_size(volume.mount_point);
        identify(system, labels, uuids, may_ask, volume);
        volumes.push_back(std::move(volume));
    }
    return volumes;
}

} // namespace mirovan::commands
