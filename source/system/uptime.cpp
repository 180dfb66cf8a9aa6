#include "source/system/uptime.h"

#include "base/time.h"
#include "source/calendar.h"
#include "source/operation.h"
#include "source/system/host_port.h"
#include "source/table.h"

#include <memory>
#include <sys/sysctl.h>

namespace mirovan
{

std::time_t start_time(std::time_t now, std::uint64_t milliseconds_since_start)
{
    constexpr std::uint64_t milliseconds_per_second = 1000;
    return now - static_cast<std::time_t>(milliseconds_since_start / milliseconds_per_second);
}

unsigned long idle_percent(const host_cpu_load_info_data_t& load)
{
    natural_t sum = 0;
    for (const natural_t ticks : load.cpu_ticks)
        sum += ticks;
    if (sum == 0)
        return 0;
    return static_cast<unsigned long>(static_cast<double>(load.cpu_ticks[CPU_STATE_IDLE]) / sum *
                                      100.0);
}

namespace
{

bool query_hardware(int what, std::int32_t& value)
{
    int name[] = {CTL_HW, what};
    std::size_t size = sizeof value;
    return sysctl(name, 2, &value, &size, nullptr, 0) == 0;
}

} // namespace
} // namespace mirovan

using namespace mirovan;

bool CMirovan_System::Mirovan_System_GetUpTime(TARVELO_LIBTIME* pstLibTime)
{
    clear_error();
    if (pstLibTime == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    const std::uint64_t ticks = Fundix_Time_GetTickCount();
    if (!local_calendar(start_time(std::time(nullptr), ticks), *pstLibTime))
        return fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, errno);
    return true;
}

__attribute__((no_sanitize("null"))) bool
CMirovan_System::Mirovan_System_GetSysIdleTime(unsigned long& nIdleTime)
{
    clear_error();
    // A caller in C may pass a null address, which a compiler would rather not believe.
    unsigned long* volatile address = std::addressof(nIdleTime);
    unsigned long* const idle = address;
    if (idle == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    std::int32_t processors = 0;
    if (!query_hardware(HW_NCPU, processors))
        return fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, errno);
    const HostPort host;
    host_cpu_load_info_data_t load{};
    mach_msg_type_number_t count = HOST_CPU_LOAD_INFO_COUNT;
    if (host_statistics(host.get(), HOST_CPU_LOAD_INFO, reinterpret_cast<host_info_t>(&load),
                        &count) != KERN_SUCCESS)
        return fail(ERROR_MIROVAN_SYSTEM_IDLETIME_STATISTICS, errno);
    *idle = idle_percent(load);
    return true;
}

bool CMirovan_System::Mirovan_System_GetProcessCount(int* pnProcessCount)
{
    clear_error();
    if (pnProcessCount == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    std::int32_t processors = 0;
    query_hardware(HW_AVAILCPU, processors);
    if (processors == 0)
        query_hardware(HW_NCPU, processors);
    *pnProcessCount = processors;
    return true;
}

bool CMirovan_System::Mirovan_System_GetProcessList(MIROVAN_PROCESS_INFO*** pppstProcessList,
                                                    int* pnListCount)
{
    clear_error();
    if (pppstProcessList == nullptr || pnListCount == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    *pnListCount = 0;
    make_table(pppstProcessList, *pnListCount, sizeof(MIROVAN_PROCESS_INFO));
    return true;
}
