#include "base/descriptor.h"
#include "source/file/folder.h"
#include "source/operation.h"

#include <copyfile.h>
#include <sys/stat.h>

namespace mirovan
{
namespace
{

using Status = struct stat;

constexpr mode_t permission_bits = 07777;

bool refuse(int reason)
{
    errno = reason;
    return false;
}

bool is_regular(const Status& status)
{
    return S_ISREG(status.st_mode) || refuse(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
}

/// The destination, with its permission bits those of the source before any content is in it.
class Destination
{
public:
    bool open(const char* path, const Status& source)
    {
        const mode_t mode = source.st_mode & permission_bits;
        file_ = open_file(path, O_WRONLY | O_CREAT | O_EXCL | O_NONBLOCK, mode);
        const bool created = static_cast<bool>(file_);
        if (!created && errno == EEXIST)
            file_ = open_file(path, O_WRONLY | O_CREAT | O_NONBLOCK, mode);
        Status status{};
        if (!file_ || fstat(file_.get(), &status) != 0)
            return false;
        const bool same_mode = (status.st_mode & permission_bits) == mode;
        // A volume without permission bits is no reason to refuse a new file.
        if (created)
            return same_mode || fchmod(file_.get(), mode) == 0 || errno == EPERM;
        return may_replace(status, source) && (same_mode || fchmod(file_.get(), mode) == 0) &&
               (status.st_size == 0 || cut_to_nothing());
    }

    int get() const { return file_.get(); }

private:
    static bool may_replace(const Status& status, const Status& source)
    {
        const bool same = status.st_dev == source.st_dev && status.st_ino == source.st_ino;
        return is_regular(status) && (!same || refuse(EEXIST));
    }

    bool cut_to_nothing()
    {
        int result = 0;
        do
            result = ftruncate(file_.get(), 0);
        while (result != 0 && errno == EINTR);
        return result == 0;
    }

    Descriptor file_;
};

bool copy_content(const char* from, const char* to)
{
    // Not waiting matters for a FIFO alone, which is refused as soon as it is open.
    const Descriptor source = open_file(from, O_RDONLY | O_NONBLOCK);
    Status status{};
    Destination destination;
    return source && fstat(source.get(), &status) == 0 && is_regular(status) &&
           destination.open(to, status) &&
           fcopyfile(source.get(), destination.get(), nullptr, COPYFILE_DATA) == 0;
}

template <class Form>
bool copy_file(const typename Form::Char* source, const typename Form::Char* destination,
               bool fail_if_exists)
{
    if (source == nullptr || destination == nullptr)
        return fail(ERROR_MIROVAN_FILE_COPY_PARAMETER, EINVAL);
    PathBuffer to;
    const bool asked = fail_if_exists && Form::convert(destination, to);
    if (asked && access(to, F_OK) == 0)
        return fail(ERROR_MIROVAN_FILE_COPY_EXIST, EEXIST);
    const int unknown = asked && errno != ENOENT && errno != ENOTDIR ? errno : 0;
    if (!prepare_target<Form>(destination, to, ERROR_MIROVAN_FILE_COPY_FAILED))
        return false;
    // What may exist is not to be replaced.
    if (unknown != 0)
        return fail(ERROR_MIROVAN_FILE_COPY_FAILED, unknown);
    PathBuffer converted;
    const char* from = Form::native(source, converted);
    return (from != nullptr && copy_content(from, to)) ||
           fail(ERROR_MIROVAN_FILE_COPY_FAILED, errno);
}

} // namespace
} // namespace mirovan

bool CMirovan_File::Mirovan_File_CopyFileA(const char* lpszSrcFile, const char* lpszDstFile,
                                           bool bFailIfExists)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_FILE_COPY_FAILED>(copy_file<NarrowForm>, lpszSrcFile,
                                                     lpszDstFile, bFailIfExists);
}

bool CMirovan_File::Mirovan_File_CopyFileW(const wchar_t* lpwszSrcFile, const wchar_t* lpwszDstFile,
                                           bool bFailIfExists)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_FILE_COPY_FAILED>(copy_file<WideForm>, lpwszSrcFile,
                                                     lpwszDstFile, bFailIfExists);
}
