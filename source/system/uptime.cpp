#include "source/error.h"

bool CMirovan_System::Mirovan_System_GetUpTime(TARVELO_LIBTIME* /*pstLibTime*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}

bool CMirovan_System::Mirovan_System_GetSysIdleTime(unsigned long& /*nIdleTime*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}

bool CMirovan_System::Mirovan_System_GetProcessCount(int* /*pnProcessCount*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}

bool CMirovan_System::Mirovan_System_GetProcessList(MIROVAN_PROCESS_INFO*** /*pppstProcessList*/,
                                                    int* /*pnListCount*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}
