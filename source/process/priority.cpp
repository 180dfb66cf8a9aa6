#include "source/error.h"

bool CMirovan_Process::Mirovan_Process_GetPriority(int* /*pnPriority*/, int /*nPid*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED, ENOSYS);
}

bool CMirovan_Process::Mirovan_Process_SetPriority(int /*nPriority*/, int /*nPid*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED, ENOSYS);
}
