/**
 * @file mirovan.hpp
 * @brief The operations of mirovan.h for C++20: values come back, failures are thrown or reported.
 *
 * Each function is one call of the C interface, whose header says what it does. A function that can
 * fail has two forms, as in the standard library: one throws mirovan::error, the other has a
 * std::error_code& as its last parameter, reports into it and returns an empty value. The code
 * compares with the constants of ::MIROVAN_ERROR_MAP and, by the errno behind it, with std::errc.
 * Errors are those of the calling thread. A path or command with a null character in it fails with
 * EINVAL.
 *
 * @code
 * for (const std::filesystem::path& file : mirovan::file::list("/etc/\*.conf"))
 *     std::cout << file << ' ' << mirovan::file::attributes(file).size << '\n';
 * @endcode
 */
#ifndef MIROVAN_HPP
#define MIROVAN_HPP

#if !defined(__cplusplus) || __cplusplus < 202002L
#error "mirovan.hpp needs C++20 (-std=c++20); mirovan.h works from C11 and C++17 on"
#else

#include "mirovan.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <compare>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <fnmatch.h>
#include <sys/stat.h>

/** The operations of mirovan.h for C++20. */
namespace mirovan
{

/** The category of the library's error codes: one object for each errno that is behind them. */
class MIROVAN_API category final : public std::error_category
{
public:
    /** "mirovan". */
    [[nodiscard]] const char* name() const noexcept override { return "mirovan"; }
    /** The constant of a code and its sentence. */
    [[nodiscard]] std::string message(int code) const override
    {
        return Mirovan_GetErrorText(static_cast<uint64_t>(code));
    }
    /** The errno, so that codes compare with std::errc. */
    [[nodiscard]] std::error_condition default_error_condition(int code) const noexcept override
    {
        return errno_ == 0 ? std::error_condition{code, *this}
                           : std::generic_category().default_error_condition(errno_);
    }

    /** The category for an errno; 0 for none. */
    static const category& of(int system_errno) noexcept
    {
        constexpr int count = 256;
        struct table
        {
            category each[count];
            table()
            {
                for (int number = 0; number < count; ++number)
                    each[number].errno_ = number;
            }
        };
        static const table categories;
        return categories.each[system_errno > 0 && system_errno < count ? system_errno : 0];
    }

private:
    int errno_ = 0;
};

/** The category of codes without an errno. */
MIROVAN_API inline const std::error_category& error_category() noexcept
{
    return category::of(0);
}

/**
 * A failure: its code, and beside it the errno of the system call behind it. The message has the
 * operation, the path or process id, a sentence and the system's own message, in that order.
 */
class MIROVAN_API error : public std::system_error
{
public:
    /** A failure of an operation, with the errno behind it, and on what it failed. */
    error(std::error_code code, int system_errno, std::string_view operation,
          std::string_view subject = {})
        : std::system_error(code), system_(system_errno, std::generic_category()),
          message_(compose(code, system_, operation, subject))
    {
    }

    /** Operation, path or id, sentence and the system's message. */
    [[nodiscard]] const char* what() const noexcept override { return message_.what(); }

    /** Why the system refused. */
    [[nodiscard]] const std::error_code& system() const noexcept { return system_; }

private:
    static std::string compose(std::error_code code, std::error_code system,
                               std::string_view operation, std::string_view subject)
    {
        std::string sentence = code.message();
        if (const auto name_end = sentence.find(": "); name_end != std::string::npos)
            sentence.erase(0, name_end + 2);
        struct
        {
            uint64_t code;
            int reason;
            std::string_view operation;
            const char* sentence;
        } constexpr causes[] = {
/** @cond internal */
#define MIROVAN_ERROR_CAUSE(code, reason, operation, sentence) {code, reason, operation, sentence},
            MIROVAN_ERROR_CAUSE_MAP(MIROVAN_ERROR_CAUSE)
#undef MIROVAN_ERROR_CAUSE
            /** @endcond */
        };
        for (const auto& cause : causes)
            if (static_cast<int>(cause.code) == code.value() &&
                (cause.reason == 0 || cause.reason == system.value()) &&
                (cause.operation.empty() || cause.operation == operation))
            {
                sentence = cause.sentence;
                break;
            }
        sentence.erase(sentence.find_last_not_of('.') + 1);
        std::string message{operation};
        if (!subject.empty())
        {
            message.append(": ");
            for (const char character : subject)
                message.append(character == '\0' ? "\\0" : std::string{character});
        }
        message.append(": ").append(sentence);
        if (system)
            message.append(": ").append(system.message());
        return message;
    }

    std::error_code system_;
    std::runtime_error message_; // copies without throwing, as an exception must
};

/** @cond internal */
namespace detail
{

/** Stands for "throw" in a function that takes a std::error_code. */
inline std::error_code throws;

/** The characters of a text; null, which every operation rejects, when a null character ends it
 *  early. */
template <class Text>
auto c_string(const Text& text)
{
    return text.find(typename Text::value_type{}) == Text::npos ? text.c_str() : nullptr;
}

} // namespace detail
/** @endcond */

/** A path in any of its forms: UTF-8 or a filesystem path, wide, or UTF-32. */
class path_argument
{
public:
    // Implicit, so that a path is given as it is at hand.
    /** A path in any of the forms. */
    /** @{ */
    path_argument(const char* path) : path_{std::string{path}} {}
    path_argument(std::string path) : path_{std::move(path)} {}
    path_argument(std::string_view path) : path_{std::string{path}} {}
    path_argument(const std::filesystem::path& path) : path_{path.string()} {}
    path_argument(const wchar_t* path) : path_{std::wstring{path}} {}
    path_argument(std::wstring path) : path_{std::move(path)} {}
    path_argument(std::u32string_view path) : path_{std::wstring(path.begin(), path.end())} {}
    path_argument(const std::u32string& path) : path_argument{std::u32string_view{path}} {}
    /** @} */

    /** Calls the narrow or the wide function with the path in front of the other arguments. */
    template <class Narrow, class Wide, class... Arguments>
    auto call(Narrow narrow, Wide wide, Arguments... arguments) const
    {
        if (const auto* text = std::get_if<std::string>(&path_))
            return narrow(detail::c_string(*text), arguments...);
        return wide(detail::c_string(std::get<std::wstring>(path_)), arguments...);
    }

    /** The path in UTF-8, for messages. */
    [[nodiscard]] std::string text() const
    {
        if (const auto* text = std::get_if<std::string>(&path_))
            return *text;
        std::string text;
        for (const wchar_t character : std::get<std::wstring>(path_))
        {
            const auto value = static_cast<char32_t>(character);
            const int further = value < 0x80 ? 0 : value < 0x800 ? 1 : value < 0x10000 ? 2 : 3;
            constexpr unsigned marks[] = {0, 0xC0, 0xE0, 0xF0};
            text +=
                static_cast<char>(marks[further] | value >> 6U * static_cast<unsigned>(further));
            for (int at = further - 1; at >= 0; --at)
                text +=
                    static_cast<char>(0x80U | (value >> 6U * static_cast<unsigned>(at) & 0x3FU));
        }
        return text;
    }

private:
    std::variant<std::string, std::wstring> path_;
};

/** @cond internal */
namespace detail
{

inline std::string subject(const path_argument& path)
{
    return path.text();
}
inline std::string subject(int id)
{
    return id == 0 ? std::string{} : std::to_string(id);
}

/** Reports the outcome of a call; true when it succeeded. Further: what it failed on. */
template <class... Subject>
bool report(bool succeeded, std::error_code& ec, const char* operation, const Subject&... on)
{
    int system_errno = 0;
    const uint64_t code = Mirovan_GetThreadError(nullptr, &system_errno);
    std::error_code outcome;
    if (!succeeded)
        outcome.assign(static_cast<int>(code), category::of(system_errno));
    if (&ec != &detail::throws)
        ec = outcome;
    else if (!succeeded)
        throw error(outcome, system_errno, operation, (std::string{} + ... + subject(on)));
    return succeeded;
}

/** A text field up to its NUL, without the newline that reports leave at its end. */
inline std::string field(const char* text)
{
    std::string value = text;
    if (value.ends_with('\n'))
        value.pop_back();
    return value;
}

inline std::chrono::local_seconds local(const TARVELO_LIBTIME& time)
{
    using namespace std::chrono;
    const year_month_day day{year{time.nYear}, month{static_cast<unsigned>(time.nMonth)},
                             std::chrono::day{static_cast<unsigned>(time.nDay)}};
    return local_days{day} + hours{time.nHour} + minutes{time.nMinute} + seconds{time.nSecond};
}

/** A field of a record, when its bit says that it is known. */
template <class Record, class Bit, class Value>
std::optional<Value> known(const Record& record, Bit bit, Value value)
{
    return (record.nKnown & static_cast<uint32_t>(bit)) != 0 ? std::optional{value} : std::nullopt;
}

inline std::chrono::sys_time<std::chrono::nanoseconds> time(int64_t nanoseconds)
{
    return std::chrono::sys_time<std::chrono::nanoseconds>{std::chrono::nanoseconds{nanoseconds}};
}

/** Passes each record of a listing to a function; an exception in it ends the listing and is thrown
 *  on. */
template <class Record, class Function, class List>
bool each(Function& function, List list)
{
    struct context
    {
        Function& function;
        std::exception_ptr thrown;
    } given{function, {}};
    const auto take = [](const Record* record, void* pointer)
    {
        auto& to = *static_cast<context*>(pointer);
        try
        {
            to.function(*record);
            return true;
        }
        catch (...)
        {
            to.thrown = std::current_exception();
            return false;
        }
    };
    const bool listed = list(+take, static_cast<void*>(&given));
    if (given.thrown)
        std::rethrow_exception(given.thrown);
    return listed;
}

/** Texts that the library allocated, as a range that owns them. */
template <class Element>
class rows
{
public:
    class iterator
    {
    public:
        using iterator_category = std::input_iterator_tag;
        using iterator_concept = std::random_access_iterator_tag;
        using value_type = Element;
        using difference_type = std::ptrdiff_t;
        using reference = Element;
        using pointer = void;

        iterator() = default;
        explicit iterator(char** row) : row_{row} {}
        reference operator*() const { return Element{*row_}; }
        reference operator[](difference_type at) const { return Element{row_[at]}; }
        iterator& operator++() { return *this += 1; }
        iterator& operator--() { return *this += -1; }
        iterator operator++(int) { return std::exchange(*this, iterator{row_ + 1}); }
        iterator operator--(int) { return std::exchange(*this, iterator{row_ - 1}); }
        iterator& operator+=(difference_type by)
        {
            row_ += by;
            return *this;
        }
        iterator& operator-=(difference_type by) { return *this += -by; }
        friend iterator operator+(iterator at, difference_type by) { return at += by; }
        friend iterator operator+(difference_type by, iterator at) { return at += by; }
        friend iterator operator-(iterator at, difference_type by) { return at -= by; }
        friend difference_type operator-(iterator a, iterator b) { return a.row_ - b.row_; }
        auto operator<=>(const iterator&) const = default;

    private:
        char** row_ = nullptr;
    };

    rows() = default;
    rows(char** table, int count) : table_{table}, count_{count} {}
    rows(rows&& other) noexcept
        : table_{std::exchange(other.table_, nullptr)}, count_{std::exchange(other.count_, 0)}
    {
    }
    rows& operator=(rows&& other) noexcept
    {
        std::swap(table_, other.table_);
        std::swap(count_, other.count_);
        return *this;
    }
    ~rows() { Fundix_Memory_Free(reinterpret_cast<void***>(&table_), count_); }

    [[nodiscard]] iterator begin() const { return iterator{table_}; }
    [[nodiscard]] iterator end() const { return iterator{table_ + count_}; }
    [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(count_); }
    [[nodiscard]] bool empty() const { return count_ == 0; }
    [[nodiscard]] Element operator[](std::size_t at) const { return Element{table_[at]}; }

private:
    char** table_ = nullptr;
    int count_ = 0;
};

} // namespace detail
/** @endcond */

/** Files and folders. */
namespace file
{

/** What attributes() tells. */
struct attributes_record
{
    std::uint64_t size = 0;            /**< In bytes. */
    std::chrono::sys_seconds changed;  /**< Last change of the status. */
    std::chrono::sys_seconds accessed; /**< Last access. */
    std::chrono::sys_seconds modified; /**< Last modification. */
    bool is_file = false;              /**< False for a folder. */
    bool is_hidden = false;            /**< The path as given begins with a dot. */
    bool is_readable = false;          /**< By this process. */
};

/** See Mirovan_File_GetFileAttrA(). */
inline attributes_record attributes(const path_argument& path, std::error_code& ec)
{
    MIROVAN_FILE_ATTR record{};
    if (!detail::report(path.call(Mirovan_File_GetFileAttrA, Mirovan_File_GetFileAttrW, &record),
                        ec, "attributes", path))
        return {};
    const auto time = [](int64_t seconds)
    { return std::chrono::sys_seconds{std::chrono::seconds{seconds}}; };
    return {static_cast<std::uint64_t>(record.nFileSize),
            time(record.nCreateTime),
            time(record.nAccessTime),
            time(record.nModifyTime),
            record.bIsFile,
            record.bIsHidden,
            record.bIsReadable};
}
/** The same; throws mirovan::error. */
inline attributes_record attributes(const path_argument& path)
{
    return attributes(path, detail::throws);
}

/** Creates a folder and those above it; a success too if anything, a file as well, exists there. See
 *  Mirovan_File_CreateMutilFolderA(). */
inline void create_folders(const path_argument& path, std::error_code& ec)
{
    detail::report(path.call(Mirovan_File_CreateMutilFolderA, Mirovan_File_CreateMutilFolderW), ec,
                   "create_folders", path);
}
/** The same; throws mirovan::error. */
inline void create_folders(const path_argument& path)
{
    return create_folders(path, detail::throws);
}

/** See Mirovan_File_DeleteMutilFolderA(). */
inline void delete_folder(const path_argument& path, std::error_code& ec)
{
    detail::report(
        path.call(Mirovan_File_DeleteMutilFolderA, Mirovan_File_DeleteMutilFolderW, true), ec,
        "delete_folder", path);
}
/** The same; throws mirovan::error. */
inline void delete_folder(const path_argument& path)
{
    return delete_folder(path, detail::throws);
}

/** Deletes what is in a folder and keeps it; see Mirovan_File_DeleteMutilFolderA(). */
inline void empty_folder(const path_argument& path, std::error_code& ec)
{
    detail::report(
        path.call(Mirovan_File_DeleteMutilFolderA, Mirovan_File_DeleteMutilFolderW, false), ec,
        "empty_folder", path);
}
/** The same; throws mirovan::error. */
inline void empty_folder(const path_argument& path)
{
    return empty_folder(path, detail::throws);
}

/** See Mirovan_File_SaveBuffToFileA(); at most 2 GiB less one byte. */
inline void save(const path_argument& path, std::string_view content, std::error_code& ec)
{
    // A length that an int cannot hold is refused like a negative one.
    const bool fits = content.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max());
    const int length = fits ? static_cast<int>(content.size()) : -1;
    detail::report(path.call(Mirovan_File_SaveBuffToFileA, Mirovan_File_SaveBuffToFileW,
                             content.empty() ? "" : content.data(), length),
                   ec, "save", path);
}
/** The same; throws mirovan::error. */
inline void save(const path_argument& path, std::string_view content)
{
    return save(path, content, detail::throws);
}

/** See Mirovan_File_CreateSparseFileA(). */
inline void create_zero_filled(const path_argument& path, std::int64_t size, std::error_code& ec)
{
    detail::report(path.call(Mirovan_File_CreateSparseFileA, Mirovan_File_CreateSparseFileW,
                             static_cast<long long>(size)),
                   ec, "create_zero_filled", path);
}
/** The same; throws mirovan::error. */
inline void create_zero_filled(const path_argument& path, std::int64_t size)
{
    return create_zero_filled(path, size, detail::throws);
}

/** What copy() does with a destination that exists. */
enum class existing
{
    replace,
    refuse
};

/** See Mirovan_File_CopyFileA(). */
inline void copy(const std::filesystem::path& from, const std::filesystem::path& to,
                 existing destination, std::error_code& ec)
{
    detail::report(Mirovan_File_CopyFileA(detail::c_string(from.native()),
                                          detail::c_string(to.native()),
                                          destination == existing::refuse),
                   ec, "copy", from, " to ", to);
}
/** The same with a default. */
inline void copy(const std::filesystem::path& from, const std::filesystem::path& to,
                 std::error_code& ec)
{
    return copy(from, to, existing::replace, ec);
}
/** The same; throws mirovan::error. */
inline void copy(const std::filesystem::path& from, const std::filesystem::path& to,
                 existing destination = existing::replace)
{
    return copy(from, to, destination, detail::throws);
}

/** See Mirovan_File_CopyFileW(). */
inline void copy(const std::wstring& from, const std::wstring& to, existing destination,
                 std::error_code& ec)
{
    detail::report(Mirovan_File_CopyFileW(detail::c_string(from), detail::c_string(to),
                                          destination == existing::refuse),
                   ec, "copy", from, " to ", to);
}
/** The same with a default. */
inline void copy(const std::wstring& from, const std::wstring& to, std::error_code& ec)
{
    return copy(from, to, existing::replace, ec);
}
/** The same; throws mirovan::error. */
inline void copy(const std::wstring& from, const std::wstring& to,
                 existing destination = existing::replace)
{
    return copy(from, to, destination, detail::throws);
}

/** What list() lists. */
enum class kind
{
    files = 1,
    folders = 2,
    all = 3
};

/** How deep list() goes. */
enum class depth
{
    one_level,
    whole_tree
};

/** The paths that list() found. */
using path_list = detail::rows<std::filesystem::path>;

/**
 * The entries of a folder or of the tree below it; see Mirovan_File_EnumFileA().
 *
 * A path is a pattern only with a star in its last part, such as "folder/\*.txt": of the pattern
 * only the extension counts, and it selects the files whose extension begins with it. Finding
 * nothing is a success here: the range is empty. Paths of more than 1,023 bytes are left out.
 */
inline path_list list(const std::filesystem::path& folder_or_pattern, kind what, depth how_deep,
                      std::error_code& ec)
{
    std::string path = folder_or_pattern.native();
    const std::size_t last = path.find_last_of('/') + 1;
    // A slash at its end keeps a path that does not exist from being read as a pattern.
    if (!path.empty() && path.find('*', last) == std::string::npos)
        path += '/';
    char** table = nullptr;
    int count = 0;
    const bool found =
        Mirovan_File_EnumFileA(detail::c_string(path), &table, &count,
                               how_deep == depth::whole_tree, static_cast<int>(what));
    const bool empty =
        !found && Mirovan_GetThreadError(nullptr, nullptr) == ERROR_MIROVAN_FILE_ENUM_EMPTY;
    detail::report(found || empty, ec, "list", folder_or_pattern);
    return {table, found ? count : 0};
}
/** The same with a default. */
inline path_list list(const std::filesystem::path& folder_or_pattern, kind what,
                      std::error_code& ec)
{
    return list(folder_or_pattern, what, depth::one_level, ec);
}
/** The same with defaults. */
inline path_list list(const std::filesystem::path& folder_or_pattern, std::error_code& ec)
{
    return list(folder_or_pattern, kind::files, depth::one_level, ec);
}
/** The same; throws mirovan::error. */
inline path_list list(const std::filesystem::path& folder_or_pattern, kind what = kind::files,
                      depth how_deep = depth::one_level)
{
    return list(folder_or_pattern, what, how_deep, detail::throws);
}

/** What an entry of walk() is. */
enum class entry_kind
{
    unknown = MIROVAN_KIND_UNKNOWN,
    file = MIROVAN_KIND_FILE,
    folder = MIROVAN_KIND_FOLDER,
    link = MIROVAN_KIND_LINK,
    other = MIROVAN_KIND_OTHER
};

/** A moment, to the nanosecond. */
using time_point = std::chrono::sys_time<std::chrono::nanoseconds>;

/** The status of an entry of walk(). */
struct status_record
{
    std::uint64_t size = 0;        /**< In bytes. */
    std::uint64_t allocated = 0;   /**< Bytes that it takes on the volume. */
    time_point modified;           /**< Last modification. */
    time_point accessed;           /**< Last access. */
    time_point changed;            /**< Last change of the status. */
    std::uint32_t permissions = 0; /**< Permission bits. */
    std::uint64_t device = 0;      /**< Device of its volume. */
    std::uint64_t inode = 0;       /**< Number on its volume. */
    std::uint64_t links = 0;       /**< Number of hard links. */
    std::uint32_t user_id = 0;     /**< Owner. */
    std::uint32_t group_id = 0;    /**< Group. */
};

/** What walk() finds. */
struct entry
{
    std::filesystem::path path;          /**< The folder given and the names below it. */
    entry_kind kind{};                   /**< What it is. */
    int depth = 0;                       /**< 1 in the folder given. */
    int error = 0;                       /**< errno: why it, or what is in it, cannot be read. */
    std::optional<status_record> status; /**< When asked for, and known. */
    std::filesystem::path link_target;   /**< Of a symbolic link, with the status. */
};

/** Options of walk(). */
struct walk_options
{
    int max_depth = 0;         /**< Deepest level; 0 for all. */
    std::string pattern = {};  /**< For names, as fnmatch() has it; empty for all. */
    bool same_volume = false;  /**< Do not enter other volumes. */
    bool folders_last = false; /**< Folders after what is in them. */
    bool with_status = false;  /**< Read the status of each entry. */
};

/** @cond internal */
namespace impl
{

inline entry to_entry(const MIROVAN_WALK_ENTRY& from)
{
    const auto time = [](int64_t value) { return time_point{std::chrono::nanoseconds{value}}; };
    entry to;
    to.path = from.lpszPath;
    to.kind = static_cast<entry_kind>(from.nKind);
    to.depth = from.nDepth;
    to.error = from.nErrno;
    if ((from.nKnown & MIROVAN_WALK_KNOWN_STATUS) != 0)
        to.status = {static_cast<std::uint64_t>(from.nFileSize),
                     static_cast<std::uint64_t>(from.nAllocatedSize),
                     time(from.nModifyTime),
                     time(from.nAccessTime),
                     time(from.nStatusTime),
                     from.nPermissions,
                     from.nDevice,
                     from.nInode,
                     from.nLinkCount,
                     from.nUserId,
                     from.nGroupId};
    if (from.lpszLinkTarget != nullptr)
        to.link_target = from.lpszLinkTarget;
    return to;
}

/** Calls a function for each entry; an exception in it ends the walk and is thrown on. */
template <class Function>
bool walk(const std::filesystem::path& folder, const walk_options& options, Function&& function)
{
    struct context
    {
        Function& function;
        std::exception_ptr thrown;
    } given{function, {}};
    const auto take = [](const MIROVAN_WALK_ENTRY* found, void* pointer)
    {
        auto& to = *static_cast<context*>(pointer);
        try
        {
            return static_cast<int>(to.function(to_entry(*found)));
        }
        catch (...)
        {
            to.thrown = std::current_exception();
            return static_cast<int>(MIROVAN_WALK_STOP);
        }
    };
    const auto flag = [](bool wanted, Mirovan_WalkFlag value)
    { return wanted ? static_cast<uint32_t>(value) : 0; };
    const MIROVAN_WALK walk = {sizeof walk,
                               flag(options.with_status, MIROVAN_WALK_STATUS) |
                                   flag(options.same_volume, MIROVAN_WALK_SAME_VOLUME) |
                                   flag(options.folders_last, MIROVAN_WALK_FOLDERS_LAST),
                               options.max_depth, 0,
                               options.pattern.empty() ? nullptr : options.pattern.c_str()};
    const bool walked = Mirovan_File_Walk(detail::c_string(folder.native()), &walk, take, &given);
    if (given.thrown)
        std::rethrow_exception(given.thrown);
    return walked;
}

} // namespace impl
/** @endcond */

/** What the function of for_each_entry() returns. */
enum class next
{
    go_on = MIROVAN_WALK_CONTINUE,
    skip = MIROVAN_WALK_SKIP, /**< Do not enter this folder. */
    stop = MIROVAN_WALK_STOP
};

/** Calls a function, which takes an entry and returns what is next, for each entry below a folder;
 *  see Mirovan_File_Walk(). */
template <class Function>
void for_each_entry(const std::filesystem::path& folder, const walk_options& options,
                    Function&& function, std::error_code& ec)
{
    detail::report(impl::walk(folder, options, function), ec, "walk", folder);
}
/** The same; throws mirovan::error. */
template <class Function>
void for_each_entry(const std::filesystem::path& folder, const walk_options& options,
                    Function&& function)
{
    for_each_entry(folder, options, function, detail::throws);
}

/**
 * The entries below a folder, as a range that is read as the walk goes on.
 *
 * It reads one folder at a time, just before it comes to its entry, and keeps what is in the folders
 * above. See Mirovan_File_Walk().
 */
class walk_range
{
public:
    /** An iterator that is passed once. */
    class iterator
    {
    public:
        using iterator_concept = std::input_iterator_tag; /**< Passed once. */
        using value_type = entry;                         /**< What it gives. */
        using difference_type = std::ptrdiff_t;           /**< As iterators have it. */

        iterator() = default;
        /** @cond internal */
        explicit iterator(walk_range* range) : range_{range} {}
        /** @endcond */
        const entry& operator*() const { return *range_->now_; }
        const entry* operator->() const { return &*range_->now_; }
        iterator& operator++()
        {
            range_->advance();
            return *this;
        }
        void operator++(int) { range_->advance(); }
        bool operator==(std::default_sentinel_t) const { return !range_->now_; }

    private:
        walk_range* range_ = nullptr;
    };

    /** @cond internal */
    walk_range(const std::filesystem::path& folder, walk_options options, std::error_code& ec)
        : options_{std::move(options)}
    {
        struct stat status = {};
        if (options_.same_volume && stat(folder.c_str(), &status) == 0)
            device_ = static_cast<std::uint64_t>(status.st_dev);
        if (detail::report(read(folder, 1), ec, "walk", folder))
            advance();
    }
    /** @endcond */

    /** Starts, once. */
    iterator begin() { return iterator{this}; }
    /** The end of the walk. */
    [[nodiscard]] std::default_sentinel_t end() const { return {}; }
    /** Leaves out what is in the folder that the iterator is at. */
    void skip()
    {
        if (entered_)
            levels_.pop_back();
        entered_ = false;
    }

private:
    struct level
    {
        std::vector<entry> entries;
        std::size_t next = 0;
        std::optional<entry> folder; ///< Reported after the entries.
    };

    /// Reads the entries of one folder as a new level.
    bool read(const std::filesystem::path& folder, int depth)
    {
        walk_options one = options_;
        one.max_depth = 1;
        one.folders_last = false;
        one.pattern.clear();
        one.with_status |= one.same_volume;
        level found;
        const bool walked = impl::walk(folder, one,
                                       [&](entry&& each)
                                       {
                                           each.depth += depth - 1;
                                           found.entries.push_back(std::move(each));
                                           return MIROVAN_WALK_CONTINUE;
                                       });
        if (walked)
            levels_.push_back(std::move(found));
        return walked;
    }

    [[nodiscard]] bool matches(const entry& each) const
    {
        return options_.pattern.empty() || each.error != 0 ||
               fnmatch(options_.pattern.c_str(), each.path.filename().c_str(), 0) == 0;
    }

    [[nodiscard]] bool may_enter(const entry& each) const
    {
        return each.kind == entry_kind::folder && each.error == 0 &&
               (options_.max_depth == 0 || each.depth < options_.max_depth) &&
               (!options_.same_volume || (each.status && each.status->device == device_));
    }

    void advance()
    {
        now_.reset();
        entered_ = false;
        while (!now_ && !levels_.empty())
        {
            level& top = levels_.back();
            const bool is_over = top.next == top.entries.size();
            std::optional<entry> each =
                is_over ? std::move(top.folder) : std::move(top.entries[top.next++]);
            if (is_over)
                levels_.pop_back();
            else if (may_enter(*each))
            {
                entered_ = read(each->path, each->depth + 1);
                if (!entered_)
                    Mirovan_GetThreadError(nullptr, &each->error);
                else if (options_.folders_last)
                    levels_.back().folder = std::exchange(each, {});
            }
            if (each && matches(*each))
                now_ = std::move(each);
            else
                entered_ = false;
        }
    }

    walk_options options_;
    std::uint64_t device_ = 0;
    std::vector<level> levels_;
    std::optional<entry> now_;
    bool entered_ = false; ///< The level on top is what is in now_.
};

/** The entries below a folder; see walk_range. */
inline walk_range walk(const std::filesystem::path& folder, const walk_options& options,
                       std::error_code& ec)
{
    return {folder, options, ec};
}
/** The same with a default. */
inline walk_range walk(const std::filesystem::path& folder, std::error_code& ec)
{
    return walk(folder, walk_options{}, ec);
}
/** The same; throws mirovan::error. */
inline walk_range walk(const std::filesystem::path& folder, const walk_options& options = {})
{
    return walk(folder, options, detail::throws);
}

} // namespace file

/** The machine. */
namespace hardware
{

/** The kinds of file systems that volume() tells apart. */
enum class file_system
{
    other = 0,
    fat = 1,
    ntfs = 2,
    ext = 4,
    apfs = 5
};

/** What volume() tells. */
struct volume_record
{
    file_system kind = file_system::other; /**< Its file system. */
    std::uint64_t size = 0;                /**< In bytes. */
    std::uint64_t available = 0;           /**< In bytes, for an ordinary user. */
};

/** See Mirovan_HardWare_GetDiskInfomation(). */
inline volume_record volume(const std::filesystem::path& path, std::error_code& ec)
{
    tag_Mirovan_Disk_Information record{};
    detail::report(Mirovan_HardWare_GetDiskInfomation(detail::c_string(path.native()), &record, 1),
                   ec, "volume", path);
    return {static_cast<file_system>(record.nFileSystem), record.nDiskTotal, record.nDiskFree};
}
/** The same; throws mirovan::error. */
inline volume_record volume(const std::filesystem::path& path)
{
    return volume(path, detail::throws);
}

/** The names that volume_names() found. */
using name_list = detail::rows<std::string>;

/** See Mirovan_HardWare_GetDiskNumber(). */
inline name_list volume_names(std::error_code& ec)
{
    char** table = nullptr;
    int count = 0;
    detail::report(Mirovan_HardWare_GetDiskNumber(&table, &count), ec, "volume_names");
    return {table, count};
}
/** The same; throws mirovan::error. */
inline name_list volume_names()
{
    return volume_names(detail::throws);
}

/** What processor() tells; what the machine does not is empty or 0. */
struct processor_record
{
    std::string name;     /**< Name of the processor. */
    std::string model;    /**< Model identifier of the machine. */
    int megahertz = 0;    /**< Speed. */
    int online = 0;       /**< Processors online. */
    unsigned threads = 0; /**< Hardware threads. */
};

/** See Mirovan_HardWare_GetCpuInfomation(). */
inline processor_record processor(std::error_code& ec)
{
    tag_Mirovan_Cpu_Information record{};
    detail::report(Mirovan_HardWare_GetCpuInfomation(&record), ec, "processor");
    return {record.tszProcessorName, record.tszModelIdentifier, record.nProcessorSpeed,
            record.nProcessorOnline, record.nHardwareThreads};
}
/** The same; throws mirovan::error. */
inline processor_record processor()
{
    return processor(detail::throws);
}

/** What serials() tells; what the machine does not is empty. */
struct serial_record
{
    std::string platform;      /**< Serial number in the device registry. */
    std::string system;        /**< Serial number in the hardware report. */
    std::string volume_uuid;   /**< Of the first volume in the storage report. */
    std::string hardware_uuid; /**< Of the hardware. */
};

/** See Mirovan_HardWare_GetSerial(). */
inline serial_record serials(std::error_code& ec)
{
    tag_Mirovan_SdkSerial_Information record{};
    detail::report(Mirovan_HardWare_GetSerial(&record), ec, "serials");
    return {detail::field(record.tszPlatformSerial), detail::field(record.tszSystemSerial),
            detail::field(record.tszVolumeUUID), detail::field(record.tszHardwareUUID)};
}
/** The same; throws mirovan::error. */
inline serial_record serials()
{
    return serials(detail::throws);
}

/** A mounted volume; see Mirovan_HardWare_ListVolumes(). What is unknown has no value. */
struct volume_details
{
    std::filesystem::path mount_point;      /**< Where it is mounted. */
    std::string device;                     /**< Device, or server and path; empty if unknown. */
    std::string type;                       /**< Name of the file system. */
    std::string label;                      /**< Its name; empty if it has none. */
    std::optional<std::uint64_t> total;     /**< Size in bytes. */
    std::optional<std::uint64_t> free;      /**< Free bytes. */
    std::optional<std::uint64_t> available; /**< Free bytes for an unprivileged user. */
    std::optional<bool> read_only;          /**< Mounted for reading alone. */
    std::optional<bool> removable;          /**< Its medium can be removed. */
    std::optional<bool> local;              /**< On this machine. */
};

/** The mounted volumes. @param flags values of ::Mirovan_VolumeFlag, or 0 */
inline std::vector<volume_details> volumes(std::uint32_t flags, std::error_code& ec)
{
    std::vector<volume_details> found;
    const auto add = [&](const MIROVAN_VOLUME& volume)
    {
        const auto known = [&](auto bit, auto value) { return detail::known(volume, bit, value); };
        found.push_back({volume.tszMountPoint, volume.tszDevice, volume.tszType, volume.tszLabel,
                         known(MIROVAN_VOLUME_KNOWN_TOTAL, volume.nTotal),
                         known(MIROVAN_VOLUME_KNOWN_FREE, volume.nFree),
                         known(MIROVAN_VOLUME_KNOWN_AVAILABLE, volume.nAvailable),
                         known(MIROVAN_VOLUME_KNOWN_READ_ONLY, volume.bReadOnly),
                         known(MIROVAN_VOLUME_KNOWN_REMOVABLE, volume.bRemovable),
                         known(MIROVAN_VOLUME_KNOWN_LOCAL, volume.bLocal)});
    };
    detail::report(
        detail::each<MIROVAN_VOLUME>(add, [&](auto take, void* to)
                                     { return Mirovan_HardWare_ListVolumes(flags, take, to); }),
        ec, "volumes");
    return found;
}
/** The same without flags. */
inline std::vector<volume_details> volumes(std::error_code& ec)
{
    return volumes(0, ec);
}
/** The same; throws mirovan::error. */
inline std::vector<volume_details> volumes(std::uint32_t flags = 0)
{
    return volumes(flags, detail::throws);
}

} // namespace hardware

/** Processes and commands. A process id of 0 is the calling process, but for info(). */
namespace process
{

/** Which lines of an output to take: so many (0: all) from this one on, counted from 1. */
struct lines
{
    int count = 0; /**< How many; 0 for all. */
    int first = 1; /**< Number of the first. */
};

/** The lines of a shell command's output, however many; see Mirovan_Process_ReadCmdLines(). Of a line,
 *  or of 2,047 bytes of a longer one, what follows a null byte is left out: execute() returns every
 *  byte. */
inline std::string output(const std::string& command, lines selection, std::error_code& ec)
{
    std::string text;
    const auto append = [](const char* piece, int length, void* to)
    {
        static_cast<std::string*>(to)->append(piece, static_cast<std::size_t>(length));
        return true;
    };
    detail::report(Mirovan_Process_ReadCmdLines(detail::c_string(command), selection.count,
                                                selection.first, append, &text),
                   ec, "output", command);
    return text;
}
/** The same with a default. */
inline std::string output(const std::string& command, std::error_code& ec)
{
    return output(command, lines{}, ec);
}
/** The same; throws mirovan::error. */
inline std::string output(const std::string& command, lines selection = {})
{
    return output(command, selection, detail::throws);
}

/** What info() tells. */
struct info_record
{
    int id = 0;                      /**< Process id. */
    int threads = 0;                 /**< Number of threads. */
    std::string name;                /**< The system's short name for it. */
    std::string user;                /**< Login name of its user. */
    bool running = false;            /**< It runs or is about to. */
    std::uint64_t virtual_size = 0;  /**< In bytes, below 16 GiB. */
    std::uint64_t resident_size = 0; /**< In bytes, below 16 GiB. */
    int page_ins = 0;                /**< Page-ins divided by 4. */
};

/** See Mirovan_Process_GetProcessInfo(). */
inline info_record info(int id, std::error_code& ec)
{
    tag_Mirovan_Process_Infomation record{};
    if (!detail::report(Mirovan_Process_GetProcessInfo(&record, nullptr, id), ec, "info", id))
        return {};
    return {record.nProcessId,
            record.nThreadCount,
            record.tszProcessName,
            record.tszUserName,
            record.nState == 0,
            std::uint64_t{record.nVirtualSize} << 2U,
            std::uint64_t{record.nResidentSize} << 2U,
            record.nPageIns};
}
/** The same; throws mirovan::error. */
inline info_record info(int id)
{
    return info(id, detail::throws);
}

/** In thousandths of a processor; see Mirovan_Process_GetProcessCpuUsage(). */
inline int cpu_usage(int id, std::error_code& ec)
{
    int usage = 0;
    detail::report(Mirovan_Process_GetProcessCpuUsage(&usage, id), ec, "cpu_usage", id);
    return usage;
}
/** The same with a default. */
inline int cpu_usage(std::error_code& ec)
{
    return cpu_usage(0, ec);
}
/** The same; throws mirovan::error. */
inline int cpu_usage(int id = 0)
{
    return cpu_usage(id, detail::throws);
}

/** See Mirovan_Process_GetUpTime(). */
inline std::chrono::local_seconds start_time(int id, std::error_code& ec)
{
    TARVELO_LIBTIME time{1970, 1, 1, 0, 0, 0};
    detail::report(Mirovan_Process_GetUpTime(&time, id), ec, "start_time", id);
    return detail::local(time);
}
/** The same with a default. */
inline std::chrono::local_seconds start_time(std::error_code& ec)
{
    return start_time(0, ec);
}
/** The same; throws mirovan::error. */
inline std::chrono::local_seconds start_time(int id = 0)
{
    return start_time(id, detail::throws);
}

/** See Mirovan_Process_GetPath(). */
inline std::filesystem::path path(int id, std::error_code& ec)
{
    char buffer[MIROVAN_PATH_SIZE] = "";
    detail::report(Mirovan_Process_GetPath(buffer, id), ec, "path", id);
    return buffer;
}
/** The same with a default. */
inline std::filesystem::path path(std::error_code& ec)
{
    return path(0, ec);
}
/** The same; throws mirovan::error. */
inline std::filesystem::path path(int id = 0)
{
    return path(id, detail::throws);
}

/** See Mirovan_Process_IsAdmin(). */
inline bool is_admin()
{
    return Mirovan_Process_IsAdmin();
}

/** See Mirovan_Process_GetPriority(). */
inline int priority(int id, std::error_code& ec)
{
    int value = 0;
    detail::report(Mirovan_Process_GetPriority(&value, id), ec, "priority", id);
    return value;
}
/** The same with a default. */
inline int priority(std::error_code& ec)
{
    return priority(0, ec);
}
/** The same; throws mirovan::error. */
inline int priority(int id = 0)
{
    return priority(id, detail::throws);
}

/** See Mirovan_Process_SetPriority(). */
inline void set_priority(int value, int id, std::error_code& ec)
{
    detail::report(Mirovan_Process_SetPriority(value, id), ec, "set_priority", id);
}
/** The same with a default. */
inline void set_priority(int value, std::error_code& ec)
{
    return set_priority(value, 0, ec);
}
/** The same; throws mirovan::error. */
inline void set_priority(int value, int id = 0)
{
    return set_priority(value, id, detail::throws);
}

/** Interrupts a process and waits for it when it is a child; see Mirovan_Process_Stop(). */
inline void stop(int id, std::error_code& ec)
{
    detail::report(Mirovan_Process_Stop(nullptr, id, false), ec, "stop", id);
}
/** The same; throws mirovan::error. */
inline void stop(int id)
{
    return stop(id, detail::throws);
}

/** The same for the first process whose line in the process list matches a grep pattern. */
inline void stop_matching(const std::string& pattern, std::error_code& ec)
{
    detail::report(Mirovan_Process_Stop(detail::c_string(pattern), 0, false), ec, "stop_matching",
                   pattern);
}
/** The same; throws mirovan::error. */
inline void stop_matching(const std::string& pattern)
{
    return stop_matching(pattern, detail::throws);
}

/** Starts a program with an empty environment; see Mirovan_Process_CreateProcess(). */
inline int create(const std::filesystem::path& program, const std::string& arguments,
                  std::error_code& ec)
{
    unsigned long id = 0;
    detail::report(Mirovan_Process_CreateProcess(&id,
                                                 detail::c_string(arguments) != nullptr
                                                     ? detail::c_string(program.native())
                                                     : nullptr,
                                                 arguments.c_str(), false),
                   ec, "create", program);
    return static_cast<int>(id);
}
/** The same with a default. */
inline int create(const std::filesystem::path& program, std::error_code& ec)
{
    return create(program, std::string{}, ec);
}
/** The same; throws mirovan::error. */
inline int create(const std::filesystem::path& program, const std::string& arguments = {})
{
    return create(program, arguments, detail::throws);
}

/** Starts a program with this one's environment; see Mirovan_Process_RunProcess(). */
inline int run(const std::filesystem::path& program, const std::string& name, const char* argument,
               std::error_code& ec)
{
    unsigned long id = 0;
    detail::report(Mirovan_Process_RunProcess(&id, detail::c_string(program.native()),
                                              detail::c_string(name), argument, false),
                   ec, "run", program);
    return static_cast<int>(id);
}
/** The same with a default. */
inline int run(const std::filesystem::path& program, const std::string& name, std::error_code& ec)
{
    return run(program, name, nullptr, ec);
}
/** The same; throws mirovan::error. */
inline int run(const std::filesystem::path& program, const std::string& name,
               const char* argument = nullptr)
{
    return run(program, name, argument, detail::throws);
}

/** See Mirovan_Process_GetProcessForCpu(). */
inline int affinity_tag(pthread_t thread, std::error_code& ec)
{
    unsigned long tag = 0;
    detail::report(Mirovan_Process_GetProcessForCpu(thread, &tag), ec, "affinity_tag");
    return static_cast<int>(tag);
}
/** The same; throws mirovan::error. */
inline int affinity_tag(pthread_t thread)
{
    return affinity_tag(thread, detail::throws);
}

/** See Mirovan_Process_SetProcessForCpu(). */
inline void set_affinity_tag(pthread_t thread, int tag, std::error_code& ec)
{
    detail::report(Mirovan_Process_SetProcessForCpu(thread, static_cast<unsigned long>(tag)), ec,
                   "set_affinity_tag");
}
/** The same; throws mirovan::error. */
inline void set_affinity_tag(pthread_t thread, int tag)
{
    return set_affinity_tag(thread, tag, detail::throws);
}

/** How a command ended. */
enum class end
{
    unknown = MIROVAN_END_UNKNOWN,     /**< By itself; the system does not report how. */
    exited = MIROVAN_END_EXITED,       /**< With an exit status. */
    signalled = MIROVAN_END_SIGNALLED, /**< By a signal. */
    limit = MIROVAN_END_LIMIT,         /**< At the limit. */
    stopped = MIROVAN_END_STOPPED,     /**< By a function that returned false. */
    running = MIROVAN_END_RUNNING      /**< It still runs. */
};

/** What execute() and wait() return. */
struct command_result
{
    end how = end::unknown;                   /**< How it ended. */
    int id = 0;                               /**< Process id that it had. */
    int exit_status = 0;                      /**< 0 when a signal ended it. */
    int signal = 0;                           /**< The signal that ended it; 0 for none. */
    std::string output;                       /**< Its output, unless a function took it. */
    std::string errors;                       /**< Its standard error, likewise. */
    std::chrono::nanoseconds wall_time{};     /**< From start to end. */
    std::chrono::nanoseconds user_time{};     /**< Processor time in user mode. */
    std::chrono::nanoseconds system_time{};   /**< Processor time in the kernel. */
    std::optional<std::uint64_t> peak_memory; /**< Most resident memory in bytes. */

    /** The status as a shell has it: the exit status, or 128 and the signal. */
    [[nodiscard]] int status() const
    {
        constexpr int first_signal = 128;
        return signal != 0 ? first_signal + signal : exit_status;
    }
    /** Whether it exited with 0. */
    [[nodiscard]] bool ok() const { return how == end::exited && exit_status == 0; }
};

/** Receives output as it comes; returns false to end the command. */
using output_function = std::function<bool(std::string_view)>;

/** Options of execute(). */
struct execute_options
{
    std::filesystem::path folder = {};                        /**< Working directory. */
    std::optional<std::vector<std::string>> environment = {}; /**< NAME=value; default: ours. */
    std::optional<std::string> input = {};                    /**< For standard input. */
    std::chrono::milliseconds limit = {};                     /**< 0 for none. */
    std::optional<std::chrono::milliseconds> grace = {};      /**< From SIGTERM to SIGKILL. */
    bool merge_errors = false;                                /**< Errors go where output goes. */
    output_function on_output = {};                           /**< Instead of output. */
    output_function on_errors = {};                           /**< Instead of errors. */
};

/** @cond internal */
namespace impl
{

inline void fill(command_result& to, const MIROVAN_COMMAND_RESULT& from)
{
    using std::chrono::nanoseconds;
    to.how = static_cast<end>(from.nEnd);
    to.id = from.nProcessId;
    to.exit_status = from.nExitStatus;
    to.signal = from.nSignal;
    to.wall_time = nanoseconds{from.nWallTime};
    to.user_time = nanoseconds{from.nUserTime};
    to.system_time = nanoseconds{from.nSystemTime};
    to.peak_memory = detail::known(from, MIROVAN_RESULT_PEAK_MEMORY, from.nPeakMemory);
}

inline std::vector<const char*> pointers(const std::vector<std::string>& texts)
{
    std::vector<const char*> found(texts.size() + 1); // null at the end
    for (std::size_t at = 0; at < texts.size(); ++at)
        found[at] = texts[at].c_str();
    return found;
}

inline bool has_null(const std::vector<std::string>& texts)
{
    return std::any_of(texts.begin(), texts.end(),
                       [](const std::string& text) { return detail::c_string(text) == nullptr; });
}

inline command_result execute(const std::vector<std::string>* arguments, const std::string* line,
                              const execute_options& options, std::error_code& ec)
{
    struct context
    {
        const execute_options& options;
        command_result result;
        std::exception_ptr thrown;

        bool take(const output_function& function, std::string& text, const char* data,
                  uint64_t length)
        {
            const std::string_view piece{data, static_cast<std::size_t>(length)};
            try
            {
                if (function)
                    return function(piece);
                text += piece;
                return true;
            }
            catch (...)
            {
                thrown = std::current_exception();
                return false;
            }
        }
    } given{options, {}, {}};
    const std::vector<std::string> none;
    const auto argument_pointers = pointers(arguments != nullptr ? *arguments : none);
    const std::vector<std::string>& variables = options.environment ? *options.environment : none;
    const auto environment = pointers(variables);
    MIROVAN_COMMAND command{};
    command.nSize = sizeof command;
    command.nFlags = options.merge_errors ? static_cast<uint32_t>(MIROVAN_COMMAND_MERGE) : 0U;
    if (arguments != nullptr && !arguments->empty() && !has_null(*arguments))
        command.ppszArguments = argument_pointers.data();
    if (line != nullptr)
        command.lpszShellLine = detail::c_string(*line);
    if (!options.folder.empty())
        command.lpszFolder = options.folder.c_str();
    if (options.environment)
        command.ppszEnvironment = environment.data();
    if (options.input)
    {
        command.pInput = options.input->data();
        command.nInputLen = options.input->size();
    }
    command.nLimitMs = options.limit.count();
    // 0 stands for the default there.
    if (options.grace)
        command.nGraceMs = options.grace->count() > 0 ? options.grace->count() : -1;
    command.pContext = &given;
    command.pfnOutput = [](const char* data, uint64_t length, void* pointer)
    {
        auto& to = *static_cast<context*>(pointer);
        return to.take(to.options.on_output, to.result.output, data, length);
    };
    if (!options.merge_errors)
        command.pfnErrors = [](const char* data, uint64_t length, void* pointer)
        {
            auto& to = *static_cast<context*>(pointer);
            return to.take(to.options.on_errors, to.result.errors, data, length);
        };
    if (detail::c_string(options.folder.native()) == nullptr || has_null(variables))
        command.nSize = 0; // rejected, as it would be cut
    MIROVAN_COMMAND_RESULT record{};
    record.nSize = sizeof record;
    const bool executed = Mirovan_Process_Execute(&command, &record);
    if (given.thrown)
        std::rethrow_exception(given.thrown);
    const std::string subject = line != nullptr      ? *line
                                : arguments->empty() ? std::string{}
                                                     : arguments->front();
    if (detail::report(executed, ec, "execute", subject))
        fill(given.result, record);
    return std::move(given.result);
}

} // namespace impl
/** @endcond */

/** Runs a program, found on PATH, and waits for it; see Mirovan_Process_Execute(). */
inline command_result execute(const std::vector<std::string>& arguments,
                              const execute_options& options, std::error_code& ec)
{
    return impl::execute(&arguments, nullptr, options, ec);
}
/** The same without options. */
inline command_result execute(const std::vector<std::string>& arguments, std::error_code& ec)
{
    return execute(arguments, {}, ec);
}
/** The same; throws mirovan::error when the program cannot be started. */
inline command_result execute(const std::vector<std::string>& arguments,
                              const execute_options& options = {})
{
    return execute(arguments, options, detail::throws);
}

/** Runs a command line in /bin/sh; see Mirovan_Process_Execute(). */
inline command_result execute_line(const std::string& line, const execute_options& options,
                                   std::error_code& ec)
{
    return impl::execute(nullptr, &line, options, ec);
}
/** The same without options. */
inline command_result execute_line(const std::string& line, std::error_code& ec)
{
    return execute_line(line, {}, ec);
}
/** The same; throws mirovan::error when the shell cannot be started. */
inline command_result execute_line(const std::string& line, const execute_options& options = {})
{
    return execute_line(line, options, detail::throws);
}

/** Waits for a child; end::running when it has not ended by then. See Mirovan_Process_Wait(). A
 *  limit below 0 waits for as long as it takes. */
inline command_result wait(int id, std::chrono::milliseconds limit, std::error_code& ec)
{
    MIROVAN_COMMAND_RESULT record{};
    record.nSize = sizeof record;
    command_result result;
    if (detail::report(Mirovan_Process_Wait(id, limit.count(), &record), ec, "wait", id))
        impl::fill(result, record);
    return result;
}
/** The same without a limit. */
inline command_result wait(int id, std::error_code& ec)
{
    return wait(id, std::chrono::milliseconds{-1}, ec);
}
/** The same; throws mirovan::error. */
inline command_result wait(int id, std::chrono::milliseconds limit = std::chrono::milliseconds{-1})
{
    return wait(id, limit, detail::throws);
}

/** A process; see Mirovan_Process_List(). What the system does not show has no value. */
struct record
{
    int id = 0;                                          /**< Process id. */
    std::optional<int> parent;                           /**< Process id of its parent. */
    std::optional<std::uint32_t> user_id;                /**< Effective user. */
    std::string name;                                    /**< Short name. */
    std::optional<char> state;                           /**< R, S, D, I, T or Z. */
    std::optional<int> nice;                             /**< Nice value. */
    std::optional<file::time_point> start_time;          /**< When it started. */
    std::optional<std::uint32_t> threads;                /**< Number of threads. */
    std::optional<std::uint64_t> resident_size;          /**< In bytes. */
    std::optional<std::uint64_t> virtual_size;           /**< In bytes. */
    std::optional<std::chrono::nanoseconds> user_time;   /**< Processor time in user mode. */
    std::optional<std::chrono::nanoseconds> system_time; /**< Processor time in the kernel. */
    std::optional<std::uint64_t> page_faults;            /**< Since its start. */
};

/** @cond internal */
namespace impl
{

inline record to_record(const MIROVAN_PROCESS_RECORD& from)
{
    using std::chrono::nanoseconds;
    const auto known = [&](auto bit, auto value) { return detail::known(from, bit, value); };
    record to;
    to.id = from.nProcessId;
    to.parent = known(MIROVAN_PROCESS_PARENT, from.nParentId);
    to.user_id = known(MIROVAN_PROCESS_USER, from.nUserId);
    to.name = from.tszName;
    to.state = known(MIROVAN_PROCESS_STATE, from.cState);
    to.nice = known(MIROVAN_PROCESS_NICE, from.nNice);
    to.start_time = known(MIROVAN_PROCESS_START_TIME, detail::time(from.nStartTime));
    to.threads = known(MIROVAN_PROCESS_THREADS, from.nThreadCount);
    to.resident_size = known(MIROVAN_PROCESS_MEMORY, from.nResidentSize);
    to.virtual_size = known(MIROVAN_PROCESS_MEMORY, from.nVirtualSize);
    to.user_time = known(MIROVAN_PROCESS_PROCESSOR_TIME, nanoseconds{from.nUserTime});
    to.system_time = known(MIROVAN_PROCESS_PROCESSOR_TIME, nanoseconds{from.nSystemTime});
    to.page_faults = known(MIROVAN_PROCESS_PAGE_FAULTS, from.nPageFaults);
    return to;
}

} // namespace impl
/** @endcond */

/** All processes; see Mirovan_Process_List(). */
inline std::vector<record> processes(std::error_code& ec)
{
    std::vector<record> found;
    const auto add = [&](const MIROVAN_PROCESS_RECORD& each)
    { found.push_back(impl::to_record(each)); };
    detail::report(detail::each<MIROVAN_PROCESS_RECORD>(add, Mirovan_Process_List), ec,
                   "processes");
    return found;
}
/** The same; throws mirovan::error. */
inline std::vector<record> processes()
{
    return processes(detail::throws);
}

/** One process, 0 for the calling one; see Mirovan_Process_GetRecord(). */
inline record get_record(int id, std::error_code& ec)
{
    MIROVAN_PROCESS_RECORD found{};
    found.nSize = sizeof found;
    const bool read = detail::report(Mirovan_Process_GetRecord(id, &found), ec, "get_record", id);
    return read ? impl::to_record(found) : record{};
}
/** The same; throws mirovan::error. */
inline record get_record(int id = 0)
{
    return get_record(id, detail::throws);
}

/** The processor usage of a process between two calls. */
class usage_sampler
{
public:
    /** Starts to measure; throws mirovan::error when there is no such process. */
    explicit usage_sampler(int id = 0) : last_{get_record(id)} {}

    /** How many processors it has used since the last call; nothing when it has ended, another
     *  process has its id, or the system does not show it. */
    std::optional<double> usage()
    {
        std::error_code ec;
        const auto now = std::chrono::steady_clock::now();
        record next = get_record(last_.id, ec);
        if (ec || next.start_time != last_.start_time || !next.user_time || !last_.user_time)
            return std::nullopt;
        const std::chrono::duration<double> used =
            *next.user_time + *next.system_time - *last_.user_time - *last_.system_time;
        const std::chrono::duration<double> passed = now - std::exchange(time_, now);
        last_ = std::move(next);
        return passed.count() > 0 ? used / passed : 0.0;
    }

private:
    std::chrono::steady_clock::time_point time_ = std::chrono::steady_clock::now();
    record last_;
};

} // namespace process

/** The operating system. */
namespace system
{

/** What version() tells. */
struct version_record
{
    std::string name;       /**< The system's name. */
    std::string release;    /**< The kernel's release. */
    std::string code_name;  /**< Code name of the system. */
    unsigned long type = 0; /**< Number of the kind of system. */
};

/** See Mirovan_System_GetSystemVer(). */
inline version_record version(std::error_code& ec)
{
    char name[256] = "";
    char release[256] = "";
    char code_name[8] = "";
    unsigned long type = 0;
    detail::report(Mirovan_System_GetSystemVer(name, release, code_name, &type, nullptr), ec,
                   "version");
    return {name, release, code_name, type};
}
/** The same; throws mirovan::error. */
inline version_record version()
{
    return version(detail::throws);
}

/** Login name of the effective user; see Mirovan_System_GetSysName(). */
inline std::string user_name()
{
    char name[256] = "";
    Mirovan_System_GetSysName(name, nullptr);
    return name;
}

/** See Mirovan_System_GetSysName(). */
inline std::string host_name()
{
    char name[1024] = "";
    Mirovan_System_GetSysName(nullptr, name);
    return name;
}

/** The main display; 0 by 0 without one. */
struct screen_size
{
    int width = 0;  /**< In pixels. */
    int height = 0; /**< In pixels. */
};

/** See Mirovan_System_GetScreen(). */
inline screen_size screen(std::error_code& ec)
{
    screen_size size;
    detail::report(Mirovan_System_GetScreen(&size.width, &size.height), ec, "screen");
    return size;
}
/** The same; throws mirovan::error. */
inline screen_size screen()
{
    return screen(detail::throws);
}

/** The value of the environment variable LANG; empty when it is not set. */
inline std::string language()
{
    // Mirovan_System_GetLanguage() cannot be told the size of a buffer.
    const char* value = std::getenv("LANG");
    return value == nullptr ? "" : value;
}

/** What memory() tells. */
struct memory_record
{
    std::uint64_t total = 0; /**< In bytes. */
    std::uint64_t free = 0;  /**< In bytes. */
    int free_percent = 0;    /**< Whole percent. */
};

/** See Mirovan_System_GetMemoryUsage(). */
inline memory_record memory(std::error_code& ec)
{
    tag_Mirovan_Memory_Infomation record{};
    detail::report(Mirovan_System_GetMemoryUsage(&record, 1), ec, "memory");
    return {record.nTotalMemory, record.nFreeMemory, record.nFreePercent};
}
/** The same; throws mirovan::error. */
inline memory_record memory()
{
    return memory(detail::throws);
}

/** In percent of one processor; see Mirovan_System_GetCpuUsage(). */
inline int cpu_load(std::error_code& ec)
{
    int load = 0;
    detail::report(Mirovan_System_GetCpuUsage(&load), ec, "cpu_load");
    return load;
}
/** The same; throws mirovan::error. */
inline int cpu_load()
{
    return cpu_load(detail::throws);
}

/** See Mirovan_System_GetUpTime(). */
inline std::chrono::local_seconds start_time(std::error_code& ec)
{
    TARVELO_LIBTIME time{1970, 1, 1, 0, 0, 0};
    detail::report(Mirovan_System_GetUpTime(&time), ec, "start_time");
    return detail::local(time);
}
/** The same; throws mirovan::error. */
inline std::chrono::local_seconds start_time()
{
    return start_time(detail::throws);
}

/** See Mirovan_System_GetProcessCount(). */
inline int processor_count(std::error_code& ec)
{
    int count = 0;
    detail::report(Mirovan_System_GetProcessCount(&count), ec, "processor_count");
    return count;
}
/** The same; throws mirovan::error. */
inline int processor_count()
{
    return processor_count(detail::throws);
}

/** See Mirovan_System_GetSysIdleTime(). */
inline unsigned long idle_percent(std::error_code& ec)
{
    unsigned long percent = 0;
    detail::report(Mirovan_System_GetSysIdleTime(percent), ec, "idle_percent");
    return percent;
}
/** The same; throws mirovan::error. */
inline unsigned long idle_percent()
{
    return idle_percent(detail::throws);
}

/** The actions of shutdown(). */
enum class action : unsigned long
{
    halt = 0x10001,
    display_off = 0x10002,
    restart = 0x10003,
    end_user_processes = 0x10004,
    lock_screen = 0x10005
};

/** See Mirovan_System_Shutdown(). */
inline void shutdown(action what, std::error_code& ec)
{
    detail::report(Mirovan_System_Shutdown(static_cast<unsigned long>(what)), ec, "shutdown");
}
/** The same; throws mirovan::error. */
inline void shutdown(action what)
{
    return shutdown(what, detail::throws);
}

/** Runs a shell command and kills it at the limit, a number of whole seconds; 0 or less kills it at
 *  once. See Mirovan_System_SystemEx(), and process::execute_line() for its status and output. */
inline void run(const std::string& command, std::chrono::seconds limit, std::error_code& ec)
{
    constexpr auto longest = std::chrono::seconds{std::numeric_limits<int>::max()};
    const auto seconds = limit < longest ? limit : longest;
    detail::report(
        Mirovan_System_SystemEx(detail::c_string(command),
                                seconds.count() > 0 ? static_cast<int>(seconds.count()) : 0),
        ec, "run", command);
}
/** The same; throws mirovan::error. */
inline void run(const std::string& command, std::chrono::seconds limit)
{
    return run(command, limit, detail::throws);
}

/** Memory in bytes; see Mirovan_System_GetMemoryRecord(). What is unknown has no value. */
struct memory_details_record
{
    std::optional<std::uint64_t> total;         /**< Physical memory. */
    std::optional<std::uint64_t> available;     /**< What programs may still take. */
    std::optional<std::uint64_t> free;          /**< Pages without content. */
    std::optional<std::uint64_t> wired;         /**< What cannot be paged out. */
    std::optional<std::uint64_t> compressed;    /**< What compressed pages take up. */
    std::optional<std::uint64_t> cached;        /**< Content of files. */
    std::optional<std::uint64_t> swap_total;    /**< Swap space. */
    std::optional<std::uint64_t> swap_used;     /**< Swap space in use. */
    std::optional<std::uint64_t> process_limit; /**< Limit that holds for this process. */
};

/** The memory in detail; see Mirovan_System_GetMemoryRecord(). */
inline memory_details_record memory_details(std::error_code& ec)
{
    MIROVAN_MEMORY_RECORD record{};
    record.nSize = sizeof record;
    detail::report(Mirovan_System_GetMemoryRecord(&record), ec, "memory_details");
    const auto known = [&](auto bit, auto value) { return detail::known(record, bit, value); };
    return {known(MIROVAN_MEMORY_KNOWN_TOTAL, record.nTotal),
            known(MIROVAN_MEMORY_KNOWN_AVAILABLE, record.nAvailable),
            known(MIROVAN_MEMORY_KNOWN_FREE, record.nFree),
            known(MIROVAN_MEMORY_KNOWN_WIRED, record.nWired),
            known(MIROVAN_MEMORY_KNOWN_COMPRESSED, record.nCompressed),
            known(MIROVAN_MEMORY_KNOWN_CACHED, record.nCached),
            known(MIROVAN_MEMORY_KNOWN_SWAP_TOTAL, record.nSwapTotal),
            known(MIROVAN_MEMORY_KNOWN_SWAP_USED, record.nSwapUsed),
            known(MIROVAN_MEMORY_KNOWN_PROCESS_LIMIT, record.nProcessLimit)};
}
/** The same; throws mirovan::error. */
inline memory_details_record memory_details()
{
    return memory_details(detail::throws);
}

/** What this system is; see Mirovan_System_GetIdentity(). What is unknown is empty. */
struct identity_record
{
    std::string name;                                           /**< As people say it. */
    std::string version;                                        /**< Version of that. */
    std::string kernel;                                         /**< Name of the kernel. */
    std::string kernel_version;                                 /**< Release of the kernel. */
    std::string architecture;                                   /**< Such as "x86_64". */
    std::string host;                                           /**< Name in the network. */
    std::chrono::sys_time<std::chrono::nanoseconds> start_time; /**< Start of the system. */
    std::uint64_t page_size = 0;                                /**< In bytes. */
    unsigned processors = 0;                                    /**< That the system has. */
    unsigned processors_online = 0;                             /**< That are online. */
    unsigned processors_usable = 0;                             /**< By this process. */
};

/** Names and versions of the system, its start and its processors. */
inline identity_record identity(std::error_code& ec)
{
    MIROVAN_IDENTITY record{};
    record.nSize = sizeof record;
    detail::report(Mirovan_System_GetIdentity(&record), ec, "identity");
    return {record.tszSystemName,
            record.tszSystemVersion,
            record.tszKernelName,
            record.tszKernelVersion,
            record.tszArchitecture,
            record.tszHostName,
            detail::time(record.nStartTime),
            record.nPageSize,
            record.nProcessors,
            record.nProcessorsOnline,
            record.nProcessorsUsable};
}
/** The same; throws mirovan::error. */
inline identity_record identity()
{
    return identity(detail::throws);
}

/** How a processor has spent its time since the system started. */
struct processor_times_record
{
    int processor = MIROVAN_PROCESSOR_ALL; /**< Number from 0; MIROVAN_PROCESSOR_ALL for all. */
    std::chrono::nanoseconds user{};       /**< In programs of normal priority. */
    std::chrono::nanoseconds nice{};       /**< In programs of lowered priority. */
    std::chrono::nanoseconds system{};     /**< In the kernel. */
    std::chrono::nanoseconds idle{};       /**< Without work. */
};

/** All processors together, then each one; see Mirovan_System_GetProcessorTimes(). */
inline std::vector<processor_times_record> processor_times(std::error_code& ec)
{
    std::vector<processor_times_record> found;
    const auto add = [&](const MIROVAN_PROCESSOR_TIMES& times)
    {
        using std::chrono::nanoseconds;
        found.push_back({times.nProcessor, nanoseconds{times.nUser}, nanoseconds{times.nNice},
                         nanoseconds{times.nSystem}, nanoseconds{times.nIdle}});
    };
    detail::report(detail::each<MIROVAN_PROCESSOR_TIMES>(add, Mirovan_System_GetProcessorTimes), ec,
                   "processor_times");
    return found;
}
/** The same; throws mirovan::error. */
inline std::vector<processor_times_record> processor_times()
{
    return processor_times(detail::throws);
}

/** The load of the processors between two calls. */
class load_sampler
{
public:
    /** Shares of the time that was not idle, 0 to 1. */
    struct sample
    {
        double total = 0;         /**< Of all processors together. */
        std::vector<double> each; /**< Of each processor. */
    };

    /** Starts to measure. */
    load_sampler() : last_{processor_times()} {}

    /** The load since the last call, or the construction; see Mirovan_System_GetProcessorTimes(). */
    sample load(std::error_code& ec)
    {
        std::vector<processor_times_record> now = processor_times(ec);
        sample result;
        for (const processor_times_record& times : now)
        {
            const double share = load_since(times);
            if (times.processor == MIROVAN_PROCESSOR_ALL)
                result.total = share;
            else
                result.each.push_back(share);
        }
        if (!now.empty())
            last_ = std::move(now);
        return result;
    }
    /** The same; throws mirovan::error. */
    sample load() { return load(detail::throws); }

private:
    [[nodiscard]] double load_since(const processor_times_record& now) const
    {
        for (const processor_times_record& before : last_)
        {
            if (before.processor != now.processor)
                continue;
            const auto busy =
                now.user - before.user + now.nice - before.nice + now.system - before.system;
            const auto all = busy + now.idle - before.idle;
            return all.count() > 0 && busy.count() > 0
                       ? std::min(1.0, static_cast<double>(busy.count()) /
                                           static_cast<double>(all.count()))
                       : 0.0;
        }
        return 0;
    }

    std::vector<processor_times_record> last_;
};

} // namespace system
} // namespace mirovan

/** The error codes convert to std::error_code. */
template <>
struct std::is_error_code_enum<Mirovan_ErrorCode> : std::true_type
{
};

/** Whether a std::error_code is a code of the library, whatever errno is behind it. */
inline bool operator==(const std::error_code& ec, Mirovan_ErrorCode code) noexcept
{
    return ec.value() == static_cast<int>(code) &&
           ec.category().name() == std::string_view{"mirovan"};
}

/** An error code of the library as a std::error_code. */
inline std::error_code make_error_code(Mirovan_ErrorCode code) noexcept
{
    return {static_cast<int>(code), mirovan::error_category()};
}

#endif
#endif
