#include <sys/sysctl.h>

#include "platform/linux/host_counters.h"
#include "platform/linux/read_text.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
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
    errno = EIO;
    return -1;
}
catch (const std::bad_alloc&)
{
    errno = ENOMEM;
    return -1;
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
