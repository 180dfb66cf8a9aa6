#include "platform/linux/commands/volumes.h"

#include "platform/linux/commands/text.h"
#include "platform/linux/mount_tree.h"

#include <map>

namespace mirovan::commands
{
namespace
{

using platform::MountLine;
using platform::MountTree;

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
            names.try_emplace(last_part(target), platform::unescape_hexadecimal(name));
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
    for (const MountLine* mount : tree.volumes(platform::Volumes::on_devices))
    {
        const bool may_ask = !tree.is_behind_server(*mount);
        Volume volume;
        volume.mount_point = platform::unescape_octal(mount->point);
        volume.file_system = mount->type;
        volume.device = device_name(system, *mount);
        volume.writable = !is_read_only(*mount);
        if (may_ask)
            volume.size = system.volume_size(volume.mount_point);
        identify(system, labels, uuids, may_ask, volume);
        volumes.push_back(std::move(volume));
    }
    return volumes;
}

} // namespace mirovan::commands
