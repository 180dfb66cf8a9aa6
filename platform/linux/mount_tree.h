#pragma once

#include "platform/linux/mount_table.h"

#include <map>
#include <vector>

namespace mirovan::platform
{

/// Whether a mount cannot be written to.
bool is_read_only(const MountLine& mount);

/// Whether a volume is provided by the kernel of this machine, and not by a server or a
/// program that may never respond. An automount point is not local either.
bool is_local(const MountLine& mount);

/// Which volumes are listed in addition to the one that holds the root folder.
enum class Volumes
{
    on_devices, ///< Those on block devices.
    all,        ///< Those of servers too.
};

/// The lines of the mount table, and how they lie on each other. The table has to outlive it.
class MountTree
{
public:
    explicit MountTree(std::string_view table);
    ~MountTree() = default;
    MountTree(const MountTree&) = delete;
    MountTree& operator=(const MountTree&) = delete;

    const std::vector<MountLine>& mounts() const { return mounts_; }

    /// Whether another was mounted over it later, so that its mount point leads there.
    bool is_covered(const MountLine& mount) const;

    /// Whether its path crosses a volume whose server may not respond.
    bool is_behind_server(const MountLine& mount) const;

    /// The mounts that people would call volumes, in the order of the table: each volume once,
    /// however often it is mounted.
    std::vector<const MountLine*> volumes(Volumes which) const;

private:
    template <class Condition>
    bool any_ancestor(const MountLine& mount, const Condition& condition) const;

    std::vector<MountLine> mounts_;
    std::map<std::uint64_t, const MountLine*> by_id_;
    std::map<std::string_view, const MountLine*> last_at_;
};

} // namespace mirovan::platform
