#include "source/error.h"

bool CMirovan_File::Mirovan_File_EnumFileA(const char* /*lpszPath*/, char*** /*pppszFileList*/,
                                           int* /*pnFileCount*/, bool /*bRecurse*/,
                                           int /*nListType*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, ENOSYS);
}

bool CMirovan_File::Mirovan_File_EnumFileW(const wchar_t* /*lpwszPath*/,
                                           wchar_t*** /*pppwszFileList*/, int* /*pnFileCount*/,
                                           bool /*bRecurse*/, int /*nListType*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, ENOSYS);
}
