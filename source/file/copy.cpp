#include "platform/copy.h"
#include "base/descriptor.h"
#include "source/file/folder.h"
#include "source/operation.h"

#include <sys/stat.h>

namespace mirovan
{
namespace
{

using Status = struct stat;

constexpr mode_t all_mode_bits = 07777;
// No set-user-ID, set-group-ID or sticky bits: the copy may have another owner.
constexpr mode_t copied_mode_bits = 0777;
constexpr mode_t owner_mode_bits = 0700;
constexpr mode_t unknown_mode = ~mode_t{0};

bool refuse(int reason)
{
    errno = reason;
    return false;
}

bool is_regular(const Status& status)
{
    return S_ISREG(status.st_mode) || refuse(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
}

/// The destination. Nobody but its owner may read it until its content is complete.
class Destination
{
public:
    bool open(const char* path, const Status& source, bool fail_if_exists)
    {
        mode_ = source.st_mode & copied_mode_bits;
        const mode_t first_mode = mode_ & owner_mode_bits;
        file_ = open_file(path, O_WRONLY | O_CREAT | O_EXCL | O_NONBLOCK, first_mode);
        created_ = static_cast<bool>(file_);
        if (!created_ && errno == EEXIST && !fail_if_exists)
            file_ = open_file(path, O_WRONLY | O_CREAT | O_NONBLOCK, first_mode);
        if (created_)
            return true;
        Status status{};
        if (!file_ || fstat(file_.get(), &status) != 0)
            return false;
        mode_now_ = status.st_mode & all_mode_bits;
        return may_replace(status, source) && (mode_now_ == mode_ || set_mode(first_mode)) &&
               (status.st_size == 0 || truncate());
    }

    /// Gives it the mode that it is to have and closes it.
    bool finish()
    {
        // A volume without permission bits does not make the copy fail.
        return (mode_now_ == mode_ || set_mode(mode_) || (created_ && errno == EPERM)) &&
               file_.close();
    }

    int get() const { return file_.get(); }

private:
    static bool may_replace(const Status& status, const Status& source)
    {
        const bool same = status.st_dev == source.st_dev && status.st_ino == source.st_ino;
        return is_regular(status) && (!same || refuse(EEXIST));
    }

    bool set_mode(mode_t mode)
    {
        if (fchmod(file_.get(), mode) != 0)
            return false;
        mode_now_ = mode;
        return true;
    }

    bool truncate()
    {
        int result = 0;
        do
            result = ftruncate(file_.get(), 0);
        while (result != 0 && errno == EINTR);
        return result == 0;
    }

    Descriptor file_;
    mode_t mode_ = 0;
    mode_t mode_now_ = unknown_mode; ///< A new file's depends on the umask.
    bool created_ = false;
};

bool copy_file(const Path& from, const Path& to, bool fail_if_exists)
{
    if (from.is_null() || to.is_null())
        return fail(ERROR_MIROVAN_FILE_COPY_PARAMETER, EINVAL);
    // Comes before all other failures; what appears later is found when the file is created.
    if (fail_if_exists && access(to.text(), F_OK) == 0)
        return fail(ERROR_MIROVAN_FILE_COPY_EXIST, EEXIST);
    if (!prepare_target(to, ERROR_MIROVAN_FILE_COPY_FAILED))
        return false;
    if (from.error() != 0)
        return fail(ERROR_MIROVAN_FILE_COPY_FAILED, from.error());

    // Not waiting matters for a FIFO alone, which is rejected as soon as it is open.
    const Descriptor source = open_file(from.text(), O_RDONLY | O_NONBLOCK);
    Status status{};
    if (!source || fstat(source.get(), &status) != 0 || !is_regular(status))
        return fail(ERROR_MIROVAN_FILE_COPY_FAILED, errno);
    if (platform::clone_file(source.get(), status, to.text()))
        return true;
    Destination destination;
    if (!destination.open(to.text(), status, fail_if_exists))
        return fail(fail_if_exists && errno == EEXIST ? ERROR_MIROVAN_FILE_COPY_EXIST
                                                      : ERROR_MIROVAN_FILE_COPY_FAILED,
                    errno);
    return (platform::copy_content(source.get(), destination.get()) && destination.finish()) ||
           fail(ERROR_MIROVAN_FILE_COPY_FAILED, errno);
}

} // namespace
} // namespace mirovan

using namespace mirovan;

bool CMirovan_File::Mirovan_File_CopyFileA(const char* lpszSrcFile, const char* lpszDstFile,
                                           bool bFailIfExists)
{
    return operation<ERROR_MIROVAN_FILE_COPY_FAILED>(copy_file, lpszSrcFile, lpszDstFile,
                                                     bFailIfExists);
}

bool CMirovan_File::Mirovan_File_CopyFileW(const wchar_t* lpwszSrcFile, const wchar_t* lpwszDstFile,
                                           bool bFailIfExists)
{
    return operation<ERROR_MIROVAN_FILE_COPY_FAILED>(copy_file, lpwszSrcFile, lpwszDstFile,
                                                     bFailIfExists);
}
