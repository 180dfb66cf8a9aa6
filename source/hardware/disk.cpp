#include "source/hardware/disk.h"
#include "source/operation.h"

#include <sys/mount.h>

namespace mirovan
{
namespace
{

bool convert(tag_Mirovan_Disk_Information& disk, int unit)
{
    constexpr int bytes = 1;
    constexpr int gibibytes = 4;
    constexpr int bits_per_step = 10;
    if (unit < bytes || unit > gibibytes)
        return false;
    disk.nDiskTotal >>= (unit - bytes) * bits_per_step;
    disk.nDiskFree >>= (unit - bytes) * bits_per_step;
    return true;
}

} // namespace

int32_t file_system_kind(std::string_view type_name) noexcept
{
    constexpr struct
    {
        std::string_view part;
        int32_t kind;
    } kinds[] = {{"apfs", 5}, {"fat", 1}, {"msdos", 1}, {"ntfs", 2}, {"ext", 4}};
    for (const auto& [part, kind] : kinds)
        if (type_name.find(part) != std::string_view::npos)
            return kind;
    return 0;
}

} // namespace mirovan

bool CMirovan_HardWare::Mirovan_HardWare_GetDiskInfomation(
    const char* lpszPath, tag_Mirovan_Disk_Information* pstDiskInfo, int nUnit)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_HARDWARE_DISK_STATFS>(
        [&]
        {
            if (lpszPath == nullptr || pstDiskInfo == nullptr)
                return fail(ERROR_MIROVAN_HARDWARE_PARAMETER, EINVAL);
            struct statfs volume = {};
            if (statfs(lpszPath, &volume) != 0)
                return fail(ERROR_MIROVAN_HARDWARE_DISK_STATFS, errno);
            const uint64_t block_size = volume.f_bsize;
            pstDiskInfo->nFileSystem = file_system_kind(volume.f_fstypename);
            pstDiskInfo->nDiskTotal = block_size * volume.f_blocks;
            pstDiskInfo->nDiskFree = block_size * volume.f_bavail;
            return convert(*pstDiskInfo, nUnit) || fail(ERROR_MIROVAN_HARDWARE_DISK_UNIT, EINVAL);
        });
}
