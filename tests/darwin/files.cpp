// Files and folders as Darwin has them.
#include "darwin.h"

#include <cstdint>
#include <dirent.h>
#include <linux/magic.h>
#include <memory>
#include <string>
#include <sys/vfs.h>

using namespace darwin;

namespace
{

constexpr std::size_t path_max = 1024;

int folder(int at)
{
    return at == darwin_AT_FDCWD ? AT_FDCWD : at;
}

bool too_long(const char* path)
{
    return path != nullptr && strnlen(path, path_max) == path_max && fails(ENAMETOOLONG, true);
}

int deliver(int result, const struct stat& from, darwin_stat* to)
{
    if (result == 0)
        *to = {.st_dev = static_cast<int32_t>(from.st_dev),
               .st_mode = static_cast<uint16_t>(from.st_mode),
               .st_nlink = static_cast<uint16_t>(from.st_nlink),
               .st_ino = from.st_ino,
               .st_uid = from.st_uid,
               .st_gid = from.st_gid,
               .st_rdev = static_cast<int32_t>(from.st_rdev),
               .st_atimespec_tv_sec = from.st_atim.tv_sec,
               .st_atimespec_tv_nsec = from.st_atim.tv_nsec,
               .st_mtimespec_tv_sec = from.st_mtim.tv_sec,
               .st_mtimespec_tv_nsec = from.st_mtim.tv_nsec,
               .st_ctimespec_tv_sec = from.st_ctim.tv_sec,
               .st_ctimespec_tv_nsec = from.st_ctim.tv_nsec,
               .st_size = from.st_size,
               .st_blocks = from.st_blocks,
               .st_blksize = static_cast<int32_t>(from.st_blksize)};
    return result;
}

/// What a link leads to, when a path ends in a separator behind it.
std::string through_link(int at, std::string path)
{
    if (!path.ends_with('/'))
        return {};
    path.erase(path.find_last_not_of('/') + 1);
    if (at != AT_FDCWD && !path.starts_with('/'))
        path = "/proc/self/fd/" + std::to_string(at) + "/" + path;
    struct stat status = {};
    const bool link = lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
    const std::unique_ptr<char, void (*)(void*)> target{
        link ? realpath(path.c_str(), nullptr) : nullptr, std::free};
    return target ? target.get() : "";
}

/// Files of a Mac's own volumes are not interrupted.
template <class Body>
ssize_t again(Body body)
{
    ssize_t result = 0;
    do
        result = body();
    while (result < 0 && errno == EINTR);
    return result;
}

struct Folder
{
    DIR* folder;
    darwin_dirent entry;
};

template <class Open>
Folder* opened_folder(Open open)
{
    auto* made = static_cast<Folder*>(std::calloc(1, sizeof(Folder)));
    if (made != nullptr && (made->folder = open()) == nullptr)
    {
        std::free(made);
        return nullptr;
    }
    return made;
}

} // namespace

DARWIN_CALL int darwin_openat(int at, const char* path, int flags, unsigned mode)
{
    const Call call;
    return too_long(path)
               ? -1
               : openat(folder(at), path, linux_flags(darwin_open_flags, flags, "open flag"), mode);
}
DARWIN_CALL int darwin_open(const char* path, int flags, unsigned mode)
{
    return darwin_openat(darwin_AT_FDCWD, path, flags, mode);
}
DARWIN_CALL int darwin_fcntl(int file, int command, long argument)
{
    const Call call;
    switch (command)
    {
    case darwin_F_DUPFD_CLOEXEC:
        return fcntl(file, F_DUPFD_CLOEXEC, argument);
    case F_GETFD:
    case F_SETFD:
    case F_DUPFD:
        return fcntl(file, command, argument);
    case darwin_F_SETFL:
        return fcntl(file, F_SETFL, linux_flags(darwin_open_flags, argument, "file flag"));
    case darwin_F_GETFL:
    {
        const int flags = fcntl(file, F_GETFL);
        return flags < 0 ? flags
                         : (flags & O_ACCMODE) | ((flags & O_NONBLOCK) != 0 ? 4 : 0) |
                               ((flags & O_APPEND) != 0 ? 8 : 0);
    }
    default:
        unknown("fcntl", command);
    }
}
DARWIN_CALL int darwin_mkdir(const char* path, unsigned mode)
{
    const Call call;
    return too_long(path) ? -1 : mkdir(path, mode & 07777);
}
DARWIN_CALL int darwin_access(const char* path, int mode)
{
    const Call call;
    return too_long(path) ? -1 : access(path, mode);
}
DARWIN_CALL int darwin_unlinkat(int at, const char* path, int flags)
{
    const Call call;
    if (too_long(path))
        return -1;
    const bool removes_folder = (flags & darwin_AT_REMOVEDIR) != 0;
    if (const std::string target = removes_folder ? through_link(folder(at), path) : "";
        !target.empty())
        return rmdir(target.c_str());
    const int result = unlinkat(folder(at), path, removes_folder ? AT_REMOVEDIR : 0);
    return result != 0 && errno == EISDIR ? fails(EPERM, -1) : result;
}
DARWIN_CALL int darwin_unlink(const char* path)
{
    return darwin_unlinkat(darwin_AT_FDCWD, path, 0);
}
DARWIN_CALL int darwin_rmdir(const char* path)
{
    return darwin_unlinkat(darwin_AT_FDCWD, path, darwin_AT_REMOVEDIR);
}
DARWIN_CALL ssize_t darwin_readlinkat(int at, const char* path, char* to, std::size_t size)
{
    const Call call;
    return too_long(path) ? -1 : readlinkat(folder(at), path, to, size);
}

DARWIN_CALL int darwin_fstatat(int at, const char* path, darwin_stat* to, int flags)
{
    const Call call;
    struct stat status;
    return too_long(path)
               ? -1
               : deliver(fstatat(folder(at), path, &status,
                                 flags == darwin_AT_SYMLINK_NOFOLLOW ? AT_SYMLINK_NOFOLLOW : 0),
                         status, to);
}
// By their own names: a test may make just these fail.
DARWIN_CALL int darwin_stat(const char* path, struct darwin_stat* to)
{
    const Call call;
    struct stat status;
    return too_long(path) ? -1 : deliver(stat(path, &status), status, to);
}
DARWIN_CALL int darwin_lstat(const char* path, struct darwin_stat* to)
{
    const Call call;
    struct stat status;
    return too_long(path) ? -1 : deliver(lstat(path, &status), status, to);
}
DARWIN_CALL int darwin_fstat(int file, struct darwin_stat* to)
{
    const Call call;
    struct stat status;
    return deliver(fstat(file, &status), status, to);
}

DARWIN_CALL Folder* darwin_fdopendir(int file)
{
    const Call call;
    return opened_folder([&] { return fdopendir(file); });
}
DARWIN_CALL Folder* darwin_opendir(const char* path)
{
    const Call call;
    return too_long(path) ? nullptr : opened_folder([&] { return opendir(path); });
}
DARWIN_CALL int darwin_closedir(Folder* folder)
{
    const Call call;
    DIR* opened = folder->folder;
    std::free(folder);
    return closedir(opened);
}
DARWIN_CALL int darwin_dirfd(Folder* folder)
{
    return dirfd(folder->folder);
}
DARWIN_CALL darwin_dirent* darwin_readdir(Folder* folder)
{
    const Call call;
    const dirent* entry = readdir(folder->folder);
    if (entry == nullptr)
        return nullptr;
    auto& to = folder->entry;
    const std::size_t length = std::strlen(entry->d_name);
    to.d_ino = entry->d_ino;
    to.d_reclen = sizeof to;
    to.d_namlen = static_cast<uint16_t>(length);
    to.d_type = entry->d_type; // the numbers are the same
    std::memcpy(to.d_name, entry->d_name, length + 1);
    return &to;
}

struct CopyState
{
    int (*check)(int, int, CopyState*, const char*, const char*, void*);
    void* context;
    off_t copied;
};
DARWIN_CALL CopyState* darwin_copyfile_state_alloc()
{
    const Call call;
    return static_cast<CopyState*>(std::calloc(1, sizeof(CopyState)));
}
DARWIN_CALL int darwin_copyfile_state_free(CopyState* state)
{
    std::free(state);
    return 0;
}
DARWIN_CALL int darwin_copyfile_state_set(CopyState* state, unsigned what, void* value)
{
    if (what == darwin_COPYFILE_STATE_STATUS_CB)
        state->check = reinterpret_cast<decltype(state->check)>(value);
    else
        state->context = value;
    return 0;
}
DARWIN_CALL int darwin_copyfile_state_get(CopyState* state, unsigned /*what*/, off_t* copied)
{
    *copied = state->copied;
    return 0;
}
/// To the end, wherever that is by then: Darwin does not look at the size.
DARWIN_CALL int darwin_fcopyfile(int from, int to, CopyState* state, unsigned flags)
{
    const Call call;
    if (flags != (darwin_COPYFILE_DATA | darwin_COPYFILE_DATA_SPARSE))
        unknown("copyfile flag", flags);
    char buffer[1 << 16];
    for (;;)
    {
        const ssize_t got = again([&] { return read(from, buffer, sizeof buffer); });
        if (got <= 0)
            return static_cast<int>(got);
        for (ssize_t done = 0; done < got;)
        {
            const auto left = static_cast<std::size_t>(got - done);
            const ssize_t written = again([&] { return write(to, buffer + done, left); });
            if (written < 0)
                return -1;
            done += written;
        }
        state->copied += got;
        if (state->check(darwin_COPYFILE_COPY_DATA, darwin_COPYFILE_PROGRESS, state, "", "",
                         state->context) != darwin_COPYFILE_CONTINUE)
            return fails(ECANCELED, -1);
    }
}
/// Within any volume but the one that is kept in memory.
DARWIN_CALL int darwin_fclonefileat(int from, int at, const char* path, unsigned /*flags*/)
{
    const Call call;
    struct stat source = {};
    struct stat made = {};
    struct statfs volume = {};
    if (fstat(from, &source) != 0 || fstatfs(from, &volume) != 0)
        return -1;
    if (volume.f_type == TMPFS_MAGIC)
        return fails(ENOTSUP, -1);
    const int to = openat(folder(at), path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (to < 0)
        return -1;
    errno = EXDEV;
    const auto size = static_cast<std::size_t>(source.st_size);
    const bool whole = fstat(to, &made) == 0 && made.st_dev == source.st_dev &&
                       copy_file_range(from, nullptr, to, nullptr, size, 0) == source.st_size &&
                       fchmod(to, source.st_mode & 07777) == 0;
    const int error = errno;
    close(to);
    return whole ? 0 : (unlinkat(folder(at), path, 0), fails(error, -1));
}
DARWIN_CALL std::FILE* darwin_fdopen(int file, const char* mode)
{
    const Call call;
    return file > INT16_MAX ? fails<std::FILE*>(EMFILE, nullptr) : fdopen(file, mode);
}
