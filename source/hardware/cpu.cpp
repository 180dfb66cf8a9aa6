#include "source/error.h"

bool CMirovan_HardWare::Mirovan_HardWare_GetCpuInfomation(
    tag_Mirovan_Cpu_Information* /*pstCpuInfo*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_HARDWARE_PARAMETER, ENOSYS);
}
