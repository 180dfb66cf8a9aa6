#include "source/file/folder.h"

#include "base/string.h"
#include "source/operation.h"

#include <cstring>
#include <cwchar>
#include <string>
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

bool create_folder(const Path& path)
{
    if (path.is_null())
        return fail(ERROR_MIROVAN_FILE_CREATEFOLDER_PARAMETER, EINVAL);
    if (path.error() != 0)
        return fail(ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, path.error());
    std::string folder = path.text();
    if (folder.ends_with('\\'))
        folder.pop_back();

    struct stat status = {};
    if (stat(folder.c_str(), &status) == 0)
        return true;
    const bool absent = errno == ENOENT || errno == ENOTDIR;
    return (absent && make_levels(folder.data())) ||
           fail(ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, errno);
}

bool create_narrow_folder(const char* path)
{
    // What the wide form takes is limited in characters, by its conversion.
    if (path != nullptr && strnlen(path, MIROVAN_PATH_SIZE) == MIROVAN_PATH_SIZE)
        return fail(ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, ENAMETOOLONG);
    return create_folder(path);
}

bool create_wide_folder(const wchar_t* path)
{
    if (path != nullptr && wcsnlen(path, MIROVAN_PATH_SIZE) == MIROVAN_PATH_SIZE)
        return fail(ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, ENAMETOOLONG);
    return create_folder({path, Path::largest_capacity});
}

/// Whether the folder part of a path names a folder; a part that names nothing is an error of the
/// attribute query.
bool folder_exists(const char* folder)
{
    struct stat status = {};
    if (stat(folder, &status) != 0)
        return fail(ERROR_MIROVAN_FILE_ATTR_NOTFOUND, errno);
    return S_ISDIR(status.st_mode);
}

} // namespace

bool prepare_target(const Path& file, ErrorCode nearest)
{
    if (file.folder_error() == EILSEQ)
        return fail(ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, EILSEQ);
    if (file.error() != 0)
        return fail(nearest, file.error());
    char folder[MIROVAN_PATH_SIZE];
    if (strnlen(file.text(), MIROVAN_PATH_SIZE) == MIROVAN_PATH_SIZE ||
        !Fundix_String_GetFileAndPathA(file.text(), folder, {}, {}))
        return fail(nearest, ENAMETOOLONG);
    return folder_exists(folder) || m_FileSdk.Mirovan_File_CreateMutilFolderA(folder);
}

} // namespace mirovan

using namespace mirovan;

bool CMirovan_File::Mirovan_File_CreateMutilFolderA(const char* lpszPath)
{
    return operation<ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED>(create_narrow_folder, lpszPath);
}

bool CMirovan_File::Mirovan_File_CreateMutilFolderW(const wchar_t* lpwszPath)
{
    return operation<ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED>(create_wide_folder, lpwszPath);
}
