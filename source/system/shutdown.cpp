#include "source/error.h"

bool CMirovan_System::Mirovan_System_Shutdown(unsigned long /*nShutdownType*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}
