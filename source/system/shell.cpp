#include "source/error.h"

bool CMirovan_System::Mirovan_System_SystemEx(const char* /*lpszCommand*/, int /*nTimeout*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_SYSTEMEX_FORK, ENOSYS);
}
