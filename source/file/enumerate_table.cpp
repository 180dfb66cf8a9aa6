#include "source/file/path_form.h"
#include "source/operation.h"
#include "source/table.h"

#include <algorithm>
#include <limits>
#include <sys/stat.h>

namespace mirovan
{
namespace
{

template <class Char>
using PathList = std::list<std::basic_string<Char>>;

bool exists(const char* path)
{
    struct stat status = {};
    return stat(path, &status) == 0;
}

bool exists(const wchar_t* path)
{
    MIROVAN_FILE_ATTR attributes{};
    return m_FileSdk.Mirovan_File_GetFileAttrW(path, &attributes);
}

/// A folder to list, and the extension that selects its files, if any.
template <class Form>
class Target
{
public:
    using Char = typename Form::Char;

    /// False, with errno set, when a part of a pattern is too long.
    bool parse(const Char* path)
    {
        folder_ = path;
        if (!exists(path))
        {
            Char folder[MIROVAN_PATH_SIZE];
            Char file[260];
            if (!Form::split(path, folder, file, extension_))
                return false;
            if (extension_[0] != Char{})
                folder_ = folder;
        }
        // A star that is more than part of a pattern stands for all of the folder before it.
        if (std::is_same_v<Char, char> && !filter() && !folder_.empty() &&
            folder_.back() == Char{'*'})
            folder_.pop_back();
        return true;
    }

    const Char* folder() const { return folder_.c_str(); }
    const Char* filter() const { return extension_[0] != Char{} ? extension_ : nullptr; }

private:
    std::basic_string<Char> folder_;
    Char extension_[64]{};
};

bool list_entries(const char* folder, PathList<char>& list, bool recurse, int type,
                  const char* filter)
{
    return m_FileSdk.Mirovan_File_EnumFileA(folder, &list, recurse, type, filter);
}

bool list_entries(const wchar_t* folder, PathList<wchar_t>& list, bool recurse, int type,
                  const wchar_t* filter)
{
    return m_FileSdk.Mirovan_File_EnumFileW(folder, &list, recurse, type, filter);
}

/// The list as rows; the caller's table variable is written when all of them are there.
template <class Char>
bool make_rows(const PathList<Char>& list, Char*** table)
{
    Char** rows = nullptr;
    if (list.size() > std::numeric_limits<int>::max() ||
        !make_table(&rows, static_cast<int>(list.size()), MIROVAN_PATH_SIZE * sizeof(Char)))
        return fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, ENOMEM);
    Char** row = rows;
    for (const auto& path : list)
        std::copy_n(path.c_str(), path.size() + 1, *row++);
    *table = rows;
    return true;
}

template <class Form>
bool enumerate_into_table(const typename Form::Char* path, typename Form::Char*** table, int* count,
                          bool recurse, int type)
{
    PathList<typename Form::Char> list;
    Target<Form> target;
    if (path != nullptr && !target.parse(path))
        return fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, errno);
    if (!list_entries(path != nullptr ? target.folder() : nullptr, list, recurse, type,
                      target.filter()) ||
        (table != nullptr && !make_rows(list, table)))
        return false;
    if (count != nullptr)
        *count = static_cast<int>(list.size());
    return !list.empty() || fail(ERROR_MIROVAN_FILE_ENUM_EMPTY, ENOENT);
}

} // namespace
} // namespace mirovan

bool CMirovan_File::Mirovan_File_EnumFileA(const char* lpszPath, char*** pppszFileList,
                                           int* pnFileCount, bool bRecurse, int nListType)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_FILE_ENUM_NOTDIR>(
        [&]
        {
            if (lpszPath == nullptr)
                return fail(ERROR_MIROVAN_FILE_ATTR_PARAMETER, EINVAL);
            return enumerate_into_table<NarrowForm>(lpszPath, pppszFileList, pnFileCount, bRecurse,
                                                    nListType);
        });
}

bool CMirovan_File::Mirovan_File_EnumFileW(const wchar_t* lpwszPath, wchar_t*** pppwszFileList,
                                           int* pnFileCount, bool bRecurse, int nListType)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_FILE_ENUM_NOTDIR>(enumerate_into_table<WideForm>, lpwszPath,
                                                     pppwszFileList, pnFileCount, bRecurse,
                                                     nListType);
}
