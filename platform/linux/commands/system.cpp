#include "platform/linux/commands/system.h"

#include "base/descriptor.h"
#include "platform/linux/commands/text.h"
#include "platform/linux/mount_table.h"
#include "platform/linux/read_text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/statvfs.h>

namespace mirovan::commands
{
namespace
{

namespace fs = std::filesystem;

class FolderSystem : public System
{
public:
    explicit FolderSystem(std::string root) : root_{std::move(root)} {}

    std::string read(const std::string& path) const override
    {
        std::string text;
        return platform::read_text((root_ + path).c_str(), text) ? text : std::string{};
    }

    std::vector<std::string> list(const std::string& folder) const override
    {
        std::vector<std::string> names;
        std::error_code error;
        fs::directory_iterator entry{root_ + folder, error};
        for (; !error && entry != fs::directory_iterator{}; entry.increment(error))
            names.push_back(entry->path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    std::string link(const std::string& path) const override
    {
        std::error_code error;
        return fs::read_symlink(root_ + path, error);
    }

private:
    std::string root_;
};

class RecordedSystem : public FolderSystem
{
public:
    using FolderSystem::FolderSystem;

    std::optional<VolumeSize> volume_size(const std::string& mount_point) const override
    {
        return recorded_size(read("/volumes"), mount_point);
    }

    VolumeIdentity volume_identity(const std::string& /*mount_point*/) const override { return {}; }
};

/// The request of Linux 6.9 for the id of a volume, which the headers of earlier ones lack.
struct VolumeUuid
{
    std::uint8_t length;
    std::uint8_t bytes[16];
};
constexpr unsigned long get_volume_uuid = _IOR(0x15, 0, VolumeUuid);

class LiveSystem : public FolderSystem
{
public:
    LiveSystem() : FolderSystem{""} {}

    std::optional<VolumeSize> volume_size(const std::string& mount_point) const override
    {
        struct statvfs sizes
        {
        };
        if (statvfs(mount_point.c_str(), &sizes) != 0)
            return std::nullopt; // GCOVR_EXCL_LINE: machine
        return VolumeSize{.total = std::uint64_t{sizes.f_frsize} * sizes.f_blocks,
                          .free = std::uint64_t{sizes.f_frsize} * sizes.f_bavail};
    }

    VolumeIdentity volume_identity(const std::string& mount_point) const override
    {
        VolumeIdentity identity;
        const Descriptor volume = open_file(mount_point.c_str(), O_RDONLY | O_NONBLOCK);
        if (!volume)
            return identity; // GCOVR_EXCL_LINE: machine
        char label[FSLABEL_MAX] = "";
        if (ioctl(volume.get(), FS_IOC_GETFSLABEL, label) == 0)
            identity.label = {label, strnlen(label, sizeof label)};
        VolumeUuid uuid{};
        if (ioctl(volume.get(), get_volume_uuid, &uuid) == 0)
            identity.uuid = uuid_text(hexadecimal({reinterpret_cast<const char*>(uuid.bytes),
                                                   std::min<std::size_t>(uuid.length, 16)}));
        return identity;
    }
};

} // namespace

std::unique_ptr<System> open_system()
{
    const char* root = std::getenv("MIROVAN_SYSTEM_ROOT");
    if (root == nullptr)
        return std::make_unique<LiveSystem>();
    return std::make_unique<RecordedSystem>(root);
}

std::optional<VolumeSize> recorded_size(std::string_view table, std::string_view mount_point)
{
    while (auto line = platform::next_line(table))
    {
        const auto total = leading_number(*line);
        const auto free = leading_number(*line);
        if (total && free && *line == mount_point)
            return VolumeSize{*total, *free};
    }
    return std::nullopt;
}

} // namespace mirovan::commands
