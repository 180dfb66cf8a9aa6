#include "platform/host.h"
#include "source/operation.h"
#include "source/sized_record.h"

#include <sys/mount.h>
#include <vector>

namespace
{

using namespace mirovan;

using TakeVolume = bool (*)(const MIROVAN_VOLUME* volume, void* context);

/// What is mounted, as the system knows it without asking any volume. False, with errno set, if
/// that cannot be read.
bool read_mounted(std::vector<struct statfs>& mounted)
{
    constexpr std::size_t first_capacity = 32;
    // Another volume may be mounted between two calls.
    constexpr std::size_t spare = 8;
    for (mounted.resize(first_capacity);;)
    {
        const int count = getfsstat(
            mounted.data(), static_cast<int>(mounted.size() * sizeof mounted[0]), MNT_NOWAIT);
        if (count < 0)
            return false;
        if (static_cast<std::size_t>(count) < mounted.size())
        {
            mounted.resize(static_cast<std::size_t>(count));
            return true;
        }
        const int expected = getfsstat(nullptr, 0, MNT_NOWAIT);
        if (expected < 0)
            return false;
        mounted.resize(static_cast<std::size_t>(expected) + spare);
    }
}

bool has(const struct statfs& volume, std::uint32_t flag)
{
    return (volume.f_flags & flag) != 0;
}

/// Whether people would call it a volume.
bool is_browsable(const struct statfs& volume)
{
    return has(volume, MNT_ROOTFS) || !has(volume, MNT_DONTBROWSE);
}

void set_sizes(const struct statfs& volume, MIROVAN_VOLUME& record)
{
    // A volume that was not asked has no block size.
    if (volume.f_bsize == 0)
        return;
    const auto bytes = [&](std::uint64_t blocks) { return std::optional{blocks * volume.f_bsize}; };
    set_known(record, MIROVAN_VOLUME_KNOWN_TOTAL, &MIROVAN_VOLUME::nTotal, bytes(volume.f_blocks));
    set_known(record, MIROVAN_VOLUME_KNOWN_FREE, &MIROVAN_VOLUME::nFree, bytes(volume.f_bfree));
    set_known(record, MIROVAN_VOLUME_KNOWN_AVAILABLE, &MIROVAN_VOLUME::nAvailable,
              bytes(volume.f_bavail));
}

MIROVAN_VOLUME describe(const struct statfs& volume, std::uint32_t flags)
{
    const bool is_local = has(volume, MNT_LOCAL);
    auto record = make_sized<MIROVAN_VOLUME>();
    set_known(record, MIROVAN_VOLUME_KNOWN_MOUNT_POINT, record.tszMountPoint, volume.f_mntonname);
    set_known(record, MIROVAN_VOLUME_KNOWN_DEVICE, record.tszDevice, volume.f_mntfromname);
    set_known(record, MIROVAN_VOLUME_KNOWN_TYPE, record.tszType, volume.f_fstypename);
    set_known(record, MIROVAN_VOLUME_KNOWN_READ_ONLY, &MIROVAN_VOLUME::bReadOnly,
              std::optional{has(volume, MNT_RDONLY)});
    set_known(record, MIROVAN_VOLUME_KNOWN_LOCAL, &MIROVAN_VOLUME::bLocal, std::optional{is_local});
    struct statfs answer = {};
    if (is_local)
        set_sizes(volume, record);
    else if ((flags & MIROVAN_VOLUMES_NETWORK_SIZES) != 0 &&
             statfs(volume.f_mntonname, &answer) == 0)
        set_sizes(answer, record); // GCOVR_EXCL_LINE: machine
    // A volume without sizes was not accessed: its server might not respond.
    if (is_local && is_browsable(volume) && volume.f_bsize != 0)
    {
        const platform::VolumeDetails details = platform::volume_details(volume);
        set_known(record, MIROVAN_VOLUME_KNOWN_LABEL, record.tszLabel, details.label);
        set_known(record, MIROVAN_VOLUME_KNOWN_REMOVABLE, &MIROVAN_VOLUME::bRemovable,
                  details.removable);
    }
    return record;
}

bool list_volumes(std::uint32_t flags, TakeVolume take, void* context)
{
    constexpr std::uint32_t known_flags =
        MIROVAN_VOLUMES_NETWORK_SIZES | MIROVAN_VOLUMES_ALL_MOUNTS;
    if (take == nullptr || (flags & ~known_flags) != 0)
        return fail(ERROR_MIROVAN_HARDWARE_PARAMETER, EINVAL);
    std::vector<struct statfs> mounted;
    if (!read_mounted(mounted))
        return fail(ERROR_MIROVAN_HARDWARE_VOLUMES_FAILED, errno);
    for (const struct statfs& volume : mounted)
    {
        if (!is_browsable(volume) && (flags & MIROVAN_VOLUMES_ALL_MOUNTS) == 0)
            continue;
        const MIROVAN_VOLUME record = describe(volume, flags);
        if (!take(&record, context))
            break;
    }
    return true;
}

} // namespace

bool CMirovan_HardWare::Mirovan_HardWare_ListVolumes(
    uint32_t nFlags, bool (*pfnVolume)(const MIROVAN_VOLUME* pstVolume, void* pContext),
    void* pContext)
{
    return operation<ERROR_MIROVAN_HARDWARE_VOLUMES_FAILED>(list_volumes, nFlags, pfnVolume,
                                                            pContext);
}
