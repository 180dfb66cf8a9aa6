#include "source/system/processors.h"

#include "platform/command_line.h"
#include "source/command/capture.h"
#include "source/operation.h"
#include "source/sized_record.h"
#include "source/system/host_port.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <sys/sysctl.h>
#include <unistd.h>

namespace mirovan
{

ProcessorTicks sum_of(std::span<const processor_cpu_load_info> loads)
{
    ProcessorTicks sum;
    for (const auto& load : loads)
    {
        sum.user += load.cpu_ticks[CPU_STATE_USER];
        sum.nice += load.cpu_ticks[CPU_STATE_NICE];
        sum.system += load.cpu_ticks[CPU_STATE_SYSTEM];
        sum.idle += load.cpu_ticks[CPU_STATE_IDLE];
    }
    return sum;
}

unsigned long idle_percent(const ProcessorTicks& ticks)
{
    const std::uint64_t sum = ticks.user + ticks.nice + ticks.system + ticks.idle;
    if (sum == 0)
        return 0;
    return static_cast<unsigned long>(static_cast<double>(ticks.idle) / static_cast<double>(sum) *
                                      100.0);
}

std::optional<std::int32_t> processor_count(int which)
{
    int name[] = {CTL_HW, which};
    std::int32_t count = 0;
    std::size_t size = sizeof count;
    if (sysctl(name, 2, &count, &size, nullptr, 0) != 0)
        return std::nullopt;
    return count;
}

namespace
{

/// The load counters of every processor, while it lives.
class ProcessorLoads
{
public:
    ProcessorLoads() = default;
    ~ProcessorLoads()
    {
        if (info_ != nullptr)
            vm_deallocate(mach_task_self(), reinterpret_cast<vm_address_t>(info_),
                          size_ * sizeof *info_);
    }
    ProcessorLoads(const ProcessorLoads&) = delete;
    ProcessorLoads& operator=(const ProcessorLoads&) = delete;

    kern_return_t read()
    {
        const HostPort host;
        return host_processor_info(host.get(), PROCESSOR_CPU_LOAD_INFO, &count_, &info_, &size_);
    }

    std::span<const processor_cpu_load_info> get() const
    {
        return {reinterpret_cast<const processor_cpu_load_info*>(info_), count_};
    }

private:
    natural_t count_ = 0;
    processor_info_array_t info_ = nullptr;
    mach_msg_type_number_t size_ = 0;
};

/// The integer at the start of a string, like atoi() but with a defined overflow.
int leading_number(const char* text)
{
    return static_cast<int>(std::clamp(std::strtol(text, nullptr, 10), static_cast<long>(INT_MIN),
                                       static_cast<long>(INT_MAX)));
}

bool get_usage(int* usage)
{
    if (usage == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    constexpr const char* command = R"(ps -A -o %cpu= | awk '{s+=$1} END {printf "%.1f\n", s}')";
    char sum[128] = "";
    if (!capture_into(platform::report_command_line(command), {1, 0}, sum))
        return false;
    *usage = leading_number(sum);
    return true;
}

bool get_idle_percent(unsigned long* idle)
{
    if (idle == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    if (!processor_count(HW_NCPU))
        return fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, errno);
    ProcessorLoads loads;
    if (const kern_return_t result = loads.read(); result != KERN_SUCCESS)
        return fail(ERROR_MIROVAN_SYSTEM_IDLETIME_STATISTICS, errno_of(result));
    *idle = idle_percent(sum_of(loads.get()));
    return true;
}

bool get_count(int* count)
{
    if (count == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    const std::int32_t available = processor_count(HW_AVAILCPU).value_or(0);
    *count = available != 0 ? available : processor_count(HW_NCPU).value_or(0);
    return true;
}

MIROVAN_PROCESSOR_TIMES times_of(std::int32_t number, const ProcessorTicks& ticks)
{
    auto times = make_sized<MIROVAN_PROCESSOR_TIMES>();
    times.nProcessor = number;
    // No processor that runs has counted nothing at all.
    if (ticks.user + ticks.nice + ticks.system + ticks.idle == 0)
        return times; // GCOVR_EXCL_LINE: machine
    constexpr std::uint64_t nanoseconds_per_second = 1'000'000'000;
    const auto scale = nanoseconds_per_second / static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
    const auto nanoseconds = [&](std::uint64_t count) { return std::optional{count * scale}; };
    set_known(times, MIROVAN_PROCESSOR_TIMES_KNOWN_USER, &MIROVAN_PROCESSOR_TIMES::nUser,
              nanoseconds(ticks.user));
    set_known(times, MIROVAN_PROCESSOR_TIMES_KNOWN_NICE, &MIROVAN_PROCESSOR_TIMES::nNice,
              nanoseconds(ticks.nice));
    set_known(times, MIROVAN_PROCESSOR_TIMES_KNOWN_SYSTEM, &MIROVAN_PROCESSOR_TIMES::nSystem,
              nanoseconds(ticks.system));
    set_known(times, MIROVAN_PROCESSOR_TIMES_KNOWN_IDLE, &MIROVAN_PROCESSOR_TIMES::nIdle,
              nanoseconds(ticks.idle));
    return times;
}

bool list_times(bool (*take)(const MIROVAN_PROCESSOR_TIMES* times, void* context), void* context)
{
    if (take == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    ProcessorLoads loads;
    if (const kern_return_t result = loads.read(); result != KERN_SUCCESS)
        return fail(ERROR_MIROVAN_SYSTEM_PROCESSOR_TIMES_FAILED, errno_of(result));
    const auto each = loads.get();
    MIROVAN_PROCESSOR_TIMES times = times_of(MIROVAN_PROCESSOR_ALL, sum_of(each));
    for (std::size_t next = 0; take(&times, context) && next < each.size(); ++next)
        times = times_of(static_cast<std::int32_t>(next), sum_of(each.subspan(next, 1)));
    return true;
}

} // namespace
} // namespace mirovan

using namespace mirovan;

bool CMirovan_System::Mirovan_System_GetCpuUsage(int* pnCpuUsage)
{
    return operation<ERROR_MIROVAN_PROCESS_ACCESS>(get_usage, pnCpuUsage);
}

__attribute__((no_sanitize("null"))) bool
CMirovan_System::Mirovan_System_GetSysIdleTime(unsigned long& nIdleTime)
{
    // C callers can pass NULL; the volatile load keeps the compiler from assuming a valid reference.
    unsigned long* volatile address = std::addressof(nIdleTime);
    unsigned long* const idle = address;
    return operation<ERROR_MIROVAN_SYSTEM_IDLETIME_STATISTICS>(get_idle_percent, idle);
}

bool CMirovan_System::Mirovan_System_GetProcessCount(int* pnProcessCount)
{
    return operation<ERROR_MIROVAN_SYSTEM_QUERY_FAILED>(get_count, pnProcessCount);
}

bool CMirovan_System::Mirovan_System_GetProcessorTimes(
    bool (*pfnTimes)(const MIROVAN_PROCESSOR_TIMES* pstTimes, void* pContext), void* pContext)
{
    return operation<ERROR_MIROVAN_SYSTEM_PROCESSOR_TIMES_FAILED>(list_times, pfnTimes, pContext);
}
