#include "source/error.h"

bool CMirovan_Process::Mirovan_Process_SetProcessForCpu(pthread_t /*hThread*/,
                                                        unsigned long /*nCpuTag*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_SETCPU_FAILED, ENOSYS);
}

bool CMirovan_Process::Mirovan_Process_GetProcessForCpu(pthread_t /*hThread*/,
                                                        unsigned long* /*pnCpuTag*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_SETCPU_FAILED, ENOSYS);
}
