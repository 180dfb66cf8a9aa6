#include "source/error.h"

bool CMirovan_HardWare::Mirovan_HardWare_GetDiskInfomation(
    const char* /*lpszPath*/, tag_Mirovan_Disk_Information* /*pstDiskInfo*/, int /*nUnit*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_HARDWARE_DISK_STATFS, ENOSYS);
}
