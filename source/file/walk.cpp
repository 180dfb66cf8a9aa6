#include "source/file/walk.h"

#include "source/operation.h"

#include <fnmatch.h>

namespace mirovan
{
namespace
{

using Callback = int (*)(const MIROVAN_WALK_ENTRY*, void*);

int64_t nanoseconds(const timespec& time)
{
    constexpr int64_t per_second = 1'000'000'000;
    return time.tv_sec * per_second + time.tv_nsec;
}

int32_t public_kind(EntryKind kind)
{
    switch (kind)
    {
    case EntryKind::file:
        return MIROVAN_KIND_FILE;
    case EntryKind::folder:
        return MIROVAN_KIND_FOLDER;
    case EntryKind::link:
        return MIROVAN_KIND_LINK;
    case EntryKind::other:
        return MIROVAN_KIND_OTHER;
    default:                         // GCOVR_EXCL_LINE: machine
        return MIROVAN_KIND_UNKNOWN; // GCOVR_EXCL_LINE: machine
    }
}

/// The content of a symbolic link; false, with errno set, when it cannot be read.
bool read_link(int folder, const char* name, std::string& target)
{
    for (std::size_t capacity = 256;; capacity *= 2)
    {
        target.resize(capacity);
        const ssize_t length = readlinkat(folder, name, target.data(), capacity);
        if (length < 0)
            return false;
        if (static_cast<std::size_t>(length) < capacity)
        {
            target.resize(static_cast<std::size_t>(length));
            return true;
        }
    }
}

/// The walk of the C interface.
class ReportedWalk : public Walk<ReportedWalk>
{
public:
    ReportedWalk(const MIROVAN_WALK& options, Callback callback, void* context)
        : options_{options}, callback_{callback}, context_{context}
    {
    }

    /// Why the walk could not be finished; 0 when it was.
    int failure() const { return failure_; }

private:
    friend Walk;

    bool has_flag(Mirovan_WalkFlag flag) const { return (options_.nFlags & flag) != 0; }

    bool matches(const char* name) const
    {
        return options_.lpszPattern == nullptr || fnmatch(options_.lpszPattern, name, 0) == 0;
    }

    Next see(Entry& entry)
    {
        begin_report(entry.kind, depth() + 1);
        is_wanted_ = matches(entry.name);
        if (entry.kind == EntryKind::unknown || (is_wanted_ && has_flag(MIROVAN_WALK_STATUS)) ||
            (entry.kind == EntryKind::folder && has_flag(MIROVAN_WALK_SAME_VOLUME)))
            entry.kind = read_status(entry.name, entry.kind);
        if (entry.kind == EntryKind::folder && may_enter())
            return Next::enter;
        return is_wanted_ || report_.nErrno != 0 ? send(path()) : Next::pass;
    }

    bool may_enter() const
    {
        const auto most = static_cast<std::size_t>(options_.nMaxDepth);
        const bool other_volume = has_flag(MIROVAN_WALK_SAME_VOLUME) && device_ != volume_;
        return (most == 0 || depth() + 1 < most) && !other_volume && report_.nErrno == 0;
    }

    bool rejected(const Entry& /*entry*/, int reason)
    {
        report_.nErrno = reason;
        return send(path()) != Next::stop;
    }

    Next entered()
    {
        if (depth() == 0)
        {
            struct stat status = {};
            if (fstat(current().descriptor(), &status) == 0)
                volume_ = status.st_dev;
            return Next::enter;
        }
        if (!is_wanted_ || has_flag(MIROVAN_WALK_FOLDERS_LAST))
            return Next::enter;
        const Next next = send(path());
        return next == Next::pass && !skipped_ ? Next::enter : next;
    }

    bool unreadable(int reason)
    {
        begin_report(EntryKind::folder, depth());
        report_.nErrno = reason;
        std::string folder = path();
        if (folder.size() > 1)
            folder.pop_back();
        return send(folder) != Next::stop;
    }

    bool left(const char* name)
    {
        if (!has_flag(MIROVAN_WALK_FOLDERS_LAST) || !matches(name))
            return true;
        begin_report(EntryKind::folder, depth() + 1);
        if (has_flag(MIROVAN_WALK_STATUS))
            read_status(name, EntryKind::folder);
        return send(path()) != Next::stop;
    }

    void lost(int reason) { failure_ = reason == ENOENT ? ESTALE : reason; }

    void begin_report(EntryKind kind, std::size_t depth)
    {
        report_ = {};
        report_.nSize = sizeof report_;
        report_.nKind = public_kind(kind);
        report_.nDepth = static_cast<int32_t>(depth);
    }

    /// Adds the status of an entry of the current folder to the report; returns its kind.
    EntryKind read_status(const char* name, EntryKind kind)
    {
        struct stat status = {};
        if (fstatat(current().descriptor(), name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        {
            report_.nErrno = errno;
            return kind;
        }
        kind = kind_of(status);
        device_ = status.st_dev;
        report_.nKind = public_kind(kind);
        if (!has_flag(MIROVAN_WALK_STATUS))
            return kind;
        constexpr int64_t allocation_unit = 512;
        constexpr mode_t permission_bits = 07777;
        report_.nKnown |= MIROVAN_WALK_KNOWN_STATUS;
        report_.nPermissions = status.st_mode & permission_bits;
        report_.nFileSize = status.st_size;
        report_.nAllocatedSize = status.st_blocks * allocation_unit;
        report_.nModifyTime = nanoseconds(status.st_mtimespec);
        report_.nAccessTime = nanoseconds(status.st_atimespec);
        report_.nStatusTime = nanoseconds(status.st_ctimespec);
        report_.nDevice = static_cast<uint64_t>(status.st_dev);
        report_.nInode = status.st_ino;
        report_.nLinkCount = status.st_nlink;
        report_.nUserId = status.st_uid;
        report_.nGroupId = status.st_gid;
        if (kind == EntryKind::link)
            read_target(name);
        return kind;
    }

    void read_target(const char* name)
    {
        if (!read_link(current().descriptor(), name, target_))
        {
            report_.nErrno = errno;
            return;
        }
        report_.nKnown |= MIROVAN_WALK_KNOWN_TARGET;
        report_.lpszLinkTarget = target_.c_str();
    }

    Next send(const std::string& path)
    {
        report_.lpszPath = path.c_str();
        const std::size_t slash = path.rfind('/');
        const bool has_name = slash != std::string::npos && slash + 1 != path.size();
        report_.lpszName = has_name ? path.c_str() + slash + 1 : path.c_str();
        const int answer = callback_(&report_, context_);
        skipped_ = answer == MIROVAN_WALK_SKIP;
        return answer == MIROVAN_WALK_STOP ? Next::stop : Next::pass;
    }

    const MIROVAN_WALK& options_;
    Callback callback_;
    void* context_;
    MIROVAN_WALK_ENTRY report_{};
    std::string target_;
    dev_t volume_ = 0;
    dev_t device_ = 0; ///< Of the entry whose status was read last.
    bool is_wanted_ = false;
    bool skipped_ = false;
    int failure_ = 0;
};

bool walk(const char* path, const MIROVAN_WALK* given, Callback callback, void* context)
{
    constexpr uint32_t all_flags =
        MIROVAN_WALK_STATUS | MIROVAN_WALK_SAME_VOLUME | MIROVAN_WALK_FOLDERS_LAST;
    if (path == nullptr || callback == nullptr ||
        (given != nullptr && given->nSize < sizeof(MIROVAN_WALK)))
        return fail(ERROR_MIROVAN_FILE_WALK_PARAMETER, EINVAL);
    const MIROVAN_WALK options = given != nullptr ? *given : MIROVAN_WALK{};
    if ((options.nFlags & ~all_flags) != 0 || options.nMaxDepth < 0)
        return fail(ERROR_MIROVAN_FILE_WALK_PARAMETER, EINVAL);
    ReportedWalk reported{options, callback, context};
    if (!reported.run(path, Links::follow))
        return fail(ERROR_MIROVAN_FILE_WALK_FAILED, errno);
    return reported.failure() == 0 || fail(ERROR_MIROVAN_FILE_WALK_FAILED, reported.failure());
}

} // namespace
} // namespace mirovan

using namespace mirovan;

bool CMirovan_File::Mirovan_File_Walk(const char* lpszPath, const MIROVAN_WALK* pstWalk,
                                      int (*pfnEntry)(const MIROVAN_WALK_ENTRY*, void*),
                                      void* pContext)
{
    return calling_operation<ERROR_MIROVAN_FILE_WALK_FAILED>(walk, lpszPath, pstWalk, pfnEntry,
                                                             pContext);
}
