#include "source/error.h"

bool CMirovan_Process::Mirovan_Process_Stop(const char* /*lpszProcessName*/, int /*nPid*/,
                                            bool /*bIgnoreChild*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_STOP_KILL, ENOSYS);
}

bool CMirovan_Process::Mirovan_Process_AppState(char /*cState*/, unsigned long* /*pnState*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_PROCESS_STOP_KILL, ENOSYS);
}
