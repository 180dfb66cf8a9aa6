#include "source/error.h"

bool CMirovan_File::Mirovan_File_CreateSparseFileA(const char* /*lpszFile*/,
                                                   long long /*nFileSize*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_SPARSE_OPEN, ENOSYS);
}

bool CMirovan_File::Mirovan_File_CreateSparseFileW(const wchar_t* /*lpwszFile*/,
                                                   long long /*nFileSize*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_SPARSE_OPEN, ENOSYS);
}
