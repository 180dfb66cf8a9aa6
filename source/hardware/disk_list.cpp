#include "source/error.h"

bool CMirovan_HardWare::Mirovan_HardWare_GetDiskNumber(char*** /*pppszDiskList*/,
                                                       int* /*pnDiskCount*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_HARDWARE_PARAMETER, ENOSYS);
}
