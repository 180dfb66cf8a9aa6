#include <mirovan.h>

/// Exits with 0 when the installed library answers a program that uses the classes.
int main()
{
    MIROVAN_FILE_ATTR attributes{};
    CMirovan_File own;
    if (!own.Mirovan_File_GetFileAttrW(L"/", &attributes) || attributes.bIsFile)
        return 1;
    if (!m_FileSdk.Mirovan_File_GetFileAttrA("/", &attributes))
        return 2;
    std::list<std::string> files;
    if (m_FileSdk.Mirovan_File_EnumFileA(nullptr, &files, false, 1, nullptr))
        return 3;
    return Mirovan_IsErrorOccur ? 0 : 4;
}
