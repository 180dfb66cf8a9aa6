#include "source/file/directory.h"
#include "source/file/path_form.h"
#include "source/operation.h"

#include <string>
#include <sys/stat.h>

namespace mirovan
{
namespace
{

/// Deletes what is in a folder, going on past what cannot be deleted.
class Deletion
{
public:
    void empty(const char* path)
    {
        if (folders_.start(path, Links::follow))
            run();
        else
            note_failure();
    }

    void remove_tree(const char* path)
    {
        if (!folders_.start(path, Links::refuse))
        {
            remove_unopened(AT_FDCWD, path);
            return;
        }
        run();
        remove(AT_FDCWD, path, AT_REMOVEDIR);
    }

    /// The errno of the first failure; 0 when there was none.
    int first_failure() const { return first_failure_; }

private:
    void run()
    {
        read_current();
        while (!folders_.empty())
            step();
    }

    void step()
    {
        Entry entry{};
        if (!folders_.current().next(entry))
            leave();
        else if (is_folder(entry))
            enter(entry.name);
        else
            remove(folders_.current().descriptor(), entry.name, 0);
    }

    bool is_folder(Entry& entry)
    {
        if (entry.kind == EntryKind::unknown)
            folders_.current().confirm(entry);
        return entry.kind == EntryKind::folder;
    }

    void enter(const char* name)
    {
        if (!folders_.enter(name))
        {
            remove_unopened(folders_.current().descriptor(), name);
            return;
        }
        names_.emplace_back(name);
        read_current();
    }

    /// Everything is read before anything is deleted: some file systems pass entries over when a
    /// folder changes while it is read.
    void read_current()
    {
        if (!folders_.current().read_ahead())
            note_failure();
    }

    void leave()
    {
        if (!folders_.leave())
        {
            // What is above it now is not ours to delete when the folder was moved meanwhile.
            note_failure(errno == ENOENT ? ESTALE : errno);
            folders_ = {};
        }
        if (folders_.empty())
            return;
        remove(folders_.current().descriptor(), names_.back().c_str(), AT_REMOVEDIR);
        names_.pop_back();
    }

    void remove(int parent, const char* name, int flags)
    {
        if (unlinkat(parent, name, flags) != 0)
            note_failure();
    }

    /// A folder that cannot be opened may still be empty; and a link or a file that has taken its
    /// place is deleted as what it is. Otherwise the reason is that of the opening.
    void remove_unopened(int parent, const char* name)
    {
        const int reason = errno;
        const bool is_folder = reason != ENOTDIR && reason != ELOOP;
        if (unlinkat(parent, name, is_folder ? AT_REMOVEDIR : 0) != 0 && errno != ENOENT)
            note_failure(reason);
    }

    /// What is gone already is no failure.
    void note_failure(int reason = errno)
    {
        if (first_failure_ == 0 && reason != ENOENT)
            first_failure_ = reason;
    }

    DirectoryStack folders_;
    /// The names of all folders on the stack but the first.
    std::vector<std::string> names_;
    int first_failure_ = 0;
};

template <class Form>
bool delete_folder(const typename Form::Char* path, bool with_root)
{
    if (path == nullptr)
        return fail(ERROR_MIROVAN_FILE_DELETEFOLDER_PARAMETER, EINVAL);
    PathBuffer buffer;
    struct stat status = {};
    const char* native = Form::native(path, buffer);
    if (native == nullptr)
        return fail(ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, errno);
    if (stat(native, &status) != 0)
        return errno == ENOENT || errno == ENOTDIR ||
               fail(ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, errno);
    if (!S_ISDIR(status.st_mode))
        return true;

    Deletion deletion;
    if (with_root)
        deletion.remove_tree(native);
    else
        deletion.empty(native);
    return deletion.first_failure() == 0 ||
           fail(ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, deletion.first_failure());
}

} // namespace
} // namespace mirovan

bool CMirovan_File::Mirovan_File_DeleteMutilFolderA(const char* lpszPath, bool bDelRoot)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED>(delete_folder<NarrowForm>, lpszPath,
                                                             bDelRoot);
}

bool CMirovan_File::Mirovan_File_DeleteMutilFolderW(const wchar_t* lpwszPath, bool bDelRoot)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED>(delete_folder<WideForm>, lpwszPath,
                                                             bDelRoot);
}
