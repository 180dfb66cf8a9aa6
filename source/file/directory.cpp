#include "source/file/directory.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <sys/stat.h>

namespace mirovan
{
namespace
{

constexpr std::size_t most_open = 16;

bool is_own_or_parent(const char* name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

EntryKind kind_of(const dirent& entry)
{
    switch (entry.d_type)
    {
    case DT_DIR:
        return EntryKind::folder;
    case DT_REG:
        return EntryKind::file;
    case DT_LNK:
        return EntryKind::link;
    case DT_BLK:
    case DT_CHR:
    case DT_FIFO:
    case DT_SOCK:
        return EntryKind::other;
    default:                       // GCOVR_EXCL_LINE: machine
        return EntryKind::unknown; // GCOVR_EXCL_LINE: machine
    }
}

/// Opens a folder by a path of any length, longer ones in parts that the system takes.
Descriptor open_folder(int parent, std::string_view path, int flags)
{
    Descriptor reached;
    while (path.size() >= PATH_MAX)
    {
        const std::size_t slash = path.rfind('/', PATH_MAX - 1);
        const std::string part{path.substr(0, slash + 1)};
        if (slash == std::string_view::npos || slash == 0)
        {
            errno = ENAMETOOLONG;
            return {};
        }
        reached = open_at(reached ? reached.get() : parent, part.c_str(), O_RDONLY | O_DIRECTORY);
        if (!reached)
            return {};
        path.remove_prefix(std::min(path.find_first_not_of('/', slash), path.size()));
    }
    const std::string rest{reached && path.empty() ? "." : path};
    return open_at(reached ? reached.get() : parent, rest.c_str(), flags);
}

} // namespace

EntryKind kind_of(const struct stat& status)
{
    switch (status.st_mode & S_IFMT)
    {
    case S_IFDIR:
        return EntryKind::folder;
    case S_IFREG:
        return EntryKind::file;
    case S_IFLNK:
        return EntryKind::link;
    case S_IFBLK:
    case S_IFCHR:
    case S_IFIFO:
    case S_IFSOCK:
        return EntryKind::other;
    default:                       // GCOVR_EXCL_LINE: machine
        return EntryKind::unknown; // GCOVR_EXCL_LINE: machine
    }
}

Directory Directory::open(int parent, const char* name, Links links)
{
    const int follow = links == Links::refuse ? O_NOFOLLOW : 0;
    const int flags = O_RDONLY | O_DIRECTORY | follow;
    Directory folder;
    Descriptor descriptor =
        parent == AT_FDCWD ? open_folder(parent, name, flags) : open_at(parent, name, flags);
    if (descriptor)
        folder.stream_.reset(fdopendir(descriptor.get()));
    if (folder)
        descriptor.release();
    return folder;
}

bool Directory::next(Entry& entry)
{
    if (!read_ahead_)
        return next_in_stream(entry);
    errno = 0;
    if (ahead_position_ == ahead_.size())
        return false;
    entry.kind = static_cast<EntryKind>(ahead_[ahead_position_]);
    entry.name = &ahead_[ahead_position_ + 1];
    ahead_position_ += 1 + std::strlen(entry.name) + 1;
    return true;
}

bool Directory::next_in_stream(Entry& entry)
{
    for (;;)
    {
        errno = 0;
        const dirent* found = readdir(stream_.get());
        if (found == nullptr)
            return false;
        if (is_own_or_parent(found->d_name))
            continue;
        entry = {found->d_name, kind_of(*found)};
        return true;
    }
}

bool Directory::confirm(Entry& entry)
{
    if (confirmed_ && entry.kind != EntryKind::unknown)
        return true;
    struct stat status = {};
    if (fstatat(descriptor(), entry.name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    confirmed_ = true;
    entry.kind = kind_of(status);
    return entry.kind != EntryKind::unknown;
}

bool Directory::read_ahead()
{
    if (read_ahead_)
        return true;
    Entry entry{};
    while (next_in_stream(entry))
    {
        ahead_.push_back(static_cast<char>(entry.kind));
        ahead_.insert(ahead_.end(), entry.name, entry.name + std::strlen(entry.name) + 1);
    }
    read_ahead_ = true;
    return errno == 0;
}

bool Directory::park()
{
    struct stat status = {};
    if (!read_ahead() || fstat(descriptor(), &status) != 0)
        return false;
    device_ = status.st_dev;
    inode_ = status.st_ino;
    stream_.reset();
    reopened_ = Descriptor{};
    return true;
}

bool Directory::unpark(int child)
{
    Descriptor parent = open_at(child, "..", O_RDONLY | O_DIRECTORY);
    struct stat status = {};
    if (!parent || fstat(parent.get(), &status) != 0)
        return false;
    if (status.st_dev != device_ || status.st_ino != inode_)
    {
        errno = ESTALE; // GCOVR_EXCL_LINE: race
        return false;   // GCOVR_EXCL_LINE: race
    }
    reopened_ = std::move(parent);
    return true;
}

bool DirectoryStack::start(const char* path, Links links)
{
    Directory folder = Directory::open(AT_FDCWD, path, links);
    if (!folder)
        return false;
    folders_.push_back(std::move(folder));
    return true;
}

bool DirectoryStack::enter(const char* name)
{
    if (folders_.size() - parked_ == most_open && !park_farthest())
        return false;
    Directory folder = Directory::open(current().descriptor(), name, Links::refuse);
    while (!folder && (errno == EMFILE || errno == ENFILE) && park_farthest())
        folder = Directory::open(current().descriptor(), name, Links::refuse);
    if (!folder)
        return false;
    folders_.push_back(std::move(folder));
    return true;
}

bool DirectoryStack::leave()
{
    const Directory child = std::move(folders_.back());
    folders_.pop_back();
    if (folders_.empty() || parked_ < folders_.size())
        return true;
    if (!current().unpark(child.descriptor()))
        return false;
    --parked_;
    return true;
}

/// The current folder stays open whatever happens.
bool DirectoryStack::park_farthest()
{
    if (parked_ + 1 >= folders_.size() || !folders_[parked_].park())
        return false;
    ++parked_;
    return true;
}

} // namespace mirovan
