#include "base/charset.h"
#include "source/error.h"
#include "source/file/directory.h"
#include "source/file/path_form.h"

#include <cstring>
#include <cwchar>
#include <filesystem>
#include <list>
#include <string>
#include <strings.h>
#include <sys/stat.h>
#include <type_traits>
#include <vector>

namespace mirovan
{
namespace
{

[[noreturn]] void throw_error(const char* what, const std::string& path, int reason)
{
    throw std::filesystem::filesystem_error{what, path, {reason, std::generic_category()}};
}

[[noreturn]] void throw_not_text(const std::string& path)
{
    throw_error("a path is no valid text", path, EILSEQ);
}

bool lacks_permission(int reason)
{
    return reason == EACCES || reason == EPERM;
}

/// Whether a folder is gone since its parent was read, or something else has taken its place.
bool has_vanished(int reason)
{
    return reason == ENOENT || reason == ENOTDIR || reason == ELOOP;
}

/// Folders that the walk of a whole tree leaves out, with all that is in them.
bool is_left_out(const char* name)
{
    return std::strcmp(name, "$RECYCLE.BIN") == 0 ||
           std::strcmp(name, "System Volume Information") == 0;
}

/// The extension of a file name without its dot. A dot in front does not begin one.
const char* extension_of(const char* name)
{
    const char* dot = std::strrchr(name, '.');
    return dot == nullptr || dot == name ? "" : dot + 1;
}

std::wstring widened(const std::string& text)
{
    std::wstring wide;
    if (!widen(text, wide))
        throw_not_text(text);
    return wide;
}

bool begins_with(const char* text, const char* start)
{
    return strncasecmp(text, start, std::strlen(start)) == 0;
}

bool begins_with(const char* text, const wchar_t* start)
{
    return wcsncasecmp(widened(text).c_str(), start, std::wcslen(start)) == 0;
}

void append(std::list<std::string>& list, const std::string& path)
{
    list.push_back(path);
}

void append(std::list<std::wstring>& list, const std::string& path)
{
    // Copied, so that it takes no more room than it needs.
    const std::wstring wide = widened(path);
    list.push_back(wide);
}

template <class Char>
struct Request
{
    std::list<std::basic_string<Char>>& list;
    bool recurse;
    bool folders;
    bool files;
    const Char* filter;
};

template <class Char>
class Enumeration
{
public:
    explicit Enumeration(const Request<Char>& request) : request_{request} {}

    void walk(const char* start)
    {
        path_ = start;
        if (!folders_.start(start, Links::follow))
        {
            if (lacks_permission(errno))
                return;
            throw_error("a folder cannot be opened", path_, errno);
        }
        if (path_.back() != '/')
            path_ += '/';
        prefixes_.push_back({path_.size(), is_utf8(path_)});
        while (!folders_.empty())
            step();
    }

private:
    static constexpr bool narrow = std::is_same_v<Char, char>;

    /// What is in front of the names of a folder's entries, and whether it is valid text.
    struct Prefix
    {
        std::size_t length;
        bool is_text;
    };

    void step()
    {
        path_.resize(prefixes_.back().length);
        Entry entry{};
        if (folders_.current().next(entry))
            take(entry);
        else if (errno != 0)
            throw_error("a folder cannot be read", path_, errno);
        else
            leave();
    }

    void take(Entry& entry)
    {
        const std::size_t length = std::strlen(entry.name);
        if (path_.size() + length >= MIROVAN_PATH_SIZE || !folders_.current().confirm(entry))
            return;
        path_.append(entry.name, length);
        if (entry.kind == EntryKind::folder)
            take_folder(entry.name);
        else if (request_.files)
            take_file(entry.name);
    }

    void take_folder(const char* name)
    {
        if (request_.recurse)
        {
            if (!narrow && !is_utf8(name))
                throw_not_text(path_);
            if (is_left_out(name))
                return;
        }
        if (request_.folders)
            append(request_.list, path_);
        if (request_.recurse)
            enter(name);
    }

    void take_file(const char* name)
    {
        // The narrow paths that a whole tree gives are valid text, which is itself when converted.
        if (narrow && request_.recurse && !(prefixes_.back().is_text && is_utf8(name)))
            throw_not_text(path_);
        if (request_.filter == nullptr || begins_with(extension_of(name), request_.filter))
            append(request_.list, path_);
    }

    void enter(const char* name)
    {
        const bool is_text = prefixes_.back().is_text && is_utf8(name);
        if (folders_.enter(name))
            prefixes_.push_back({(path_ += '/').size(), is_text});
        else if (!lacks_permission(errno) && !has_vanished(errno))
            throw_error("a folder cannot be opened", path_, errno);
    }

    void leave()
    {
        prefixes_.pop_back();
        if (!folders_.leave())
            throw_error("a folder cannot be opened again", path_, errno);
    }

    const Request<Char>& request_;
    DirectoryStack folders_;
    std::vector<Prefix> prefixes_;
    std::string path_;
};

template <class Form, class Char = typename Form::Char>
bool enumerate(const Char* path, std::list<std::basic_string<Char>>* list, bool recurse, int type,
               const Char* filter)
{
    clear_error();
    if (path == nullptr || list == nullptr)
        return fail(ERROR_MIROVAN_FILE_ENUM_PARAMETER, EINVAL);
    PathBuffer start;
    struct stat status = {};
    if (!Form::convert(path, start))
        throw_error("a path cannot be converted", {}, errno);
    if (stat(start, &status) != 0)
    {
        if (errno == ENOENT || errno == ENOTDIR)
            return fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, errno);
        throw_error("a folder's status cannot be read", start, errno);
    }
    if (!S_ISDIR(status.st_mode))
        return fail(ERROR_MIROVAN_FILE_ENUM_NOTDIR, ENOTDIR);
    const Request<Char> request{*list, recurse, type == 2 || type == 3, type == 1 || type == 3,
                                filter};
    Enumeration<Char>{request}.walk(start);
    return true;
}

} // namespace
} // namespace mirovan

bool CMirovan_File::Mirovan_File_EnumFileA(const char* lpszPath, std::list<std::string>* pListFile,
                                           bool bRecurse, int nListType, const char* lpszFilter)
{
    return mirovan::enumerate<mirovan::NarrowForm>(lpszPath, pListFile, bRecurse, nListType,
                                                   lpszFilter);
}

bool CMirovan_File::Mirovan_File_EnumFileW(const wchar_t* lpwszPath,
                                           std::list<std::wstring>* pListFile, bool bRecurse,
                                           int nListType, const wchar_t* lpwszFilter)
{
    return mirovan::enumerate<mirovan::WideForm>(lpwszPath, pListFile, bRecurse, nListType,
                                                 lpwszFilter);
}
