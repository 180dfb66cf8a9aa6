#include "source/file/path_form.h"
#include "source/operation.h"

#include <sys/stat.h>
#include <unistd.h>

namespace mirovan
{
namespace
{

template <class Form>
bool get_attributes(const typename Form::Char* path, MIROVAN_FILE_ATTR* attributes)
{
    return operation<ERROR_MIROVAN_FILE_ATTR_NOTFOUND>(
        [&]
        {
            if (path == nullptr || attributes == nullptr)
                return fail(ERROR_MIROVAN_FILE_ATTR_PARAMETER, EINVAL);
            PathBuffer buffer;
            struct stat status = {};
            const char* native = Form::native(path, buffer);
            if (native == nullptr || stat(native, &status) != 0)
                return fail(ERROR_MIROVAN_FILE_ATTR_NOTFOUND, errno);
            attributes->nFileSize = status.st_size;
            attributes->nCreateTime = status.st_ctimespec.tv_sec;
            attributes->nAccessTime = status.st_atimespec.tv_sec;
            attributes->nModifyTime = status.st_mtimespec.tv_sec;
            attributes->bIsFile = !S_ISDIR(status.st_mode);
            attributes->bIsHidden = path[0] == '.';
            attributes->bIsReadable = access(native, R_OK) == 0;
            return true;
        });
}

} // namespace
} // namespace mirovan

bool CMirovan_File::Mirovan_File_GetFileAttrA(const char* lpszFile, MIROVAN_FILE_ATTR* pstFileAttr)
{
    return mirovan::get_attributes<mirovan::NarrowForm>(lpszFile, pstFileAttr);
}

bool CMirovan_File::Mirovan_File_GetFileAttrW(const wchar_t* lpwszFile,
                                              MIROVAN_FILE_ATTR* pstFileAttr)
{
    return mirovan::get_attributes<mirovan::WideForm>(lpwszFile, pstFileAttr);
}
