#include "source/error.h"

bool CMirovan_Process::Mirovan_Process_GetProcessInfo(
    tag_Mirovan_Process_Infomation* /*pstProcessInfo*/, const char* /*lpszProcessName*/,
    int /*nPid*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_INFO_FAILED, ENOSYS);
}

bool CMirovan_Process::Mirovan_Process_GetProcessCpuUsage(int* /*pnCpuUsage*/, int /*nPid*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_INFO_FAILED, ENOSYS);
}

bool CMirovan_Process::Mirovan_Process_GetUpTime(TARVELO_LIBTIME* /*pstLibTime*/, int /*nPid*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_INFO_FAILED, ENOSYS);
}

bool CMirovan_Process::Mirovan_Process_GetPath(char* /*lpszProcessPath*/, int /*nPid*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_INFO_FAILED, ENOSYS);
}

bool CMirovan_Process::Mirovan_Process_IsAdmin()
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_INFO_FAILED, ENOSYS);
}
