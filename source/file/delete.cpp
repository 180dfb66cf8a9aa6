#include "source/file/path.h"
#include "source/file/walk.h"
#include "source/operation.h"

#include <string>
#include <sys/stat.h>

namespace mirovan
{
namespace
{

/// Deletes what is in a folder, going on past what cannot be deleted.
class Deletion : public Walk<Deletion>
{
public:
    void empty(const std::string& path)
    {
        if (!run(path, Links::follow))
            note_failure(errno);
    }

    void remove_tree(const std::string& path)
    {
        if (run(path, Links::refuse))
            remove(AT_FDCWD, path.c_str(), AT_REMOVEDIR);
        else
            remove_unopened(AT_FDCWD, path.c_str(), errno);
    }

    /// The errno of the first failure; 0 when there was none.
    int first_failure() const { return first_failure_; }

private:
    friend Walk;

    Next see(Entry& entry)
    {
        if (entry.kind == EntryKind::unknown)
            current().confirm(entry); // GCOVR_EXCL_LINE: machine
        if (entry.kind == EntryKind::folder)
            return Next::enter;
        remove(current().descriptor(), entry.name, 0);
        return Next::pass;
    }

    bool rejected(const Entry& entry, int reason)
    {
        remove_unopened(current().descriptor(), entry.name, reason);
        return true;
    }

    /// Everything is read before anything is deleted: some file systems pass entries over when a
    /// folder changes while it is read.
    Next entered()
    {
        if (!current().read_ahead())
            note_failure(errno);
        return Next::enter;
    }

    bool unreadable(int reason)
    {
        note_failure(reason);
        return true;
    }

    bool left(const char* name)
    {
        remove(current().descriptor(), name, AT_REMOVEDIR);
        return true;
    }

    /// The folder above one that was moved during the deletion is not to be deleted.
    void lost(int reason) { note_failure(reason == ENOENT ? ESTALE : reason); }

    void remove(int parent, const char* name, int flags)
    {
        if (unlinkat(parent, name, flags) != 0)
            note_failure(errno);
    }

    /// A folder that cannot be opened may still be empty; and a link or a file that has taken its
    /// place is deleted as what it is. Otherwise the reason is that of the opening.
    void remove_unopened(int parent, const char* name, int reason)
    {
        const bool is_folder = reason != ENOTDIR && reason != ELOOP;
        if (unlinkat(parent, name, is_folder ? AT_REMOVEDIR : 0) != 0 && errno != ENOENT)
            note_failure(reason);
    }

    /// An entry that no longer exists is not a failure.
    void note_failure(int reason)
    {
        if (first_failure_ == 0 && reason != ENOENT)
            first_failure_ = reason;
    }

    int first_failure_ = 0;
};

/// A path that names a link itself: a slash behind the name would follow it.
std::string without_trailing_slashes(std::string path)
{
    path.resize(std::max<std::size_t>(path.find_last_not_of('/') + 1, 1));
    return path;
}

bool delete_folder(const Path& path, bool with_root)
{
    if (path.is_null())
        return fail(ERROR_MIROVAN_FILE_DELETEFOLDER_PARAMETER, EINVAL);
    if (path.error() != 0)
        return fail(ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, path.error());
    struct stat status = {};
    if (stat(path.text(), &status) != 0)
        return errno == ENOENT || errno == ENOTDIR ||
               fail(ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, errno);
    if (!S_ISDIR(status.st_mode))
        return true;

    Deletion deletion;
    if (with_root)
        deletion.remove_tree(without_trailing_slashes(path.text()));
    else
        deletion.empty(path.text());
    return deletion.first_failure() == 0 ||
           fail(ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, deletion.first_failure());
}

} // namespace
} // namespace mirovan

using namespace mirovan;

bool CMirovan_File::Mirovan_File_DeleteMutilFolderA(const char* lpszPath, bool bDelRoot)
{
    return operation<ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED>(delete_folder, lpszPath, bDelRoot);
}

bool CMirovan_File::Mirovan_File_DeleteMutilFolderW(const wchar_t* lpwszPath, bool bDelRoot)
{
    return operation<ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED>(delete_folder, lpwszPath, bDelRoot);
}
