#include "source/file/path.h"
#include "source/operation.h"

#include <sys/stat.h>
#include <unistd.h>

namespace mirovan
{
namespace
{

bool get_attributes(const Path& path, MIROVAN_FILE_ATTR* attributes)
{
    if (path.is_null() || attributes == nullptr)
        return fail(ERROR_MIROVAN_FILE_ATTR_PARAMETER, EINVAL);
    if (path.error() != 0)
        return fail(ERROR_MIROVAN_FILE_ATTR_NOTFOUND, path.error());
    struct stat status = {};
    if (stat(path.text(), &status) != 0)
        return fail(ERROR_MIROVAN_FILE_ATTR_NOTFOUND, errno);
    attributes->nFileSize = status.st_size;
    attributes->nCreateTime = status.st_ctimespec.tv_sec;
    attributes->nAccessTime = status.st_atimespec.tv_sec;
    attributes->nModifyTime = status.st_mtimespec.tv_sec;
    attributes->bIsFile = !S_ISDIR(status.st_mode);
    attributes->bIsHidden = path.text()[0] == '.';
    attributes->bIsReadable = access(path.text(), R_OK) == 0;
    return true;
}

} // namespace
} // namespace mirovan

using namespace mirovan;

bool CMirovan_File::Mirovan_File_GetFileAttrA(const char* lpszFile, MIROVAN_FILE_ATTR* pstFileAttr)
{
    return operation<ERROR_MIROVAN_FILE_ATTR_NOTFOUND>(get_attributes, lpszFile, pstFileAttr);
}

bool CMirovan_File::Mirovan_File_GetFileAttrW(const wchar_t* lpwszFile,
                                              MIROVAN_FILE_ATTR* pstFileAttr)
{
    return operation<ERROR_MIROVAN_FILE_ATTR_NOTFOUND>(get_attributes, lpwszFile, pstFileAttr);
}
