#include "source/error.h"

bool CMirovan_File::Mirovan_File_DeleteMutilFolderA(const char* /*lpszPath*/, bool /*bDelRoot*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, ENOSYS);
}

bool CMirovan_File::Mirovan_File_DeleteMutilFolderW(const wchar_t* /*lpwszPath*/, bool /*bDelRoot*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, ENOSYS);
}
