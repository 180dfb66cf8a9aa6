#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Where the commands read what they report.
namespace mirovan::commands
{

struct VolumeSize
{
    std::uint64_t total;
    std::uint64_t free;
};

/// What a volume says of itself; what it does not is empty.
struct VolumeIdentity
{
    std::string label;
    std::string uuid;
};

/// A machine's files, and its volumes. Paths are absolute. What cannot be read is empty.
class System
{
public:
    System() = default;
    virtual ~System() = default;
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    virtual std::string read(const std::string& path) const = 0;

    /// The names in a folder, sorted.
    virtual std::vector<std::string> list(const std::string& folder) const = 0;

    /// What a symbolic link holds.
    virtual std::string link(const std::string& path) const = 0;

    virtual std::optional<VolumeSize> volume_size(const std::string& mount_point) const = 0;
    virtual VolumeIdentity volume_identity(const std::string& mount_point) const = 0;
};

/// The machine that the command runs on or, with MIROVAN_SYSTEM_ROOT, one whose files were recorded
/// below that folder. A recorded machine has its volumes' sizes in the file "volumes" there.
std::unique_ptr<System> open_system();

/// The size of a volume in a recorded table, whose lines hold the bytes in all, the bytes free and
/// the mount point.
std::optional<VolumeSize> recorded_size(std::string_view table, std::string_view mount_point);

} // namespace mirovan::commands
