/**
 * @file mirovan.hpp
 * @brief The operations of mirovan.h for C++20, with values, exceptions and error codes.
 *
 * A function that can fail has two forms, as in the standard library. One throws mirovan::error; the
 * other sets a std::error_code&, its last parameter, to the code() of that exception and returns an
 * empty value. The code compares with the constants of ::MIROVAN_ERROR_MAP and, by the errno behind
 * it, with std::errc. A path or command that contains a null character is rejected with EINVAL. All
 * functions may also throw std::bad_alloc.
 *
 * Errors are those of the calling thread, and every function may run on any number of threads at
 * once. The platform interfaces that it uses are listed at the C function of its "See also".
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

/** The operations of mirovan.h for C++20; see mirovan.hpp for errors and threads. */
namespace mirovan
{

/**
 * @brief The category of the library's error codes; there is one object for each errno, so that
 * codes compare with std::errc.
 */
class MIROVAN_API category final : public std::error_category
{
public:
    /** Returns "mirovan". */
    [[nodiscard]] const char* name() const noexcept override { return "mirovan"; }
    /** Returns the name of a code and its sentence. */
    [[nodiscard]] std::string message(int code) const override
    {
        return Mirovan_GetErrorText(static_cast<uint64_t>(code));
    }
    /** Returns the errno, so that codes compare with std::errc. */
    [[nodiscard]] std::error_condition default_error_condition(int code) const noexcept override
    {
        return errno_ == 0 ? std::error_condition{code, *this}
                           : std::generic_category().default_error_condition(errno_);
    }

    /** Returns the category for an errno; 0 for none. */
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

/** Returns the category of codes without an errno. */
MIROVAN_API inline const std::error_category& error_category() noexcept
{
    return category::of(0);
}

/**
 * @brief A failure: its code, the errno behind it, and a message.
 *
 * what() is made of the operation, the path or process id, a sentence and the message of the
 * system, in this order. code() compares with the constants of ::MIROVAN_ERROR_MAP and with
 * std::errc.
 */
class MIROVAN_API error : public std::system_error
{
public:
    /**
     * @brief Constructs the exception of a failed operation.
     *
     * @param code the error code.
     * @param system_errno the errno behind it; 0 for none.
     * @param operation name of the operation, for the message.
     * @param subject the path or process id that it failed on, for the message; may be empty.
     */
    error(std::error_code code, int system_errno, std::string_view operation,
          std::string_view subject = {})
        : std::system_error(code), system_(system_errno, std::generic_category()),
          message_(compose(code, system_, operation, subject))
    {
    }

    /** Returns operation, path or id, sentence and the system's message. */
    [[nodiscard]] const char* what() const noexcept override { return message_.what(); }

    /**
     * @brief Returns the errno behind the failure as a code of std::generic_category(); 0 if there
     * is none.
     */
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

/** The characters of a string; null, which every operation rejects, if it contains a null
 *  character. */
template <class Text>
auto c_string(const Text& text)
{
    return text.find(typename Text::value_type{}) == Text::npos ? text.c_str() : nullptr;
}

} // namespace detail
/** @endcond */

/**
 * @brief A path as a function takes it: narrow (UTF-8), a std::filesystem::path, wide or UTF-32.
 * Every form converts implicitly.
 */
class path_argument
{
public:
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

    /** @brief Returns the path in UTF-8. */
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

/** Reports the result of a call and returns it. The further arguments are what it failed on. */
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

/** A string field without the newline at the end of a line of a report. */
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

/** The value of a field, if its bit marks it as known. */
template <class Record, class Bit, class Value>
std::optional<Value> known(const Record& record, Bit bit, Value value)
{
    return (record.nKnown & static_cast<uint32_t>(bit)) != 0 ? std::optional{value} : std::nullopt;
}

inline std::chrono::sys_time<std::chrono::nanoseconds> time(int64_t nanoseconds)
{
    return std::chrono::sys_time<std::chrono::nanoseconds>{std::chrono::nanoseconds{nanoseconds}};
}

/** Passes each record of a listing to a function; an exception in it ends the listing and is
 *  rethrown. */
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

/** Strings that the library allocated, as a range that owns them. */
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

/** Operations on files and folders. */
namespace file
{

/** @brief Size, times and flags of a file or folder, from attributes(). */
struct attributes_record
{
    std::uint64_t size = 0;            /**< In bytes. */
    std::chrono::sys_seconds changed;  /**< Last change of the status. */
    std::chrono::sys_seconds accessed; /**< Last access. */
    std::chrono::sys_seconds modified; /**< Last modification. */
    bool is_file = false;              /**< False for a folder. */
    bool is_hidden = false;            /**< The path as given begins with a dot. */
    bool is_readable = false;          /**< This process may read it. */
};

/**
 * @brief Returns size, times and flags of a file or folder; symbolic links are followed.
 *
 * @param path path of the file or folder.
 * @param ec receives ::ERROR_MIROVAN_FILE_ATTR_NOTFOUND if the file does not exist or its status
 *           cannot be read; cleared on success.
 * @return the attributes; on failure an empty record.
 * @see walk(), Mirovan_File_GetFileAttrA()
 */
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

/**
 * @brief Creates a folder and all missing folders above it.
 *
 * If anything exists at the path, a file too, nothing happens.
 *
 * @param path path of the folder.
 * @param ec receives ::ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED if a folder cannot be created; the
 *           folders above it may have been created. Cleared on success.
 * @see delete_folder(), Mirovan_File_CreateMutilFolderA()
 */
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

/**
 * @brief Deletes a folder and its content; symbolic links in it are removed, not followed.
 *
 * If the path does not exist or is not a folder, nothing happens. Entries that cannot be deleted do
 * not stop the deletion of the others.
 *
 * @param path path of the folder; if it is a symbolic link to a folder, the link alone is removed.
 * @param ec receives ::ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED and the first errno if an entry
 *           cannot be deleted; cleared on success.
 * @see empty_folder(), Mirovan_File_DeleteMutilFolderA()
 */
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

/**
 * @brief Deletes the content of a folder and keeps the folder.
 *
 * @param path path of the folder, or of a symbolic link to it.
 * @param ec receives ::ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED and the first errno if an entry
 *           cannot be deleted; cleared on success.
 * @see delete_folder(), Mirovan_File_DeleteMutilFolderA()
 */
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

/**
 * @brief Writes a file, replacing its content; creates missing folders.
 *
 * @param path path of the file.
 * @param content the bytes, at most 2 GiB less one; they may contain null bytes.
 * @param ec receives ::ERROR_MIROVAN_FILE_SAVE_OPEN if the file cannot be opened or not all bytes
 *           could be written (the file is then incomplete),
 *           ::ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED if its folder cannot be created,
 *           ::ERROR_MIROVAN_FILE_SAVE_PARAMETER if the content is too long. Cleared on success.
 * @see copy(), create_zero_filled(), Mirovan_File_SaveBuffToFileA()
 */
inline void save(const path_argument& path, std::string_view content, std::error_code& ec)
{
    // A length that does not fit into an int is rejected like a negative one.
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

/**
 * @brief Creates a file of zero bytes, all of which are allocated; an existing file is replaced.
 *
 * @param path path of the file, in an existing folder.
 * @param size size in bytes, 1 or more.
 * @param ec receives ::ERROR_MIROVAN_FILE_SPARSE_OPEN if the file cannot be opened,
 *           ::ERROR_MIROVAN_FILE_SPARSE_WRITE if the volume is full (the file is then incomplete),
 *           ::ERROR_MIROVAN_FILE_SPARSE_PARAMETER for a size below 1. Cleared on success.
 * @see save(), Mirovan_File_CreateSparseFileA()
 */
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

/** @brief What copy() does if the destination exists. */
enum class existing
{
    replace, /**< Its content is replaced. */
    refuse   /**< The copy fails. */
};

/**
 * @brief Copies the content and the read, write and execute permissions of a file; creates missing
 * folders.
 *
 * @param from path of a regular file; symbolic links are followed.
 * @param to path of the copy.
 * @param destination whether the content of an existing file is replaced or the copy fails.
 * @param ec receives ::ERROR_MIROVAN_FILE_COPY_EXIST if the destination exists and existing::refuse
 *           is given, ::ERROR_MIROVAN_FILE_COPY_FAILED if the file cannot be copied (the copy may
 *           be incomplete), ::ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED if the folder of the copy
 *           cannot be created. Cleared on success.
 * @see save(), Mirovan_File_CopyFileA()
 */
inline void copy(const std::filesystem::path& from, const std::filesystem::path& to,
                 existing destination, std::error_code& ec)
{
    detail::report(Mirovan_File_CopyFileA(detail::c_string(from.native()),
                                          detail::c_string(to.native()),
                                          destination == existing::refuse),
                   ec, "copy", from, " to ", to);
}
/** The same with default arguments. */
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

/** @brief The same for wide paths. */
inline void copy(const std::wstring& from, const std::wstring& to, existing destination,
                 std::error_code& ec)
{
    detail::report(Mirovan_File_CopyFileW(detail::c_string(from), detail::c_string(to),
                                          destination == existing::refuse),
                   ec, "copy", from, " to ", to);
}
/** The same with default arguments. */
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

/** @brief The kinds of entries that list() returns. */
enum class kind
{
    files = 1,   /**< All entries that are not folders. */
    folders = 2, /**< Folders. */
    all = 3      /**< Both. */
};

/** @brief Whether list() descends into folders. */
enum class depth
{
    one_level, /**< The entries of the folder. */
    whole_tree /**< All entries below the folder. */
};

/**
 * @brief The paths that list() returns: a sized, random-access range that owns them; an element is
 * a std::filesystem::path.
 */
using path_list = detail::rows<std::filesystem::path>;

/**
 * @brief Returns the paths in a folder, or in the tree below it.
 *
 * A path is a pattern if its last part contains a star and nothing of that name exists, such as
 * "folder/\*.txt". Only the extension of a pattern counts: it selects the files whose extension
 * begins with it, in any case. Folders are listed whatever their names. Paths of more than 1,023
 * bytes are left out; walk() reports them.
 *
 * @param folder_or_pattern a folder, or a pattern.
 * @param what the kinds of entries to list.
 * @param how_deep the folder alone, or the whole tree below it; symbolic links are not followed.
 * @param ec receives ::ERROR_MIROVAN_FILE_ENUM_NOTDIR if the folder does not exist or cannot be
 *           read, or, with a whole tree, if a name is not valid UTF-8. Cleared on success.
 * @return the paths, in no particular order; an empty range if there are none.
 * @see walk(), Mirovan_File_EnumFileA()
 */
inline path_list list(const std::filesystem::path& folder_or_pattern, kind what, depth how_deep,
                      std::error_code& ec)
{
    std::string path = folder_or_pattern.native();
    const std::size_t last = path.find_last_of('/') + 1;
    // With a slash at its end a path that does not exist is not taken for a pattern.
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
/** The same with default arguments. */
inline path_list list(const std::filesystem::path& folder_or_pattern, kind what,
                      std::error_code& ec)
{
    return list(folder_or_pattern, what, depth::one_level, ec);
}
/** The same with default arguments. */
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

/** @brief The kinds of entries that walk() returns; symbolic links are not followed. */
enum class entry_kind
{
    unknown = MIROVAN_KIND_UNKNOWN, /**< The file system does not report it. */
    file = MIROVAN_KIND_FILE,       /**< A regular file. */
    folder = MIROVAN_KIND_FOLDER,   /**< A folder. */
    link = MIROVAN_KIND_LINK,       /**< A symbolic link. */
    other = MIROVAN_KIND_OTHER      /**< A device, FIFO or socket. */
};

/** @brief A time in UTC with a resolution of a nanosecond. */
using time_point = std::chrono::sys_time<std::chrono::nanoseconds>;

/** @brief The status of an entry, from walk(). */
struct status_record
{
    std::uint64_t size = 0;        /**< In bytes. */
    std::uint64_t allocated = 0;   /**< Bytes allocated on the volume. */
    time_point modified;           /**< Last modification. */
    time_point accessed;           /**< Last access. */
    time_point changed;            /**< Last change of the status. */
    std::uint32_t permissions = 0; /**< Permission bits. */
    std::uint64_t device = 0;      /**< Device number of its volume. */
    std::uint64_t inode = 0;       /**< Inode number. */
    std::uint64_t links = 0;       /**< Number of hard links. */
    std::uint32_t user_id = 0;     /**< Owner. */
    std::uint32_t group_id = 0;    /**< Group. */
};

/** @brief An entry, from walk(). */
struct entry
{
    std::filesystem::path path; /**< The given folder and the names below it. */
    entry_kind kind{};          /**< Kind of the entry. */
    int depth = 0;              /**< 1 in the given folder. */
    int error = 0;              /**< errno: why it, or its content, cannot be read; else 0. */
    std::optional<status_record> status; /**< With `with_status`, if known. */
    std::filesystem::path link_target;   /**< Target of a symbolic link, with `with_status`. */
};

/** @brief Options of walk() and for_each_entry(). */
struct walk_options
{
    int max_depth = 0;         /**< Deepest level; 0 for all. */
    std::string pattern = {};  /**< For names, as in fnmatch(); empty for all. */
    bool same_volume = false;  /**< Do not enter other volumes. */
    bool folders_last = false; /**< Folders after their content. */
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

/** Calls a function for each entry; an exception in it ends the walk and is rethrown. */
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

/** @brief Return values of the function of for_each_entry(). */
enum class next
{
    go_on = MIROVAN_WALK_CONTINUE, /**< Continue. */
    skip = MIROVAN_WALK_SKIP,      /**< Do not enter this folder. */
    stop = MIROVAN_WALK_STOP       /**< End the walk. */
};

/**
 * @brief Passes each entry below a folder to a function.
 *
 * An entry, or a folder, that cannot be read does not end the walk: the entry is passed with its
 * errno in `error`. Paths may have any length.
 *
 * @param folder path of the folder, which is not passed itself.
 * @param options depth, pattern, volumes, order, and whether to read the status.
 * @param function called with each entry; returns a value of next, which continues the walk, skips
 *                 the folder or stops. An exception that it throws ends the walk and is rethrown.
 * @param ec receives ::ERROR_MIROVAN_FILE_WALK_FAILED if the folder cannot be opened,
 *           ::ERROR_MIROVAN_FILE_WALK_PARAMETER for a negative depth; cleared on success.
 * @see walk(), Mirovan_File_Walk()
 */
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
 * @brief The entries below a folder as an input range, from walk().
 *
 * The range reads one folder at a time, immediately before the entry of the folder is returned, and
 * keeps the unread entries of the folders above it. An entry, or a folder, that cannot be read does
 * not end the walk: its entry has the errno in `error`.
 */
class walk_range
{
public:
    /** @brief A single-pass iterator. */
    class iterator
    {
    public:
        using iterator_concept = std::input_iterator_tag; /**< Single-pass. */
        using value_type = entry;                         /**< The element. */
        using difference_type = std::ptrdiff_t;           /**< Unused. */

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

    /** @brief Starts the walk; to be called once. */
    iterator begin() { return iterator{this}; }
    /** @brief The end of the walk. */
    [[nodiscard]] std::default_sentinel_t end() const { return {}; }
    /** @brief Skips the content of the folder that the iterator is at. */
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
    bool entered_ = false; ///< The top level is the content of now_.
};

/**
 * @brief Returns the entries below a folder as a range.
 *
 * @param folder path of the folder, which is not returned itself.
 * @param options depth, pattern, volumes, order, and whether to read the status.
 * @param ec receives ::ERROR_MIROVAN_FILE_WALK_FAILED if the folder cannot be opened,
 *           ::ERROR_MIROVAN_FILE_WALK_PARAMETER for a negative depth; cleared on success.
 * @return the entries, each folder before its content unless `folders_last` is set; on failure an
 *         empty range.
 * @see for_each_entry(), list(), Mirovan_File_Walk()
 */
inline walk_range walk(const std::filesystem::path& folder, const walk_options& options,
                       std::error_code& ec)
{
    return {folder, options, ec};
}
/** The same with default arguments. */
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

/** Queries of the hardware. */
namespace hardware
{

/** @brief The file systems that volume() distinguishes. */
enum class file_system
{
    other = 0, /**< Any other. */
    fat = 1,   /**< FAT and exFAT. */
    ntfs = 2,  /**< NTFS. */
    ext = 4,   /**< The ext family. */
    apfs = 5   /**< APFS. */
};

/** @brief File system and sizes of a volume, from volume(). */
struct volume_record
{
    file_system kind = file_system::other; /**< Its file system. */
    std::uint64_t size = 0;                /**< In bytes. */
    std::uint64_t available = 0;           /**< In bytes, available to an unprivileged user. */
};

/**
 * @brief Returns the file system and the size of the volume that holds a path.
 *
 * @param path an existing path on the volume.
 * @param ec receives ::ERROR_MIROVAN_HARDWARE_DISK_STATFS if the volume cannot be read; cleared on
 *           success.
 * @return file system, and sizes in bytes; on failure an empty record.
 * @see volumes(), Mirovan_HardWare_GetDiskInfomation()
 */
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

/**
 * @brief The names that volume_names() returns: a sized, random-access range that owns them; an
 * element is a std::string.
 */
using name_list = detail::rows<std::string>;

/**
 * @brief Returns the names of the writable volumes in the storage report of the system.
 *
 * It runs a command, which takes seconds on macOS. volumes() returns mount points and sizes, and
 * runs none.
 *
 * @param ec receives ::ERROR_MIROVAN_HARDWARE_PARAMETER if the report is unavailable; cleared on
 *           success.
 * @return the names, which are not always paths.
 * @see volumes(), Mirovan_HardWare_GetDiskNumber()
 */
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

/**
 * @brief Processor and model, from processor(). Unknown values are empty or 0; `online` is -1.
 */
struct processor_record
{
    std::string name;     /**< Name of the processor. */
    std::string model;    /**< Model identifier of the machine. */
    int megahertz = 0;    /**< Speed in MHz. */
    int online = 0;       /**< Processors online. */
    unsigned threads = 0; /**< Hardware threads. */
};

/**
 * @brief Returns the name of the processor, the model identifier and the processor counts.
 *
 * It runs a command, which takes seconds on macOS.
 *
 * @param ec receives ::ERROR_MIROVAN_HARDWARE_PARAMETER if the report of the system is unavailable;
 *           cleared on success.
 * @return the processor; the speed is 0 on Apple silicon, which does not report it.
 * @see system::identity(), Mirovan_HardWare_GetCpuInfomation()
 */
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

/** @brief Identifiers of the machine, from serials(). Unknown identifiers are empty. */
struct serial_record
{
    std::string platform;      /**< Serial number in the device registry. */
    std::string system;        /**< Serial number in the hardware report. */
    std::string volume_uuid;   /**< Of the first volume in the storage report. */
    std::string hardware_uuid; /**< Of the hardware. */
};

/**
 * @brief Returns the serial numbers and UUIDs of the machine.
 *
 * It runs a command for each of them, which takes seconds on macOS. On Linux only root can read the
 * serial numbers.
 *
 * @param ec receives ::ERROR_MIROVAN_HARDWARE_PARAMETER if memory runs out; cleared on success.
 * @return the identifiers, without the newlines of the reports.
 * @see Mirovan_HardWare_GetSerial()
 */
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

/** @brief A mounted volume, from volumes(). Unknown values are empty. */
struct volume_details
{
    std::filesystem::path mount_point;      /**< Where it is mounted. */
    std::string device;                     /**< Device, or server and path; empty if unknown. */
    std::string type;                       /**< Name of the file system. */
    std::string label;                      /**< Its name; empty if it has none. */
    std::optional<std::uint64_t> total;     /**< Size in bytes. */
    std::optional<std::uint64_t> free;      /**< Free bytes. */
    std::optional<std::uint64_t> available; /**< Free bytes for an unprivileged user. */
    std::optional<bool> read_only;          /**< Mounted read-only. */
    std::optional<bool> removable;          /**< Its medium can be removed. */
    std::optional<bool> local;              /**< On this machine. */
};

/**
 * @brief Returns the mounted volumes, each once.
 *
 * Kernel and memory file systems, bind mounts and the layers of an overlay are left out.
 *
 * @param flags ::Mirovan_VolumeFlag bits, or 0. Without ::MIROVAN_VOLUMES_NETWORK_SIZES the sizes
 *              of network volumes are unknown.
 * @param ec receives ::ERROR_MIROVAN_HARDWARE_VOLUMES_FAILED if the list cannot be read; cleared on
 *           success.
 * @return the volumes; on failure an empty vector.
 * @see volume(), Mirovan_HardWare_ListVolumes()
 */
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

/**
 * Operations on processes and commands. A process id of 0 is the calling process, except for
 * info().
 */
namespace process
{

/** @brief Selects lines of an output. */
struct lines
{
    int count = 0; /**< How many; 0 for all. */
    int first = 1; /**< Number of the first. */
};

/**
 * @brief Runs a shell command and returns lines of its output, of any length.
 *
 * Of a line, and of each 2,047 bytes of a longer one, the part after a null byte is left out;
 * execute_line() returns every byte, and how the command ended. stderr is inherited.
 *
 * @param command command line for /bin/sh.
 * @param selection the lines to return; by default all.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_ACCESS if the shell cannot be started or its output
 *           cannot be read; cleared on success, whatever the exit status of the command is.
 * @return the selected lines with their newlines.
 * @see execute_line(), Mirovan_Process_ReadCmdLines()
 */
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
/** The same with default arguments. */
inline std::string output(const std::string& command, std::error_code& ec)
{
    return output(command, lines{}, ec);
}
/** The same; throws mirovan::error. */
inline std::string output(const std::string& command, lines selection = {})
{
    return output(command, selection, detail::throws);
}

/** @brief Snapshot of a process, from info(). */
struct info_record
{
    int id = 0;                      /**< Process id. */
    int threads = 0;                 /**< Number of threads. */
    std::string name;                /**< The system's short name for it. */
    std::string user;                /**< Login name of its user. */
    bool running = false;            /**< It is running or runnable. */
    std::uint64_t virtual_size = 0;  /**< In bytes, below 16 GiB. */
    std::uint64_t resident_size = 0; /**< In bytes, below 16 GiB. */
    int page_ins = 0;                /**< Page-ins divided by 4. */
};

/**
 * @brief Returns a snapshot of a process.
 *
 * get_record() returns exact sizes and optional values.
 *
 * @param id process id; 0 does not stand for the calling process here.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_INFO_FAILED if the process cannot be read or its user
 *           has no account; cleared on success.
 * @return the snapshot; on failure an empty record.
 * @see get_record(), Mirovan_Process_GetProcessInfo()
 */
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

/**
 * @brief Returns the processor usage of a process in thousandths of a processor.
 *
 * On Linux it is the average over the lifetime of the process; usage_sampler measures it between
 * two calls.
 *
 * @param id process id; 0 for the calling process.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_ACCESS if the process cannot be read; cleared on
 *           success.
 * @return the usage; 1,000 is one processor.
 * @see usage_sampler, Mirovan_Process_GetProcessCpuUsage()
 */
inline int cpu_usage(int id, std::error_code& ec)
{
    int usage = 0;
    detail::report(Mirovan_Process_GetProcessCpuUsage(&usage, id), ec, "cpu_usage", id);
    return usage;
}
/** The same with default arguments. */
inline int cpu_usage(std::error_code& ec)
{
    return cpu_usage(0, ec);
}
/** The same; throws mirovan::error. */
inline int cpu_usage(int id = 0)
{
    return cpu_usage(id, detail::throws);
}

/**
 * @brief Returns the start time of a process in local time, in whole seconds.
 *
 * @param id process id; 0 for the calling process.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_ACCESS if the process cannot be read; cleared on
 *           success.
 * @return the start time; on failure 1970-01-01.
 * @see get_record() for UTC in nanoseconds, Mirovan_Process_GetUpTime()
 */
inline std::chrono::local_seconds start_time(int id, std::error_code& ec)
{
    TARVELO_LIBTIME time{1970, 1, 1, 0, 0, 0};
    detail::report(Mirovan_Process_GetUpTime(&time, id), ec, "start_time", id);
    return detail::local(time);
}
/** The same with default arguments. */
inline std::chrono::local_seconds start_time(std::error_code& ec)
{
    return start_time(0, ec);
}
/** The same; throws mirovan::error. */
inline std::chrono::local_seconds start_time(int id = 0)
{
    return start_time(id, detail::throws);
}

/**
 * @brief Returns the full path of the program that a process runs.
 *
 * @param id process id; 0 for the calling process.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_GET_FAILED if the path cannot be read; cleared on
 *           success.
 * @return the path; on failure an empty path.
 * @see Mirovan_Process_GetPath()
 */
inline std::filesystem::path path(int id, std::error_code& ec)
{
    char buffer[MIROVAN_PATH_SIZE] = "";
    detail::report(Mirovan_Process_GetPath(buffer, id), ec, "path", id);
    return buffer;
}
/** The same with default arguments. */
inline std::filesystem::path path(std::error_code& ec)
{
    return path(0, ec);
}
/** The same; throws mirovan::error. */
inline std::filesystem::path path(int id = 0)
{
    return path(id, detail::throws);
}

/**
 * @brief Returns whether the calling process runs as root. It cannot fail.
 *
 * @return true if the effective user id is 0.
 * @see Mirovan_Process_IsAdmin()
 */
inline bool is_admin()
{
    return Mirovan_Process_IsAdmin();
}

/**
 * @brief Returns the priority (nice value) of a process.
 *
 * @param id process id; 0 for the calling process.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_GETPRIORITY_FAILED if there is no such process;
 *           cleared on success.
 * @return -20 (scheduled first) to 20 (scheduled last).
 * @see set_priority(), Mirovan_Process_GetPriority()
 */
inline int priority(int id, std::error_code& ec)
{
    int value = 0;
    detail::report(Mirovan_Process_GetPriority(&value, id), ec, "priority", id);
    return value;
}
/** The same with default arguments. */
inline int priority(std::error_code& ec)
{
    return priority(0, ec);
}
/** The same; throws mirovan::error. */
inline int priority(int id = 0)
{
    return priority(id, detail::throws);
}

/**
 * @brief Sets the priority (nice value) of a process.
 *
 * @param value -20 (scheduled first) to 20 (scheduled last).
 * @param id process id; 0 for the calling process.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_SETPRIORITY_RANGE for a value outside the range,
 *           ::ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED if there is no such process or it is not
 *           permitted; cleared on success.
 * @see priority(), Mirovan_Process_SetPriority()
 */
inline void set_priority(int value, int id, std::error_code& ec)
{
    detail::report(Mirovan_Process_SetPriority(value, id), ec, "set_priority", id);
}
/** The same with default arguments. */
inline void set_priority(int value, std::error_code& ec)
{
    return set_priority(value, 0, ec);
}
/** The same; throws mirovan::error. */
inline void set_priority(int value, int id = 0)
{
    return set_priority(value, id, detail::throws);
}

/**
 * @brief Interrupts a process (SIGINT) and, if it is a child of the caller, waits until it ends.
 *
 * @param id process id, above 0.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_STOP_KILL if there is no such process,
 *           ::ERROR_MIROVAN_PROCESS_ACCESS if it is not permitted; cleared on success.
 * @see stop_matching(), wait(), Mirovan_Process_Stop()
 */
inline void stop(int id, std::error_code& ec)
{
    detail::report(Mirovan_Process_Stop(nullptr, id, false), ec, "stop", id);
}
/** The same; throws mirovan::error. */
inline void stop(int id)
{
    return stop(id, detail::throws);
}

/**
 * @brief Interrupts the first process whose line in the output of ps matches a grep pattern, as
 * stop() does.
 *
 * @param pattern a grep pattern, at most 974 bytes; an empty one matches nothing.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_NOTFOUND if no process matches,
 *           ::ERROR_MIROVAN_PROCESS_STOP_FIND if ps cannot be run or the pattern is too long,
 *           ::ERROR_MIROVAN_PROCESS_ACCESS if it is not permitted; cleared on success.
 * @see processes(), stop(), Mirovan_Process_Stop()
 */
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

/**
 * @brief Starts a program with an empty environment; does not wait for it.
 *
 * wait() must reap the child.
 *
 * @param program path of the program; PATH is not searched.
 * @param arguments its arguments, separated by spaces; quotes have no special meaning.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_EXEC if the program cannot be started; cleared on
 *           success.
 * @return the process id.
 * @see wait(), execute(), Mirovan_Process_CreateProcess()
 */
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
/** The same with default arguments. */
inline int create(const std::filesystem::path& program, std::error_code& ec)
{
    return create(program, std::string{}, ec);
}
/** The same; throws mirovan::error. */
inline int create(const std::filesystem::path& program, const std::string& arguments = {})
{
    return create(program, arguments, detail::throws);
}

/**
 * @brief Starts a program with the environment of the caller; does not wait for it.
 *
 * wait() must reap the child. A program that cannot be executed is not a failure: its process exits
 * with status 127.
 *
 * @param program path of the program; PATH is not searched.
 * @param name its argument zero.
 * @param argument its first argument; may be null.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_FORK if the process cannot be created; cleared on
 *           success.
 * @return the process id.
 * @see wait(), execute(), Mirovan_Process_RunProcess()
 */
inline int run(const std::filesystem::path& program, const std::string& name, const char* argument,
               std::error_code& ec)
{
    unsigned long id = 0;
    detail::report(Mirovan_Process_RunProcess(&id, detail::c_string(program.native()),
                                              detail::c_string(name), argument, false),
                   ec, "run", program);
    return static_cast<int>(id);
}
/** The same with default arguments. */
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

/**
 * @brief Returns the affinity tag of a thread.
 *
 * @param thread a live thread of this process.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_GET_FAILED if the tag cannot be read; cleared on
 *           success.
 * @return the tag; 0 for no affinity.
 * @see set_affinity_tag(), Mirovan_Process_GetProcessForCpu()
 */
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

/**
 * @brief Sets the affinity tag of a thread; macOS tries to run threads of one tag on processors
 * that share a cache.
 *
 * @param thread a live thread of this process.
 * @param tag the tag; 0 for no affinity.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_SETCPU_FAILED if the tag cannot be set; cleared on
 *           success.
 * @see affinity_tag(), Mirovan_Process_SetProcessForCpu()
 */
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
    unknown = MIROVAN_END_UNKNOWN,     /**< By itself; its status is unavailable. */
    exited = MIROVAN_END_EXITED,       /**< With an exit status. */
    signalled = MIROVAN_END_SIGNALLED, /**< By a signal. */
    limit = MIROVAN_END_LIMIT,         /**< At the limit. */
    stopped = MIROVAN_END_STOPPED, /**< By a function that returned false, or stop_descriptor. */
    running = MIROVAN_END_RUNNING  /**< It still runs. */
};

/** @brief How a command ended and what it used, from execute(), execute_line() and wait(). */
struct command_result
{
    end how = end::unknown;                   /**< How it ended. */
    int id = 0;                               /**< Process id. */
    int exit_status = 0;                      /**< 0 if a signal ended it. */
    int signal = 0;                           /**< The signal that ended it; 0 for none. */
    std::string output;                       /**< stdout, unless a function receives it. */
    std::string errors;                       /**< stderr, unless a function receives it. */
    std::chrono::nanoseconds wall_time{};     /**< From start to end. */
    std::chrono::nanoseconds user_time{};     /**< Processor time in user mode. */
    std::chrono::nanoseconds system_time{};   /**< Processor time in the kernel. */
    std::optional<std::uint64_t> peak_memory; /**< Peak resident memory in bytes. */

    /**
     * @brief Returns the status as a shell does: the exit status, or 128 and the number of the
     * signal.
     */
    [[nodiscard]] int status() const
    {
        constexpr int first_signal = 128;
        return signal != 0 ? first_signal + signal : exit_status;
    }
    /** @brief Returns whether the command exited with status 0. */
    [[nodiscard]] bool ok() const { return how == end::exited && exit_status == 0; }
};

/** @brief Receives a chunk of output; returns false to end the command. */
using output_function = std::function<bool(std::string_view)>;

/** @brief Options of execute() and execute_line(). */
struct execute_options
{
    std::filesystem::path folder = {}; /**< Working directory. */
    std::optional<std::vector<std::string>> environment =
        {};                                              /**< NAME=value; default: inherited. */
    std::optional<std::string> input = {};               /**< For standard input. */
    std::chrono::milliseconds limit = {};                /**< 0 for none. */
    std::optional<std::chrono::milliseconds> grace = {}; /**< From SIGTERM to SIGKILL. */
    bool merge_errors = false;                           /**< Redirect stderr to stdout. */
    std::optional<int> stop_descriptor = {};             /**< Ends the command when readable. */
    output_function on_output = {};                      /**< Receives stdout. */
    output_function on_errors = {};                      /**< Receives stderr. */
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
    command.nFlags = (options.merge_errors ? uint32_t{MIROVAN_COMMAND_MERGE} : 0U) |
                     (options.stop_descriptor ? uint32_t{MIROVAN_COMMAND_STOP} : 0U);
    command.nStopDescriptor = options.stop_descriptor.value_or(-1);
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
    // 0 selects the default there.
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
        command.nSize = 0; // rejected instead of truncated
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

/**
 * @brief Runs a program without a shell and waits for it.
 *
 * At the limit the command and the processes that it started receive SIGTERM, and SIGKILL after the
 * grace period. An exception that a function of the options throws ends the command and is
 * rethrown.
 *
 * @param arguments the program, which is searched for on PATH unless it contains a slash, and its
 *                  arguments.
 * @param options input, environment, folder, limit, and functions that receive the output.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_EXECUTE_FAILED if the program cannot be started
 *           (std::errc::no_such_file_or_directory if it does not exist),
 *           ::ERROR_MIROVAN_PROCESS_PARAMETER for an empty list, a negative limit or a null
 *           character; cleared on success, however the command ended.
 * @return how the command ended, its output, times and peak memory.
 * @see execute_line(), create(), Mirovan_Process_Execute()
 */
inline command_result execute(const std::vector<std::string>& arguments,
                              const execute_options& options, std::error_code& ec)
{
    return impl::execute(&arguments, nullptr, options, ec);
}
/** The same with default options. */
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

/**
 * @brief Runs a command line in /bin/sh and waits for it, as execute() does.
 *
 * @param line the command line. Never build one from untrusted text: use execute().
 * @param options input, environment, folder, limit, and functions that receive the output.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_EXECUTE_FAILED if the shell cannot be started; cleared
 *           on success, however the command ended.
 * @return how the command ended, its output, times and peak memory.
 * @see execute(), output(), Mirovan_Process_Execute()
 */
inline command_result execute_line(const std::string& line, const execute_options& options,
                                   std::error_code& ec)
{
    return impl::execute(nullptr, &line, options, ec);
}
/** The same with default options. */
inline command_result execute_line(const std::string& line, std::error_code& ec)
{
    return execute_line(line, {}, ec);
}
/** The same; throws mirovan::error when the shell cannot be started. */
inline command_result execute_line(const std::string& line, const execute_options& options = {})
{
    return execute_line(line, options, detail::throws);
}

/**
 * @brief Waits for a child that create() or run() started, and reaps it.
 *
 * @param id process id of the child.
 * @param limit longest time to wait; 0 returns at once, below 0 waits without limit.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_WAIT_FAILED if it is not a child of the caller or has
 *           been reaped already; cleared on success.
 * @return how the child ended; `how` is end::running if it still runs.
 * @see create(), run(), Mirovan_Process_Wait()
 */
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

/**
 * @brief A process, from processes() and get_record(). Values that the system does not show are
 * empty.
 */
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

/**
 * @brief Returns a record of each process.
 *
 * @param ec receives ::ERROR_MIROVAN_PROCESS_LIST_FAILED if the processes cannot be listed; cleared
 *           on success.
 * @return the records; on failure an empty vector.
 * @see get_record(), Mirovan_Process_List()
 */
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

/**
 * @brief Returns the record of one process.
 *
 * @param id process id; 0 for the calling process.
 * @param ec receives ::ERROR_MIROVAN_PROCESS_RECORD_FAILED if there is no such process
 *           (std::errc::no_such_process) or it cannot be read; cleared on success.
 * @return the record; on failure an empty one.
 * @see processes(), usage_sampler, Mirovan_Process_GetRecord()
 */
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

/** @brief Measures the processor usage of a process between two calls. */
class usage_sampler
{
public:
    /**
     * @brief Starts to measure.
     *
     * @param id process id; 0 for the calling process.
     * @throws mirovan::error if there is no such process.
     */
    explicit usage_sampler(int id = 0) : last_{get_record(id)} {}

    /**
     * @brief Returns the usage since the last call, or since the construction.
     *
     * @return the number of processors used, such as 1.5; empty if the process has ended, its id
     *         has been reused, or the system does not show its times.
     */
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

/** Queries of the operating system and actions on it. */
namespace system
{

/** @brief Names and releases of the system, from version(). */
struct version_record
{
    std::string name;       /**< Name of the system. */
    std::string release;    /**< Release of the kernel. */
    std::string code_name;  /**< Code name of the system. */
    unsigned long type = 0; /**< Number of the kind of system. */
};

/**
 * @brief Returns the name and the release of the operating system's kernel.
 *
 * @param ec receives ::ERROR_MIROVAN_SYSTEM_QUERY_FAILED if they cannot be read; cleared on
 *           success.
 * @return name and release; the code name is "ventura" and the type 2 on every system.
 * @see identity(), Mirovan_System_GetSystemVer()
 */
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

/**
 * @brief Returns the login name of the effective user. It cannot fail.
 *
 * @return the name; empty if the user has no account.
 * @see Mirovan_System_GetSysName()
 */
inline std::string user_name()
{
    char name[256] = "";
    Mirovan_System_GetSysName(name, nullptr);
    return name;
}

/**
 * @brief Returns the host name. It cannot fail.
 *
 * @see identity(), Mirovan_System_GetSysName()
 */
inline std::string host_name()
{
    char name[1024] = "";
    Mirovan_System_GetSysName(nullptr, name);
    return name;
}

/** @brief Size of the main display, from screen(); 0 by 0 without one. */
struct screen_size
{
    int width = 0;  /**< In pixels. */
    int height = 0; /**< In pixels. */
};

/**
 * @brief Returns the size of the main display: in pixels on Linux, in points on macOS.
 *
 * @param ec cleared: a missing display is not an error.
 * @return the size; 0 by 0 without a display.
 * @see Mirovan_System_GetScreen()
 */
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

/**
 * @brief Returns the environment variable LANG; an empty string if it is not set. It cannot fail.
 */
inline std::string language()
{
    // Mirovan_System_GetLanguage() has no parameter for the size of the buffer.
    const char* value = std::getenv("LANG");
    return value == nullptr ? "" : value;
}

/** @brief Size of the memory, from memory(). */
struct memory_record
{
    std::uint64_t total = 0; /**< In bytes. */
    std::uint64_t free = 0;  /**< In bytes. */
    int free_percent = 0;    /**< Whole percent. */
};

/**
 * @brief Returns the size of the physical memory, and how much of it is free.
 *
 * Free memory is memory without content; memory_details() also returns what programs can still use.
 *
 * @param ec cleared: values that cannot be read are 0.
 * @return sizes in bytes, and the free part in percent.
 * @see memory_details(), Mirovan_System_GetMemoryUsage()
 */
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

/**
 * @brief Returns the processor load of all processes together, in percent of one processor.
 *
 * It is an average over the lifetime of each process, as ps reports it; load_sampler measures the
 * load between two calls.
 *
 * @param ec receives ::ERROR_MIROVAN_PROCESS_ACCESS if the shell cannot be started; cleared on
 *           success.
 * @return the load, which may exceed 100.
 * @see load_sampler, Mirovan_System_GetCpuUsage()
 */
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

/**
 * @brief Returns the start time of the system in local time, in whole seconds.
 *
 * @param ec receives ::ERROR_MIROVAN_SYSTEM_QUERY_FAILED if the time cannot be expressed in local
 *           time; cleared on success.
 * @return the start time; on failure 1970-01-01.
 * @see identity() for UTC in nanoseconds, Mirovan_System_GetUpTime()
 */
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

/**
 * @brief Returns the number of processors.
 *
 * @param ec cleared: an unknown number is not an error.
 * @return the number of available processors; 0 if unknown.
 * @see identity() for the processors that this process may use, Mirovan_System_GetProcessCount()
 */
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

/**
 * @brief Returns how much of the time since the start of the system the processors were idle.
 *
 * @param ec receives ::ERROR_MIROVAN_SYSTEM_IDLETIME_STATISTICS if the load statistics cannot be
 *           read; cleared on success.
 * @return whole percent, 0 to 100.
 * @see load_sampler, Mirovan_System_GetSysIdleTime()
 */
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

/** @brief Actions of shutdown(). */
enum class action : unsigned long
{
    halt = 0x10001,               /**< Halts the system. */
    display_off = 0x10002,        /**< Turns the display off. */
    restart = 0x10003,            /**< Restarts the system. */
    end_user_processes = 0x10004, /**< Kills the processes of the logged-in user. */
    lock_screen = 0x10005         /**< Locks the screen. */
};

/**
 * @brief Halts or restarts the system, turns the display off, locks the screen, or ends the
 * processes of the user who is logged in.
 *
 * @param what the action.
 * @param ec receives ::ERROR_MIROVAN_SYSTEM_QUERY_FAILED if the action fails
 *           (std::errc::operation_not_permitted without the right to halt or restart); cleared on
 *           success.
 * @see Mirovan_System_Shutdown()
 */
inline void shutdown(action what, std::error_code& ec)
{
    detail::report(Mirovan_System_Shutdown(static_cast<unsigned long>(what)), ec, "shutdown");
}
/** The same; throws mirovan::error. */
inline void shutdown(action what)
{
    return shutdown(what, detail::throws);
}

/**
 * @brief Runs a shell command and waits for it; kills the shell at a time limit.
 *
 * process::execute_line() also returns the status and the output, and has limits in milliseconds.
 *
 * @param command command line for /bin/sh.
 * @param limit limit in whole seconds; with 0 or less, a command that has not ended at once is
 *              killed.
 * @param ec receives ::ERROR_MIROVAN_SYSTEM_SYSTEMEX_FORK if the child process cannot be created,
 *           ::ERROR_MIROVAN_SYSTEM_SYSTEMEX_SIGNAL if the signals cannot be set up; cleared on
 *           success, however the command ended.
 * @see process::execute_line(), Mirovan_System_SystemEx()
 */
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

/** @brief State of the memory in bytes, from memory_details(). Unknown values are empty. */
struct memory_details_record
{
    std::optional<std::uint64_t> total;         /**< Physical memory. */
    std::optional<std::uint64_t> available;     /**< What programs can still use. */
    std::optional<std::uint64_t> free;          /**< Pages without content. */
    std::optional<std::uint64_t> wired;         /**< Memory that cannot be paged out. */
    std::optional<std::uint64_t> compressed;    /**< Compressed pages. */
    std::optional<std::uint64_t> cached;        /**< Cached content of files. */
    std::optional<std::uint64_t> swap_total;    /**< Swap space. */
    std::optional<std::uint64_t> swap_used;     /**< Swap space in use. */
    std::optional<std::uint64_t> process_limit; /**< Limit of the control groups of this process. */
};

/**
 * @brief Returns the state of the physical memory and the swap space, and the memory limit of this
 * process.
 *
 * @param ec receives ::ERROR_MIROVAN_SYSTEM_MEMORY_RECORD_FAILED if the state of the memory cannot
 *           be read; cleared on success.
 * @return sizes in bytes; on failure without values.
 * @see memory(), Mirovan_System_GetMemoryRecord()
 */
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

/**
 * @brief Names, versions and counts of the system, from identity(). Unknown strings are empty.
 */
struct identity_record
{
    std::string name;                                           /**< Such as "macOS". */
    std::string version;                                        /**< Such as "13.6.1". */
    std::string kernel;                                         /**< Name of the kernel. */
    std::string kernel_version;                                 /**< Release of the kernel. */
    std::string architecture;                                   /**< Such as "x86_64". */
    std::string host;                                           /**< Host name. */
    std::chrono::sys_time<std::chrono::nanoseconds> start_time; /**< Start time of the system. */
    std::uint64_t page_size = 0;                                /**< In bytes. */
    unsigned processors = 0;                                    /**< All processors. */
    unsigned processors_online = 0;                             /**< Online processors. */
    unsigned processors_usable = 0;                             /**< Usable by this process. */
};

/**
 * @brief Returns the names and versions of the system, its start time, its page size and its
 * processor counts.
 *
 * @param ec receives ::ERROR_MIROVAN_SYSTEM_IDENTITY_FAILED if the kernel's names cannot be read;
 *           cleared on success.
 * @return the identity; on failure an empty record.
 * @see version(), Mirovan_System_GetIdentity()
 */
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

/**
 * @brief How a processor has spent its time since the start of the system, from processor_times().
 */
struct processor_times_record
{
    int processor = MIROVAN_PROCESSOR_ALL; /**< Number from 0; MIROVAN_PROCESSOR_ALL for all. */
    std::chrono::nanoseconds user{};       /**< In programs of normal priority. */
    std::chrono::nanoseconds nice{};       /**< In programs of lowered priority. */
    std::chrono::nanoseconds system{};     /**< In the kernel. */
    std::chrono::nanoseconds idle{};       /**< Idle, or waiting for a disk. */
};

/**
 * @brief Returns how the processors have spent their time: first all together, then each one in the
 * order of their numbers.
 *
 * @param ec receives ::ERROR_MIROVAN_SYSTEM_PROCESSOR_TIMES_FAILED if the times cannot be read;
 *           cleared on success.
 * @return the times, with the resolution of the kernel's clock tick (mostly 10 ms); on failure an
 *         empty vector.
 * @see load_sampler, Mirovan_System_GetProcessorTimes()
 */
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

/** @brief Measures the load of the processors between two calls. */
class load_sampler
{
public:
    /** @brief Parts of the time in which processors were not idle, 0 to 1. */
    struct sample
    {
        double total = 0;         /**< Of all processors together. */
        std::vector<double> each; /**< Of each processor. */
    };

    /**
     * @brief Starts to measure.
     *
     * @throws mirovan::error if the times of the processors cannot be read.
     */
    load_sampler() : last_{processor_times()} {}

    /**
     * @brief Returns the load since the last call, or since the construction.
     *
     * @param ec receives ::ERROR_MIROVAN_SYSTEM_PROCESSOR_TIMES_FAILED if the times cannot be read;
     *           cleared on success.
     * @return the load; on failure 0 and an empty vector.
     * @see processor_times()
     */
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

/** Returns whether a std::error_code has a code of the library, with any errno. */
inline bool operator==(const std::error_code& ec, Mirovan_ErrorCode code) noexcept
{
    return ec.value() == static_cast<int>(code) &&
           ec.category().name() == std::string_view{"mirovan"};
}

/** Returns an error code of the library as a std::error_code. */
inline std::error_code make_error_code(Mirovan_ErrorCode code) noexcept
{
    return {static_cast<int>(code), mirovan::error_category()};
}

#endif
#endif
