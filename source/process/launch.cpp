#include "source/error.h"

bool CMirovan_Process::Mirovan_Process_CreateProcess(unsigned long* /*pnPid*/,
                                                     const char* /*lpszProcessPath*/,
                                                     const char* /*lpszArgs*/, bool /*bOption*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_EXEC, ENOSYS);
}

bool CMirovan_Process::Mirovan_Process_RunProcess(unsigned long* /*pnPid*/,
                                                  const char* /*lpszProcessPath*/,
                                                  const char* /*lpszArg0*/,
                                                  const char* /*lpszArg1*/, bool /*bOption*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_EXEC, ENOSYS);
}
