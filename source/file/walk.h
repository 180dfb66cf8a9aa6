#pragma once

#include "source/file/directory.h"

#include <cerrno>
#include <string>
#include <string_view>
#include <vector>

namespace mirovan
{

/// What a walk does after a visitor has seen an entry. Only folders are entered.
enum class Next
{
    enter,
    pass,
    stop
};

/// The walk through all that is below a folder, for the visitor that derives from it. Symbolic links
/// are not followed, names are relative to open folders, and few file descriptors are used however
/// deep it goes.
///
/// The visitor has these members:
///   Next see(Entry&)              an entry of current(), whose path is path()
///   bool rejected(Entry&, int)    a folder that see() wanted to enter cannot be opened; false stops
///   Next entered()                path() is that of a folder whose entries come now; Next::pass
///                                 leaves it again
///   bool unreadable(int)          the rest of current() cannot be read; false stops
///   bool left(const char*)        all in a folder of this name in current() has been seen; false
///                                 stops
///   void lost(int)                the folder above cannot be reached again; the walk is over
/// A number is the errno.
template <class Visitor>
class Walk
{
public:
    /// False, with errno set, when the folder cannot be opened.
    bool run(std::string_view start, Links links)
    {
        path_ = start;
        if (!folders_.start(path_.c_str(), links))
            return false;
        if (begin_folder() == Next::enter)
            while (step())
                continue;
        return true;
    }

protected:
    ~Walk() = default;

    Directory& current() { return folders_.current(); }

    /// The path of the entry that is seen or of the folder that is entered.
    const std::string& path() const { return path_; }

    /// How many folders below the start the current one is.
    std::size_t depth() const { return prefix_lengths_.size() - 1; }

private:
    Visitor& visitor() { return static_cast<Visitor&>(*this); }

    Next begin_folder()
    {
        const bool has_slash = prefix_lengths_.empty() && path_.ends_with('/');
        prefix_lengths_.push_back(path_.size() + (has_slash ? 0 : 1));
        const Next next = visitor().entered();
        if (!has_slash)
            path_ += '/';
        return next;
    }

    bool step()
    {
        path_.resize(prefix_lengths_.back());
        Entry entry{};
        if (!current().next(entry))
        {
            if (errno != 0 && !visitor().unreadable(errno))
                return false;
            return leave() && visitor().left(path_.c_str() + prefix_lengths_.back());
        }
        path_ += entry.name;
        const Next next = visitor().see(entry);
        return next == Next::enter ? enter(entry) : next != Next::stop;
    }

    bool enter(Entry& entry)
    {
        if (!folders_.enter(entry.name))
            return visitor().rejected(entry, errno);
        const Next next = begin_folder();
        return next == Next::pass ? leave() : next != Next::stop;
    }

    /// Makes the folder above the current one; its name is then what is last in path_.
    bool leave()
    {
        if (!folders_.leave())
        {
            visitor().lost(errno);
            return false;
        }
        path_.resize(prefix_lengths_.back() - 1);
        prefix_lengths_.pop_back();
        return !folders_.empty();
    }

    DirectoryStack folders_;
    /// Of each folder on the stack, the length of its path with the slash behind it.
    std::vector<std::size_t> prefix_lengths_;
    std::string path_;
};

} // namespace mirovan
