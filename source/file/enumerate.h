#pragma once

#include "source/error.h"
#include "source/file/path.h"
#include "source/file/path_form.h"
#include "source/file/walk.h"

#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

namespace mirovan
{

/// What an enumeration is to find.
template <class Char>
struct Selection
{
    bool recurse;
    int type; ///< The nListType of the C interface.
    const Char* filter;
};

/// Finds the entries of a folder, or of the tree below it, and passes each path to a sink.
template <class Form, class Sink>
class Enumeration : public Walk<Enumeration<Form, Sink>>
{
public:
    using Char = typename Form::Char;

    Enumeration(const Selection<Char>& selection, Sink& sink)
        : recurse_{selection.recurse}, folders_{selection.type == 2 || selection.type == 3},
          files_{selection.type == 1 || selection.type == 3}, filter_{selection.filter}, sink_{sink}
    {
    }

    void run(const char* start)
    {
        if (Base::run(start, Links::follow))
            return;
        if (!note_denied(errno))
            throw_error("a folder cannot be opened", start, errno);
    }

    /// Why a folder was left out that the caller may not read; 0 when none was.
    int first_denied() const { return first_denied_; }

private:
    using Base = Walk<Enumeration>;
    using String = std::basic_string<Char>;
    friend Base;

    static constexpr bool narrow = std::is_same_v<Char, char>;

    [[noreturn]] static void throw_error(const char* what, const std::string& path, int reason)
    {
        throw std::filesystem::filesystem_error{what, path, {reason, std::generic_category()}};
    }

    [[noreturn]] void throw_not_text() const
    {
        throw_error("a path is not valid UTF-8", this->path(), EILSEQ);
    }

    bool note_denied(int reason)
    {
        const bool denied = reason == EACCES || reason == EPERM;
        if (denied && first_denied_ == 0)
            first_denied_ = reason;
        return denied;
    }

    Next see(Entry& entry)
    {
        if (this->path().size() >= MIROVAN_PATH_SIZE || !this->current().confirm(entry))
            return Next::pass;
        if (entry.kind == EntryKind::folder)
            return see_folder(entry.name);
        if (files_)
            see_file(entry.name);
        return Next::pass;
    }

    Next see_folder(const char* name)
    {
        if (recurse_)
        {
            if (!narrow && !is_utf8(name))
                throw_not_text();
            if (is_left_out(name))
                return Next::pass;
        }
        if (folders_)
            pass_on();
        return recurse_ ? Next::enter : Next::pass;
    }

    void see_file(const char* name)
    {
        // The narrow paths of a tree are valid UTF-8 already.
        if (narrow && recurse_ && !(prefix_is_text_.back() && is_utf8(name)))
            throw_not_text();
        if (filter_ == nullptr || Form::begins_with(converted(extension_of(name)), filter_))
            pass_on();
    }

    /// Folders that the walk of a whole tree leaves out, with all that is in them.
    static bool is_left_out(const char* name)
    {
        return std::strcmp(name, "$RECYCLE.BIN") == 0 ||
               std::strcmp(name, "System Volume Information") == 0;
    }

    /// The extension of a file name without its dot. A dot in front does not begin one.
    static const char* extension_of(const char* name)
    {
        const char* dot = std::strrchr(name, '.');
        return dot == nullptr || dot == name ? "" : dot + 1;
    }

    void pass_on() { sink_(converted(this->path())); }

    const String& converted(const std::string& text)
    {
        if constexpr (narrow)
            return text;
        else
        {
            if (!Form::convert(text, converted_))
                throw_not_text();
            return converted_;
        }
    }

    Next entered()
    {
        prefix_is_text_.push_back(is_utf8(this->path()));
        return Next::enter;
    }

    bool left(const char* /*name*/)
    {
        prefix_is_text_.pop_back();
        return true;
    }

    /// A folder that is gone since its parent was read, or replaced by something else, is left out.
    bool rejected(const Entry& /*entry*/, int reason)
    {
        const bool vanished = reason == ENOENT || reason == ENOTDIR || reason == ELOOP;
        if (!vanished && !note_denied(reason))
            throw_error("a folder cannot be opened", this->path(), reason);
        return true;
    }

    bool unreadable(int reason) { throw_error("a folder cannot be read", this->path(), reason); }

    void lost(int reason) { throw_error("a folder cannot be opened again", this->path(), reason); }

    bool recurse_;
    bool folders_;
    bool files_;
    const Char* filter_;
    Sink& sink_;
    String converted_;
    std::vector<bool> prefix_is_text_;
    int first_denied_ = 0;
};

/// Enumerates a folder into a sink.
///
/// @param first_denied receives why a folder was left out that the caller may not read, or 0
/// @return false, with the error state set, when the path names no folder
/// @throws std::filesystem::filesystem_error for every other failure
template <class Form, class Sink>
bool enumerate(const Path& path, const Selection<typename Form::Char>& selection, Sink& sink,
               int& first_denied)
{
    const auto throw_error = [&](const char* what, int reason) {
        throw std::filesystem::filesystem_error{
            what, path.text(), {reason, std::generic_category()}};
    };
    if (path.error() != 0)
        throw_error("a path cannot be converted", path.error());
    if (std::strlen(path.text()) >= MIROVAN_PATH_SIZE)
        throw_error("a path is too long", ENAMETOOLONG);
    struct stat status = {};
    if (stat(path.text(), &status) != 0)
    {
        if (errno == ENOENT || errno == ENOTDIR)
            return fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, errno);
        throw_error("a folder's status cannot be read", errno);
    }
    if (!S_ISDIR(status.st_mode))
        return fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, ENOTDIR);
    Enumeration<Form, Sink> enumeration{selection, sink};
    enumeration.run(path.text());
    first_denied = enumeration.first_denied();
    return true;
}

} // namespace mirovan
