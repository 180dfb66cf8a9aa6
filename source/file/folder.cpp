#include "source/file/folder.h"

#include "source/operation.h"

#include <cstring>
#include <sys/stat.h>
#include <utility>

namespace mirovan
{
namespace
{

/// Makes one level. Whatever mkdir() says about a folder that exists (which differs for roots and
/// read-only volumes), only what is there counts.
bool make_level(const char* path)
{
    if (mkdir(path, 0777) == 0)
        return true;
    const int reason = errno;
    struct stat status = {};
    const bool known = stat(path, &status) == 0;
    if (known && S_ISDIR(status.st_mode))
        return true;
    if (reason != EEXIST)
        errno = reason;
    else if (known || errno == ENOENT)
        errno = ENOTDIR;
    return false;
}

/// Makes every level of a path, from the first on; the path is as it was when all are there.
bool make_levels(char* path)
{
    for (char* end = path;;)
    {
        end += std::strspn(end, "/");
        end += std::strcspn(end, "/");
        const char separator = std::exchange(*end, '\0');
        if (!make_level(path))
            return false;
        *end = separator;
        if (end[std::strspn(end, "/")] == '\0')
            return true;
    }
}

template <class Form>
bool ensure_folder(const typename Form::Char* path)
{
    if (path == nullptr)
        return fail(ERROR_MIROVAN_FILE_CREATEFOLDER_PARAMETER, EINVAL);
    PathBuffer folder;
    if (!Form::convert(path, folder))
        return fail(ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, errno);
    const std::size_t length = std::strlen(folder);
    if (length != 0 && folder[length - 1] == '\\')
        folder[length - 1] = '\0';

    struct stat status = {};
    if (stat(folder, &status) == 0)
        return true;
    const bool absent = errno == ENOENT || errno == ENOTDIR;
    return (absent && make_levels(folder)) || fail(ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, errno);
}

/// Whether the folder part of a path names a folder; a part that names nothing is an error of the
/// attribute query.
template <class Form>
bool folder_exists(const typename Form::Char* folder)
{
    PathBuffer buffer;
    struct stat status = {};
    const char* native = Form::native(folder, buffer);
    if (native == nullptr || stat(native, &status) != 0)
        return fail(ERROR_MIROVAN_FILE_ATTR_NOTFOUND, errno);
    return S_ISDIR(status.st_mode);
}

} // namespace

template <class Form>
bool create_folder(const typename Form::Char* path)
{
    return operation<ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED>(ensure_folder<Form>, path);
}

template <class Form>
bool prepare_target(const typename Form::Char* file, PathBuffer& native, ErrorCode nearest)
{
    const bool converted = Form::convert(file, native);
    typename Form::Char folder[MIROVAN_PATH_SIZE];
    if ((!converted && errno == ENAMETOOLONG) || !Form::split(file, folder, {}, {}))
        return fail(nearest, ENAMETOOLONG);
    if (!folder_exists<Form>(folder) && !create_folder<Form>(folder))
        return false;
    return converted || fail(nearest, EILSEQ);
}

template bool create_folder<NarrowForm>(const char*);
template bool create_folder<WideForm>(const wchar_t*);
template bool prepare_target<NarrowForm>(const char*, PathBuffer&, ErrorCode);
template bool prepare_target<WideForm>(const wchar_t*, PathBuffer&, ErrorCode);

} // namespace mirovan

bool CMirovan_File::Mirovan_File_CreateMutilFolderA(const char* lpszPath)
{
    return mirovan::create_folder<mirovan::NarrowForm>(lpszPath);
}

bool CMirovan_File::Mirovan_File_CreateMutilFolderW(const wchar_t* lpwszPath)
{
    return mirovan::create_folder<mirovan::WideForm>(lpwszPath);
}
