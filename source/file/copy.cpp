#include "source/error.h"

bool CMirovan_File::Mirovan_File_CopyFileA(const char* /*lpszSrcFile*/, const char* /*lpszDstFile*/,
                                           bool /*bFailIfExists*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_COPY_FAILED, ENOSYS);
}

bool CMirovan_File::Mirovan_File_CopyFileW(const wchar_t* /*lpwszSrcFile*/,
                                           const wchar_t* /*lpwszDstFile*/, bool /*bFailIfExists*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_COPY_FAILED, ENOSYS);
}
