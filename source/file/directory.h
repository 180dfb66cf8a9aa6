#pragma once

#include "base/descriptor.h"

#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace mirovan
{

enum class EntryKind : char
{
    folder,
    file, ///< A regular file.
    link,
    other,
    unknown
};

/// An entry of a folder, with the kind that the folder itself reports. The name is valid until the
/// folder is used again.
struct Entry
{
    const char* name;
    EntryKind kind;
};

enum class Links : bool
{
    follow,
    refuse
};

EntryKind kind_of(const struct stat& status);

/// A folder that is being read. Its rest can be taken into memory, and then its descriptor can be
/// given back until it is needed again.
class Directory
{
public:
    /// On failure the result is false, and errno is set.
    static Directory open(int parent, const char* name, Links links);

    explicit operator bool() const { return stream_ != nullptr; }
    int descriptor() const { return stream_ ? dirfd(stream_.get()) : reopened_.get(); }

    /// The next entry in the order of the folder, "." and ".." left out. False at the end, with
    /// errno 0, and when the folder cannot be read, with the reason.
    bool next(Entry& entry);

    /// Resolves an unknown kind with the entry's status. Also checks once whether the folder lets
    /// the status of its entries be read at all.
    bool confirm(Entry& entry);

    /// Takes the rest into memory; false, with errno set, when part of it cannot be read.
    bool read_ahead();

    /// Gives the descriptor back, after reading ahead.
    bool park();

    /// Opens a parked folder again, as the parent of one of its folders.
    bool unpark(int child);

private:
    bool next_in_stream(Entry& entry);

    std::unique_ptr<DIR, Closer<closedir>> stream_;
    Descriptor reopened_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    /// What was read ahead: kind, name and NUL of each entry. The names stay where they are when
    /// the folder is moved.
    std::vector<char> ahead_;
    std::size_t ahead_position_ = 0;
    bool read_ahead_ = false;
    bool confirmed_ = false;
};

/// The folders of a walk, from its start down to the one being read.
///
/// However deep it goes, it holds few descriptors and needs no stack: the folders farthest from the
/// current one are parked, and each is found again as ".." of its child. Nothing is ever reached by
/// its path, so that no folder or link that is put in another's place can lead the walk astray.
class DirectoryStack
{
public:
    bool start(const char* path, Links links);

    /// Enters a folder of the current one, never through a link. False, with errno set, when it
    /// cannot be opened.
    bool enter(const char* name);

    /// Goes back to the parent. False, with errno set, when that is not there any more.
    bool leave();

    Directory& current() { return folders_.back(); }
    bool empty() const { return folders_.empty(); }

private:
    bool park_farthest();

    std::vector<Directory> folders_;
    std::size_t parked_ = 0;
};

} // namespace mirovan
