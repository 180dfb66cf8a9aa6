#include <sys/mount.h>

#include "base/string.h"
#include "platform/linux/mount_table.h"
#include "platform/linux/read_text.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace
{

using namespace mirovan;

/// The kind of the volume that holds a path; empty when it is mounted outside of the caller's root
/// folder, which the mount table does not show.
///
/// A device number does not tell the mount: parts of a btrfs volume and files of an overlay report
/// numbers that no line of the table has.
bool volume_kind(const char* path, std::span<char> kind)
{
    struct statx status
    {
    };
    // The volume was asked just before: a server need not be asked again.
    if (statx(AT_FDCWD, path, AT_STATX_DONT_SYNC, STATX_MNT_ID, &status) != 0)
        return false;
    const auto id = (status.stx_mask & STATX_MNT_ID) != 0 ? status.stx_mnt_id : 0;
    // Of the thread: it may have a mount table of its own.
    std::string table;
    if (!platform::read_text("/proc/thread-self/mountinfo", table))
        return false;
    const auto mount =
        platform::find_mount(table, id, {status.stx_dev_major, status.stx_dev_minor});
    copy_cut(kind, mount ? mount->type : std::string_view{});
    return true;
}

bool describe_volume(const char* path, struct statfs& volume)
{
    struct statvfs sizes
    {
    };
    int result = 0;
    do
        result = statvfs(path, &sizes);
    while (result != 0 && errno == EINTR);
    if (result != 0 || !volume_kind(path, volume.f_fstypename))
        return false;
    // The unit of the counts is the fragment, which is smaller than the preferred block on some
    // network volumes.
    volume.f_bsize = static_cast<uint32_t>(sizes.f_frsize);
    volume.f_blocks = sizes.f_blocks;
    volume.f_bavail = sizes.f_bavail;
    return true;
}

} // namespace

int statfs(const char* path, struct statfs* volume)
{
    try
    {
        return describe_volume(path, *volume) ? 0 : -1;
    }
    catch (const std::bad_alloc&)
    {
        errno = ENOMEM;
        return -1;
    }
}
