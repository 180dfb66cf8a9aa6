#include <sys/mount.h>

#include "base/string.h"
#include "platform/linux/mount_tree.h"
#include "platform/linux/read_text.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace
{

using namespace mirovan;
using platform::MountLine;
using platform::MountTree;

/// The caller's mount table: a thread may have one of its own.
bool read_mounts(std::string& table)
{
    return platform::read_text("/proc/thread-self/mountinfo", table);
}

/// The kind of the volume that holds a path; empty when it is mounted outside of the caller's root
/// folder, which the mount table does not show.
///
/// A device number does not identify a mount: parts of a btrfs volume and overlay files report
/// numbers that no line of the table has.
bool volume_kind(const char* path, std::span<char> kind)
{
    struct statx status = {};
    // The volume was asked just before: a server need not be asked again.
    if (statx(AT_FDCWD, path, AT_STATX_DONT_SYNC, STATX_MNT_ID, &status) != 0)
        return false;
    const auto id = (status.stx_mask & STATX_MNT_ID) != 0 ? status.stx_mnt_id : 0;
    std::string table;
    if (!read_mounts(table))
        return false;
    const auto mount =
        platform::find_mount(table, id, {status.stx_dev_major, status.stx_dev_minor});
    copy_cut(kind, mount ? mount->type : std::string_view{});
    return true;
}

bool read_sizes(const char* path, struct statfs& volume)
{
    struct statvfs sizes = {};
    int result = 0;
    do
        result = statvfs(path, &sizes);
    while (result != 0 && errno == EINTR);
    if (result != 0)
        return false;
    // The unit of the counts is the fragment, which is smaller than the preferred block on some
    // network volumes.
    volume.f_bsize = static_cast<uint32_t>(sizes.f_frsize);
    volume.f_blocks = sizes.f_blocks;
    volume.f_bfree = sizes.f_bfree;
    volume.f_bavail = sizes.f_bavail;
    return true;
}

/// Fills in the fields of the mount table, and the sizes of a volume that cannot block.
/// False for one whose mount point is longer than a path may be here.
bool describe_mount(const MountTree& tree, const MountLine& mount, bool is_volume,
                    struct statfs& volume)
{
    volume = {};
    const std::string point = platform::unescape_octal(mount.point);
    if (point.size() >= sizeof volume.f_mntonname)
        return false;
    copy_cut(volume.f_mntonname, point);
    copy_cut(volume.f_mntfromname, platform::unescape_octal(mount.source));
    copy_cut(volume.f_fstypename, mount.type);
    volume.f_fsid = {
        {static_cast<int32_t>(mount.device.major), static_cast<int32_t>(mount.device.minor)}};
    const bool local = platform::is_local(mount);
    volume.f_flags = (platform::is_read_only(mount) ? MNT_RDONLY : 0U) | (local ? MNT_LOCAL : 0U) |
                     (point == "/" ? MNT_ROOTFS : 0U) | (is_volume ? 0U : MNT_DONTBROWSE);
    // statvfs() of a covered mount point returns the values of another volume.
    if (local && !tree.is_covered(mount) && !tree.is_behind_server(mount))
        read_sizes(volume.f_mntonname, volume);
    return true;
}

int list_mounts(struct statfs* volumes, std::size_t capacity)
{
    std::string table;
    if (!read_mounts(table))
        return -1;
    const MountTree tree{table};
    if (volumes == nullptr)
        return static_cast<int>(tree.mounts().size());
    auto browsable = tree.volumes(platform::Volumes::all);
    std::sort(browsable.begin(), browsable.end());
    std::size_t count = 0;
    for (const MountLine& mount : tree.mounts())
    {
        if (count == capacity)
            break;
        const bool is_volume = std::binary_search(browsable.begin(), browsable.end(), &mount);
        count += describe_mount(tree, mount, is_volume, volumes[count]) ? 1 : 0;
    }
    return static_cast<int>(count);
}

} // namespace

int statfs(const char* path, struct statfs* volume)
try
{
    return read_sizes(path, *volume) && volume_kind(path, volume->f_fstypename) ? 0 : -1;
}
catch (const std::bad_alloc&)
{
    errno = ENOMEM;
    return -1;
}

int getfsstat(struct statfs* volumes, int size, int /*flags*/)
try
{
    return list_mounts(volumes, static_cast<std::size_t>(std::max(size, 0)) / sizeof *volumes);
}
catch (const std::bad_alloc&)
{
    errno = ENOMEM;
    return -1;
}
