#include "source/error.h"

bool CMirovan_System::Mirovan_System_GetMemoryUsage(
    tag_Mirovan_Memory_Infomation* /*pstMemoryInfo*/, int /*nUnit*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}

bool CMirovan_System::Mirovan_System_GetCpuUsage(int* /*pnCpuUsage*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}
