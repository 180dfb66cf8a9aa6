#include "base/descriptor.h"
#include "platform/linux/process_text.h"
#include "platform/linux/read_text.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <libproc.h>
#include <limits>
#include <new>
#include <string>
#include <string_view>

namespace mirovan::platform
{
namespace
{

std::string process_folder(int pid)
{
    return "/proc/" + std::to_string(pid);
}

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
/// It moves when the wall clock is set, and is therefore found anew each time: a start time is then
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

void fill(proc_taskallinfo& task, const ProcessStat& stat, const ProcessStatus& status)
{
    task = {};
    task.pbsd.pbi_status = process_status(status.state);
    task.pbsd.pbi_uid = status.effective_user;
    std::copy_n(stat.name.data(), std::min(stat.name.size(), MAXCOMLEN - 1), task.pbsd.pbi_comm);
    task.pbsd.pbi_start_tvsec = static_cast<std::uint64_t>(
        start_second(stat.start_ticks, ticks_per_second(), boot_second()));
    task.ptinfo.pti_virtual_size = status.virtual_size;
    task.ptinfo.pti_resident_size = status.resident_size;
    task.ptinfo.pti_pageins = clamped<std::int32_t>(stat.major_faults);
    task.ptinfo.pti_threadnum = clamped<std::int32_t>(status.threads);
}

bool read_task(int pid, proc_taskallinfo& task)
{
    const std::string folder = process_folder(pid);
    std::string stat_text;
    std::string status_text;
    // A file that was opened belongs to its process for good and cannot be read once that is gone.
    // Where the one that was opened first can be read last, the id was not given to another process
    // in between. What changes when a process ends comes from one file.
    const Descriptor stat_file = open_file((folder + "/stat").c_str(), O_RDONLY);
    if (!stat_file || !read_one_piece((folder + "/status").c_str(), status_text) ||
        !read_one_piece(stat_file.get(), stat_text))
        return no_process();
    const auto stat = parse_process_stat(stat_text);
    const auto status = parse_process_status(status_text);
    // A thread that does not lead its process has a folder too, but is no process.
    if (!stat || !status || status->thread_group != static_cast<std::uint64_t>(pid))
    {
        errno = ESRCH;
        return false;
    }
    fill(task, *stat, *status);
    return true;
}

bool read_thread(int pid, proc_threadinfo& thread)
{
    std::string text;
    if (!read_one_piece((process_folder(pid) + "/stat").c_str(), text))
        return no_process();
    const auto stat = parse_process_stat(text);
    if (!stat)
    {
        errno = ESRCH;
        return false;
    }
    const std::chrono::duration<double> since_boot = now(CLOCK_BOOTTIME);
    thread.pth_cpu_usage = usage_share(*stat, ticks_per_second(), since_boot.count());
    return true;
}

template <class Record>
int deliver(bool (*read)(int, Record&), int pid, void* buffer, int buffer_size)
{
    constexpr int size = sizeof(Record);
    if (buffer_size < size)
    {
        errno = ENOMEM;
        return 0;
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
    try
    {
        if (flavor == PROC_PIDTASKALLINFO)
            return deliver(read_task, pid, buffer, buffersize);
        // Handle 0 asks for any thread. Linux counts the processor time of a process as one.
        if (flavor == PROC_PIDTHREADINFO && arg == 0)
            return deliver(read_thread, pid, buffer, buffersize);
        errno = EINVAL;
    }
    catch (const std::bad_alloc&)
    {
        errno = ENOMEM;
    }
    return 0;
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
