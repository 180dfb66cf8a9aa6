#include "source/error.h"

bool CMirovan_System::Mirovan_System_GetSystemVer(char* /*lpszSysName*/, char* /*lpszSysVersion*/,
                                                  char* /*lpszSysCodeName*/,
                                                  unsigned long* /*pnSysType*/,
                                                  char* /*lpszSysRelease*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}

bool CMirovan_System::Mirovan_System_GetSysName(char* /*lpszUserName*/, char* /*lpszHostName*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}

bool CMirovan_System::Mirovan_System_GetScreen(int* /*pnWidth*/, int* /*pnHeight*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}

bool CMirovan_System::Mirovan_System_GetLanguage(char* /*lpszLanguage*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}

bool CMirovan_System::Mirovan_System_WMIQuery(const char* /*lpszQuery*/, const char* /*lpszKey*/,
                                              char* /*lpszQueryResult*/, int /*nQueryResultSize*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ENOSYS);
}
