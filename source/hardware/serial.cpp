#include "source/error.h"

bool CMirovan_HardWare::Mirovan_HardWare_GetSerial(
    tag_Mirovan_SdkSerial_Information* /*pstSerialInfo*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_HARDWARE_PARAMETER, ENOSYS);
}
