#include <sys/sysctl.h>

#include "platform/linux/host_counters.h"
#include "platform/linux/read_text.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <libproc.h>
#include <new>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <unistd.h>

namespace
{

template <class Value>
int give(Value value, void* oldp, std::size_t* oldlenp)
{
    if (oldp != nullptr && *oldlenp < sizeof value)
    {
        errno = ENOMEM;
        return -1;
    }
    if (oldp != nullptr)
        std::memcpy(oldp, &value, sizeof value);
    *oldlenp = sizeof value;
    return 0;
}

int give_processors(int which, void* oldp, std::size_t* oldlenp)
{
    const long count = sysconf(which);
    return count < 0 ? -1 : give(static_cast<std::int32_t>(count), oldp, oldlenp);
}

int give_memory_size(void* oldp, std::size_t* oldlenp)
{
    struct sysinfo info = {};
    if (sysinfo(&info) != 0)
        return -1;
    return give(std::uint64_t{info.totalram} * info.mem_unit, oldp, oldlenp);
}

int give_start_time(void* oldp, std::size_t* oldlenp)
try
{
    std::string stat;
    if (!mirovan::platform::read_text("/proc/stat", stat))
        return -1;
    const auto seconds = mirovan::platform::keyed_value(stat, "btime");
    if (seconds)
        return give(timeval{static_cast<time_t>(*seconds), 0}, oldp, oldlenp);
    errno = EIO; // GCOVR_EXCL_LINE: machine
    return -1;   // GCOVR_EXCL_LINE: machine
}
catch (const std::bad_alloc&)
{
    errno = ENOMEM;
    return -1;
}

int give_process(int id, void* oldp, std::size_t* oldlenp)
{
    proc_taskallinfo task{};
    if (proc_pidinfo(id, PROC_PIDTASKALLINFO, 0, &task, sizeof task) == 0)
    {
        *oldlenp = 0;
        return errno == ESRCH ? 0 : -1;
    }
    kinfo_proc process{};
    process.kp_proc.p_starttime = {static_cast<time_t>(task.pbsd.pbi_start_tvsec),
                                   static_cast<suseconds_t>(task.pbsd.pbi_start_tvusec)};
    process.kp_proc.p_stat = static_cast<char>(task.pbsd.pbi_status);
    process.kp_proc.p_pid = id;
    process.kp_proc.p_nice = static_cast<char>(task.pbsd.pbi_nice);
    std::memcpy(process.kp_proc.p_comm, task.pbsd.pbi_comm, sizeof task.pbsd.pbi_comm);
    process.kp_eproc.e_ucred.cr_uid = task.pbsd.pbi_uid;
    process.kp_eproc.e_ppid = static_cast<pid_t>(task.pbsd.pbi_ppid);
    return give(process, oldp, oldlenp);
}

} // namespace

// NOLINTNEXTLINE(readability-non-const-parameter): the home platform declares it so.
int sysctl(int* name, unsigned int namelen, void* oldp, std::size_t* oldlenp, void* newp,
           std::size_t /*newlen*/)
{
    if (newp != nullptr)
    {
        errno = EPERM;
        return -1;
    }
    if (namelen == 2 && name[0] == CTL_KERN && name[1] == KERN_BOOTTIME && oldlenp != nullptr)
        return give_start_time(oldp, oldlenp);
    if (namelen == 4 && name[0] == CTL_KERN && name[1] == KERN_PROC && name[2] == KERN_PROC_PID)
        return give_process(name[3], oldp, oldlenp);
    if (namelen == 2 && name[0] == CTL_HW && oldlenp != nullptr)
    {
        switch (name[1])
        {
        case HW_MEMSIZE:
            return give_memory_size(oldp, oldlenp);
        case HW_NCPU:
            return give_processors(_SC_NPROCESSORS_CONF, oldp, oldlenp);
        case HW_AVAILCPU:
            return give_processors(_SC_NPROCESSORS_ONLN, oldp, oldlenp);
        default:
            break;
        }
    }
    errno = ENOENT;
    return -1;
}
