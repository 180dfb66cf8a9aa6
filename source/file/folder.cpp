#include "source/error.h"

bool CMirovan_File::Mirovan_File_CreateMutilFolderA(const char* /*lpszPath*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, ENOSYS);
}

bool CMirovan_File::Mirovan_File_CreateMutilFolderW(const wchar_t* /*lpwszPath*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, ENOSYS);
}
