/**
 * @file mirovan.hpp
 * @brief The operations of mirovan.h for C++20: values come back, failures are thrown or reported.
 *
 * Each function is one call of the C interface, whose header says what it does. A function
 * that can fail takes a std::error_code as its last argument: given one, it reports into it and
 * returns an empty value; without one it throws mirovan::error. It reports the calling thread's own error, so it is
 * right in programs with threads.
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

#include <cerrno>
#include <chrono>
#include <compare>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <variant>

namespace mirovan
{

/** The category of the library's error codes. */
MIROVAN_API inline const std::error_category& error_category() noexcept
{
    class Category final : public std::error_category
    {
        [[nodiscard]] const char* name() const noexcept override { return "mirovan"; }
        [[nodiscard]] std::string message(int code) const override
        {
            return Mirovan_GetErrorText(static_cast<uint64_t>(code));
        }
    };
    static const Category category;
    return category;
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
            message.append(": ").append(subject);
        message.append(": ").append(sentence);
        if (system)
            message.append(": ").append(system.message());
        return message;
    }

    std::error_code system_;
    std::runtime_error message_; // copies without throwing, as an exception must
};

/** Stands for "throw" where a function takes a std::error_code. */
inline std::error_code throws;

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
            return narrow(text->c_str(), arguments...);
        return wide(std::get<std::wstring>(path_).c_str(), arguments...);
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
        outcome.assign(static_cast<int>(code), error_category());
    if (&ec != &throws)
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
inline attributes_record attributes(const path_argument& path, std::error_code& ec = throws)
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

/** See Mirovan_File_CreateMutilFolderA(). */
inline void create_folders(const path_argument& path, std::error_code& ec = throws)
{
    detail::report(path.call(Mirovan_File_CreateMutilFolderA, Mirovan_File_CreateMutilFolderW), ec,
                   "create_folders", path);
}

/** See Mirovan_File_DeleteMutilFolderA(). */
inline void delete_folder(const path_argument& path, std::error_code& ec = throws)
{
    detail::report(
        path.call(Mirovan_File_DeleteMutilFolderA, Mirovan_File_DeleteMutilFolderW, true), ec,
        "delete_folder", path);
}

/** Deletes what is in a folder and keeps it; see Mirovan_File_DeleteMutilFolderA(). */
inline void empty_folder(const path_argument& path, std::error_code& ec = throws)
{
    detail::report(
        path.call(Mirovan_File_DeleteMutilFolderA, Mirovan_File_DeleteMutilFolderW, false), ec,
        "empty_folder", path);
}

/** See Mirovan_File_SaveBuffToFileA(); at most 2 GiB less one byte. */
inline void save(const path_argument& path, std::string_view content, std::error_code& ec = throws)
{
    // A length that an int cannot hold is refused like a negative one.
    const bool fits = content.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max());
    const int length = fits ? static_cast<int>(content.size()) : -1;
    detail::report(path.call(Mirovan_File_SaveBuffToFileA, Mirovan_File_SaveBuffToFileW,
                             content.empty() ? "" : content.data(), length),
                   ec, "save", path);
}

/** See Mirovan_File_CreateSparseFileA(). */
inline void create_zero_filled(const path_argument& path, std::int64_t size,
                               std::error_code& ec = throws)
{
    detail::report(path.call(Mirovan_File_CreateSparseFileA, Mirovan_File_CreateSparseFileW,
                             static_cast<long long>(size)),
                   ec, "create_zero_filled", path);
}

/** What copy() does with a destination that exists. */
enum class existing
{
    replace,
    refuse
};

/** See Mirovan_File_CopyFileA(). */
inline void copy(const std::filesystem::path& from, const std::filesystem::path& to,
                 existing destination = existing::replace, std::error_code& ec = throws)
{
    detail::report(
        Mirovan_File_CopyFileA(from.c_str(), to.c_str(), destination == existing::refuse), ec,
        "copy", from, " to ", to);
}

/** See Mirovan_File_CopyFileW(). */
inline void copy(const std::wstring& from, const std::wstring& to,
                 existing destination = existing::replace, std::error_code& ec = throws)
{
    detail::report(
        Mirovan_File_CopyFileW(from.c_str(), to.c_str(), destination == existing::refuse), ec,
        "copy", from, " to ", to);
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

/** See Mirovan_File_EnumFileA(). Finding nothing is a success here: the range is empty. */
inline path_list list(const std::filesystem::path& folder_or_pattern, kind what = kind::files,
                      depth how_deep = depth::one_level, std::error_code& ec = throws)
{
    char** table = nullptr;
    int count = 0;
    const bool found =
        Mirovan_File_EnumFileA(folder_or_pattern.c_str(), &table, &count,
                               how_deep == depth::whole_tree, static_cast<int>(what));
    const bool empty =
        !found && Mirovan_GetThreadError(nullptr, nullptr) == ERROR_MIROVAN_FILE_ENUM_EMPTY;
    detail::report(found || empty, ec, "list", folder_or_pattern);
    return {table, found ? count : 0};
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
inline volume_record volume(const std::filesystem::path& path, std::error_code& ec = throws)
{
    tag_Mirovan_Disk_Information record{};
    detail::report(Mirovan_HardWare_GetDiskInfomation(path.c_str(), &record, 1), ec, "volume",
                   path);
    return {static_cast<file_system>(record.nFileSystem), record.nDiskTotal, record.nDiskFree};
}

/** The names that volume_names() found. */
using name_list = detail::rows<std::string>;

/** See Mirovan_HardWare_GetDiskNumber(). */
inline name_list volume_names(std::error_code& ec = throws)
{
    char** table = nullptr;
    int count = 0;
    detail::report(Mirovan_HardWare_GetDiskNumber(&table, &count), ec, "volume_names");
    return {table, count};
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
inline processor_record processor(std::error_code& ec = throws)
{
    tag_Mirovan_Cpu_Information record{};
    detail::report(Mirovan_HardWare_GetCpuInfomation(&record), ec, "processor");
    return {record.tszProcessorName, record.tszModelIdentifier, record.nProcessorSpeed,
            record.nProcessorOnline, record.nHardwareThreads};
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
inline serial_record serials(std::error_code& ec = throws)
{
    tag_Mirovan_SdkSerial_Information record{};
    detail::report(Mirovan_HardWare_GetSerial(&record), ec, "serials");
    return {detail::field(record.tszPlatformSerial), detail::field(record.tszSystemSerial),
            detail::field(record.tszVolumeUUID), detail::field(record.tszHardwareUUID)};
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

/** The output of a shell command, of any length; see Mirovan_Process_ReadCmdLines(). */
inline std::string output(const std::string& command, lines selection = {},
                          std::error_code& ec = throws)
{
    std::string text;
    const auto append = [](const char* piece, int length, void* to)
    {
        static_cast<std::string*>(to)->append(piece, static_cast<std::size_t>(length));
        return true;
    };
    detail::report(Mirovan_Process_ReadCmdLines(command.c_str(), selection.count, selection.first,
                                                append, &text),
                   ec, "output", command);
    return text;
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
inline info_record info(int id, std::error_code& ec = throws)
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

/** In thousandths of a processor; see Mirovan_Process_GetProcessCpuUsage(). */
inline int cpu_usage(int id = 0, std::error_code& ec = throws)
{
    int usage = 0;
    detail::report(Mirovan_Process_GetProcessCpuUsage(&usage, id), ec, "cpu_usage", id);
    return usage;
}

/** See Mirovan_Process_GetUpTime(). */
inline std::chrono::local_seconds start_time(int id = 0, std::error_code& ec = throws)
{
    TARVELO_LIBTIME time{1970, 1, 1, 0, 0, 0};
    detail::report(Mirovan_Process_GetUpTime(&time, id), ec, "start_time", id);
    return detail::local(time);
}

/** See Mirovan_Process_GetPath(). */
inline std::filesystem::path path(int id = 0, std::error_code& ec = throws)
{
    char buffer[MIROVAN_PATH_SIZE] = "";
    detail::report(Mirovan_Process_GetPath(buffer, id), ec, "path", id);
    return buffer;
}

/** See Mirovan_Process_IsAdmin(). */
inline bool is_admin()
{
    return Mirovan_Process_IsAdmin();
}

/** See Mirovan_Process_GetPriority(). */
inline int priority(int id = 0, std::error_code& ec = throws)
{
    int value = 0;
    detail::report(Mirovan_Process_GetPriority(&value, id), ec, "priority", id);
    return value;
}

/** See Mirovan_Process_SetPriority(). */
inline void set_priority(int value, int id = 0, std::error_code& ec = throws)
{
    detail::report(Mirovan_Process_SetPriority(value, id), ec, "set_priority", id);
}

/** Interrupts a process and waits for it when it is a child; see Mirovan_Process_Stop(). */
inline void stop(int id, std::error_code& ec = throws)
{
    detail::report(Mirovan_Process_Stop(nullptr, id, false), ec, "stop", id);
}

/** The same for the first process whose line in the process list matches a grep pattern. */
inline void stop_matching(const std::string& pattern, std::error_code& ec = throws)
{
    detail::report(Mirovan_Process_Stop(pattern.c_str(), 0, false), ec, "stop_matching", pattern);
}

/** Starts a program with an empty environment; see Mirovan_Process_CreateProcess(). */
inline int create(const std::filesystem::path& program, const std::string& arguments = {},
                  std::error_code& ec = throws)
{
    unsigned long id = 0;
    detail::report(Mirovan_Process_CreateProcess(&id, program.c_str(), arguments.c_str(), false),
                   ec, "create", program);
    return static_cast<int>(id);
}

/** Starts a program with this one's environment; see Mirovan_Process_RunProcess(). */
inline int run(const std::filesystem::path& program, const std::string& name,
               const char* argument = nullptr, std::error_code& ec = throws)
{
    unsigned long id = 0;
    detail::report(Mirovan_Process_RunProcess(&id, program.c_str(), name.c_str(), argument, false),
                   ec, "run", program);
    return static_cast<int>(id);
}

/** See Mirovan_Process_GetProcessForCpu(). */
inline int affinity_tag(pthread_t thread, std::error_code& ec = throws)
{
    unsigned long tag = 0;
    detail::report(Mirovan_Process_GetProcessForCpu(thread, &tag), ec, "affinity_tag");
    return static_cast<int>(tag);
}

/** See Mirovan_Process_SetProcessForCpu(). */
inline void set_affinity_tag(pthread_t thread, int tag, std::error_code& ec = throws)
{
    detail::report(Mirovan_Process_SetProcessForCpu(thread, static_cast<unsigned long>(tag)), ec,
                   "set_affinity_tag");
}

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
inline version_record version(std::error_code& ec = throws)
{
    char name[256] = "";
    char release[256] = "";
    char code_name[8] = "";
    unsigned long type = 0;
    detail::report(Mirovan_System_GetSystemVer(name, release, code_name, &type, nullptr), ec,
                   "version");
    return {name, release, code_name, type};
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
inline screen_size screen(std::error_code& ec = throws)
{
    screen_size size;
    detail::report(Mirovan_System_GetScreen(&size.width, &size.height), ec, "screen");
    return size;
}

/** See Mirovan_System_GetLanguage(). */
inline std::string language(std::error_code& ec = throws)
{
    const char* value = std::getenv("LANG");
    std::string text(value == nullptr ? 1 : std::string_view{value}.size() + 1, '\0');
    detail::report(Mirovan_System_GetLanguage(text.data()), ec, "language");
    text.pop_back();
    return text;
}

/** What memory() tells. */
struct memory_record
{
    std::uint64_t total = 0; /**< In bytes. */
    std::uint64_t free = 0;  /**< In bytes. */
    int free_percent = 0;    /**< Whole percent. */
};

/** See Mirovan_System_GetMemoryUsage(). */
inline memory_record memory(std::error_code& ec = throws)
{
    tag_Mirovan_Memory_Infomation record{};
    detail::report(Mirovan_System_GetMemoryUsage(&record, 1), ec, "memory");
    return {record.nTotalMemory, record.nFreeMemory, record.nFreePercent};
}

/** In percent of one processor; see Mirovan_System_GetCpuUsage(). */
inline int cpu_load(std::error_code& ec = throws)
{
    int load = 0;
    detail::report(Mirovan_System_GetCpuUsage(&load), ec, "cpu_load");
    return load;
}

/** See Mirovan_System_GetUpTime(). */
inline std::chrono::local_seconds start_time(std::error_code& ec = throws)
{
    TARVELO_LIBTIME time{1970, 1, 1, 0, 0, 0};
    detail::report(Mirovan_System_GetUpTime(&time), ec, "start_time");
    return detail::local(time);
}

/** See Mirovan_System_GetProcessCount(). */
inline int processor_count(std::error_code& ec = throws)
{
    int count = 0;
    detail::report(Mirovan_System_GetProcessCount(&count), ec, "processor_count");
    return count;
}

/** See Mirovan_System_GetSysIdleTime(). */
inline unsigned long idle_percent(std::error_code& ec = throws)
{
    unsigned long percent = 0;
    detail::report(Mirovan_System_GetSysIdleTime(percent), ec, "idle_percent");
    return percent;
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
inline void shutdown(action what, std::error_code& ec = throws)
{
    detail::report(Mirovan_System_Shutdown(static_cast<unsigned long>(what)), ec, "shutdown");
}

/** Runs a shell command and kills it at the limit; see Mirovan_System_SystemEx(). */
inline void run(const std::string& command, std::chrono::seconds limit,
                std::error_code& ec = throws)
{
    constexpr auto longest = std::chrono::seconds{std::numeric_limits<int>::max()};
    const auto seconds = limit < longest ? limit : longest;
    detail::report(Mirovan_System_SystemEx(command.c_str(), seconds.count() > 0
                                                                ? static_cast<int>(seconds.count())
                                                                : 0),
                   ec, "run", command);
}

} // namespace system
} // namespace mirovan

/** The error codes convert to std::error_code. */
template <>
struct std::is_error_code_enum<Mirovan_ErrorCode> : std::true_type
{
};

/** An error code of the library as a std::error_code. */
inline std::error_code make_error_code(Mirovan_ErrorCode code) noexcept
{
    return {static_cast<int>(code), mirovan::error_category()};
}

#endif
#endif
