#include "source/error.h"

bool CMirovan_File::Mirovan_File_EnumFileA(const char* /*lpszPath*/,
                                           std::list<std::string>* /*pListFile*/, bool /*bRecurse*/,
                                           int /*nListType*/, const char* /*lpszFilter*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, ENOSYS);
}

bool CMirovan_File::Mirovan_File_EnumFileW(const wchar_t* /*lpwszPath*/,
                                           std::list<std::wstring>* /*pListFile*/,
                                           bool /*bRecurse*/, int /*nListType*/,
                                           const wchar_t* /*lpwszFilter*/)
{
    mirovan::clear_error();
    return mirovan::fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, ENOSYS);
}
