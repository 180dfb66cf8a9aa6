#include <mirovan.h>

/// Exits with 0 when the library answers a program that uses the classes.
int main()
{
    MIROVAN_FILE_ATTR attributes{};
    CMirovan_File own;
    std::list<std::string> files;
    return own.Mirovan_File_GetFileAttrW(L"/", &attributes) && !attributes.bIsFile &&
                   !m_FileSdk.Mirovan_File_EnumFileA(nullptr, &files, false, 1, nullptr) &&
                   Mirovan_IsErrorOccur
               ? 0
               : 1;
}
