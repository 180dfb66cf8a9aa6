#include "source/error.h"

bool CMirovan_File::Mirovan_File_SaveBuffToFileA(const char* /*lpszFile*/,
                                                 const char* /*lpszBuffer*/, int /*nBufLen*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_SAVE_OPEN, ENOSYS);
}

bool CMirovan_File::Mirovan_File_SaveBuffToFileW(const wchar_t* /*lpwszFile*/,
                                                 const char* /*lpszBuffer*/, int /*nBufLen*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_SAVE_OPEN, ENOSYS);
}
