#include "base/descriptor.h"
#include "platform/linux/process_text.h"
#include "platform/linux/read_number.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <libproc.h>
#include <limits>
#include <span>
#include <string_view>
#include <sys/stat.h>

namespace mirovan::platform
{
namespace
{

/// A file that is not there, or no longer, means that the process is not.
bool no_process()
{
    if (errno == ENOENT)
        errno = ESRCH;
    return false;
}

template <class Integer>
Integer clamped(std::uint64_t value)
{
    constexpr std::uint64_t most = std::numeric_limits<Integer>::max();
    return static_cast<Integer>(std::min(value, most));
}

std::chrono::nanoseconds now(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return std::chrono::seconds{time.tv_sec} + std::chrono::nanoseconds{time.tv_nsec};
}

/// The second of the wall clock in which the system started: what /proc/stat calls btime, without
/// the cost of that file.
///
/// It moves when the wall clock is set, and is therefore read each time: a start time is then
/// one of the clock as it is now, which ps shows as well, and not of a clock that was wrong.
std::int64_t boot_second()
{
    constexpr int attempts = 4;
    auto narrowest = std::chrono::nanoseconds::max();
    std::chrono::nanoseconds boot{};
    for (int attempt = 0; attempt < attempts; ++attempt)
    {
        const auto before = now(CLOCK_BOOTTIME);
        const auto wall = now(CLOCK_REALTIME);
        const auto width = now(CLOCK_BOOTTIME) - before;
        if (width < narrowest)
        {
            narrowest = width;
            boot = wall - before - width / 2;
        }
    }
    return std::chrono::floor<std::chrono::seconds>(boot).count();
}

std::uint64_t ticks_per_second()
{
    return static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
}

/// The files of a process, read without an allocation.
class ProcessFiles
{
public:
    explicit ProcessFiles(int pid) : pid_{pid}, stat_{open_file(path("/stat"), O_RDONLY)} {}

    bool read_stat(ProcessStat& stat)
    {
        std::string_view text;
        if (!stat_ || !read_into(stat_.get(), stat_text_, text))
            return no_process();
        const auto parsed = parse_process_stat(text);
        // A thread other than the first one has a folder too, but is not a process.
        if (!parsed || !parsed->leads)
            return unusable(text);
        stat = *parsed;
        return true;
    }

    /// All of it from the same process. A file that was opened belongs to its process for good and
    /// cannot be read once that is gone. When the one that was opened first can be read last, the
    /// id was not given to another process in between.
    bool read(ProcessStat& stat, ProcessMemory& memory, uid_t& user)
    {
        char memory_text[256];
        std::string_view text;
        struct stat folder = {};
        if (!stat_)
            return no_process();
        const Descriptor memory_file = open_file(path("/statm"), O_RDONLY);
        if (!memory_file || !read_into(memory_file.get(), memory_text, text) ||
            fstatat(AT_FDCWD, path(""), &folder, 0) != 0)
            return no_process();
        const auto parsed = parse_process_memory(text);
        if (!parsed)
            return unusable(text);
        memory = *parsed;
        // The folder belongs to the effective user.
        user = folder.st_uid;
        return read_stat(stat);
    }

private:
    const char* path(const char* name)
    {
        static_cast<void>(std::snprintf(path_, sizeof path_, "/proc/%d%s", pid_, name));
        return path_;
    }

    static bool unusable(std::string_view text)
    {
        errno = text.ends_with('\n') ? ESRCH : EIO;
        return false;
    }

    static bool read_into(int file, std::span<char> buffer, std::string_view& text)
    {
        ssize_t got = 0;
        do
            got = ::read(file, buffer.data(), buffer.size());
        while (got < 0 && errno == EINTR);
        text = {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0))};
        return got >= 0;
    }

    char path_[32];
    char stat_text_[2048];
    int pid_;
    Descriptor stat_;
};

void fill(proc_taskallinfo& task, const ProcessStat& stat, const ProcessMemory& memory, uid_t user)
{
    constexpr std::uint64_t nanoseconds = 1'000'000'000;
    constexpr std::uint64_t microseconds = 1'000'000;
    const std::uint64_t rate = ticks_per_second();
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    task = {};
    task.pbsd.pbi_status = process_status(stat.state);
    task.pbsd.pbi_ppid = stat.parent;
    task.pbsd.pbi_uid = user;
    std::copy_n(stat.name.data(), std::min(stat.name.size(), sizeof task.pbsd.pbi_comm - 1),
                task.pbsd.pbi_comm);
    std::copy_n(stat.name.data(), std::min(stat.name.size(), sizeof task.pbsd.pbi_name - 1),
                task.pbsd.pbi_name);
    task.pbsd.pbi_nice = stat.nice;
    task.pbsd.pbi_start_tvsec =
        static_cast<std::uint64_t>(start_second(stat.start_ticks, rate, boot_second()));
    task.pbsd.pbi_start_tvusec = stat.start_ticks % rate * microseconds / rate;
    task.ptinfo.pti_virtual_size = memory.virtual_pages * page;
    task.ptinfo.pti_resident_size = memory.resident_pages * page;
    // The unit of mach_absolute_time() is the nanosecond here.
    task.ptinfo.pti_total_user = stat.user_ticks * (nanoseconds / rate);
    task.ptinfo.pti_total_system = stat.system_ticks * (nanoseconds / rate);
    task.ptinfo.pti_faults = clamped<std::int32_t>(stat.minor_faults + stat.major_faults);
    task.ptinfo.pti_pageins = clamped<std::int32_t>(stat.major_faults);
    task.ptinfo.pti_threadnum = clamped<std::int32_t>(stat.threads);
    task.ptinfo.pti_numrunning = stat.state == 'R' ? 1 : 0;
}

bool read_task(int pid, proc_taskallinfo& task)
{
    ProcessStat stat;
    ProcessMemory memory;
    uid_t user = 0;
    ProcessFiles files{pid};
    if (!files.read(stat, memory, user))
        return false;
    fill(task, stat, memory, user);
    return true;
}

bool read_thread(int pid, proc_threadinfo& thread)
{
    ProcessStat stat;
    ProcessFiles files{pid};
    if (!files.read_stat(stat))
        return false;
    const std::chrono::duration<double> since_boot = now(CLOCK_BOOTTIME);
    thread.pth_cpu_usage = usage_share(stat, ticks_per_second(), since_boot.count());
    return true;
}

/// Linux has the processor time of the process alone: one handle represents all threads. As
/// on macOS, the handle 0 is nobody's.
std::uint64_t thread_handle(int pid)
{
    return static_cast<std::uint64_t>(pid);
}

bool list_threads(int pid, std::uint64_t& handle)
{
    handle = thread_handle(pid);
    return true;
}

template <class Record>
int deliver(bool (*read)(int, Record&), int pid, void* buffer, int buffer_size)
{
    constexpr int size = sizeof(Record);
    if (buffer_size < size)
    {
        errno = ENOMEM; // GCOVR_EXCL_LINE: interface
        return 0;       // GCOVR_EXCL_LINE: interface
    }
    Record record{};
    if (!read(pid, record))
        return 0;
    std::memcpy(buffer, &record, sizeof record);
    return size;
}

/// The kernel marks the path of a program whose file was deleted. A file may also be named so.
std::size_t length_without_mark(const char* path, std::size_t length)
{
    constexpr std::string_view mark = " (deleted)";
    const bool marked = std::string_view{path, length}.ends_with(mark);
    return marked && access(path, F_OK) != 0 ? length - mark.size() : length;
}

} // namespace
} // namespace mirovan::platform

int proc_pidinfo(int pid, int flavor, uint64_t arg, void* buffer, int buffersize)
{
    using namespace mirovan::platform;
    switch (flavor)
    {
    case PROC_PIDTASKALLINFO:
        return deliver(read_task, pid, buffer, buffersize);
    case PROC_PIDLISTTHREADS:
        return deliver(list_threads, pid, buffer, buffersize);
    case PROC_PIDTHREADINFO:
        if (arg != 0 && arg == thread_handle(pid))
            return deliver(read_thread, pid, buffer, buffersize);
        errno = ESRCH;
        return 0;
    default:            // GCOVR_EXCL_LINE: interface
        errno = EINVAL; // GCOVR_EXCL_LINE: interface
        return 0;       // GCOVR_EXCL_LINE: interface
    }
}

int proc_listallpids(void* buffer, int buffersize)
{
    const auto room = static_cast<std::size_t>(buffersize) / sizeof(int);
    auto* const ids = static_cast<int*>(buffer);
    DIR* const folder = opendir("/proc");
    if (folder == nullptr)
        return 0;
    std::size_t count = 0;
    errno = 0;
    while (count < room)
    {
        const dirent* const entry = readdir(folder);
        if (entry == nullptr)
            break;
        if (mirovan::platform::read_number(entry->d_name, ids[count]))
            ++count;
    }
    const int saved_errno = errno;
    closedir(folder);
    errno = saved_errno == 0 && count == 0 ? ENOENT : saved_errno;
    return saved_errno == 0 || count == room ? static_cast<int>(count) : 0;
}

int proc_pidpath(int pid, void* buffer, uint32_t buffersize)
{
    char program[32];
    static_cast<void>(std::snprintf(program, sizeof program, "/proc/%d/exe", pid));
    char target[PATH_MAX];
    const ssize_t got = readlink(program, target, sizeof target);
    if (got < 0)
        return 0;
    auto length = static_cast<std::size_t>(got);
    if (length < sizeof target)
    {
        target[length] = '\0';
        length = mirovan::platform::length_without_mark(target, length);
    }
    if (length >= std::min<std::size_t>(sizeof target, buffersize))
    {
        errno = ENAMETOOLONG;
        return 0;
    }
    target[length] = '\0';
    std::memcpy(buffer, target, length + 1);
    return static_cast<int>(length);
}
