#include "source/file/enumerate.h"
#include "source/operation.h"
#include "source/table.h"

#include <algorithm>
#include <limits>

namespace mirovan
{
namespace
{

/// A folder to list, and the extension that selects its files, if any.
template <class Form>
class Target
{
public:
    using Char = typename Form::Char;

    /// False, with errno set, when a part of a pattern is too long.
    bool parse(const Char* path, bool exists)
    {
        folder_ = path;
        if (!exists)
        {
            Char folder[MIROVAN_PATH_SIZE];
            Char file[260];
            if (!Form::split(path, folder, file, extension_))
                return false;
            if (extension_[0] != Char{})
                folder_ = folder;
        }
        // A star that is not part of a pattern selects the whole folder before it.
        if (std::is_same_v<Char, char> && filter() == nullptr && folder_.ends_with(Char{'*'}))
            folder_.pop_back();
        return true;
    }

    const Char* folder() const { return folder_.c_str(); }
    const Char* filter() const { return extension_[0] != Char{} ? extension_ : nullptr; }

private:
    std::basic_string<Char> folder_;
    Char extension_[64]{};
};

/// Null-terminated paths, one after the other.
template <class Char>
class PathBlock
{
public:
    void operator()(const std::basic_string<Char>& path)
    {
        text_.append(path.c_str(), path.size() + 1);
        ++count_;
    }

    std::size_t count() const { return count_; }

    /// The paths as rows; the caller's table variable is written when all of them are there.
    bool make_rows(Char*** table) const
    {
        Char** rows = nullptr;
        if (!make_table(&rows, static_cast<int>(count_), MIROVAN_PATH_SIZE * sizeof(Char)))
            return false;
        const Char* path = text_.data();
        for (std::size_t row = 0; row < count_; ++row)
        {
            const Char* const end = path + std::char_traits<Char>::length(path) + 1;
            std::copy(path, end, rows[row]);
            path = end;
        }
        *table = rows;
        return true;
    }

private:
    std::basic_string<Char> text_;
    std::size_t count_ = 0;
};

bool exists(const Path& path)
{
    struct stat status = {};
    return (path.error() == 0 && stat(path.text(), &status) == 0) ||
           // Stands until the folder of a pattern is listed, and is the code of its success.
           fail(ERROR_MIROVAN_FILE_ATTR_NOTFOUND, path.error() != 0 ? path.error() : errno);
}

template <class Form, class Char = typename Form::Char>
bool enumerate_into_table(const Char* path, Char*** table, int* count, bool recurse, int type)
{
    Target<Form> target;
    if (!target.parse(path, exists(path)))
        return fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, errno);
    PathBlock<Char> paths;
    int denied = 0;
    const Selection<Char> selection{recurse, type, target.filter()};
    if (!throwing_operation(enumerate<Form, PathBlock<Char>>, target.folder(), selection, paths,
                            denied))
        return false;
    if (paths.count() > std::numeric_limits<int>::max() ||
        (table != nullptr && !paths.make_rows(table)))
        return fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, ENOMEM);
    if (count != nullptr)
        *count = static_cast<int>(paths.count());
    return paths.count() != 0 || fail(ERROR_MIROVAN_FILE_ENUM_EMPTY, denied != 0 ? denied : ENOENT);
}

bool enumerate_narrow(const char* path, char*** table, int* count, bool recurse, int type)
{
    if (path == nullptr)
        return fail(ERROR_MIROVAN_FILE_ATTR_PARAMETER, EINVAL);
    return enumerate_into_table<NarrowForm>(path, table, count, recurse, type);
}

bool enumerate_wide(const wchar_t* path, wchar_t*** table, int* count, bool recurse, int type)
{
    if (path == nullptr)
        return fail(ERROR_MIROVAN_FILE_ENUM_PARAMETER, EINVAL);
    return enumerate_into_table<WideForm>(path, table, count, recurse, type);
}

} // namespace
} // namespace mirovan

using namespace mirovan;

bool CMirovan_File::Mirovan_File_EnumFileA(const char* lpszPath, char*** pppszFileList,
                                           int* pnFileCount, bool bRecurse, int nListType)
{
    return operation<ERROR_MIROVAN_FILE_ENUM_NOTDIR>(enumerate_narrow, lpszPath, pppszFileList,
                                                     pnFileCount, bRecurse, nListType);
}

bool CMirovan_File::Mirovan_File_EnumFileW(const wchar_t* lpwszPath, wchar_t*** pppwszFileList,
                                           int* pnFileCount, bool bRecurse, int nListType)
{
    return operation<ERROR_MIROVAN_FILE_ENUM_NOTDIR>(enumerate_wide, lpwszPath, pppwszFileList,
                                                     pnFileCount, bRecurse, nListType);
}
