#include "platform/command_line.h"
#include "source/command/capture.h"
#include "source/operation.h"
#include "source/system/host_port.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <sys/sysctl.h>

namespace
{

using namespace mirovan;

void query_total(tag_Mirovan_Memory_Infomation& memory)
{
    int name[] = {CTL_HW, HW_MEMSIZE};
    std::size_t size = sizeof memory.nTotalMemory;
    sysctl(name, 2, &memory.nTotalMemory, &size, nullptr, 0);
}

void query_free(tag_Mirovan_Memory_Infomation& memory)
{
    const HostPort host;
    vm_size_t page_size = 0;
    vm_statistics_data_t statistics{};
    mach_msg_type_number_t count = HOST_VM_INFO_COUNT;
    if (host_page_size(host.get(), &page_size) != KERN_SUCCESS ||
        host_statistics(host.get(), HOST_VM_INFO, reinterpret_cast<host_info_t>(&statistics),
                        &count) != KERN_SUCCESS)
        return;
    memory.nFreeMemory = std::uint64_t{statistics.free_count} * page_size;
    memory.nFreePercent = 0;
    if (memory.nTotalMemory != 0)
    {
        const double share = static_cast<double>(memory.nFreeMemory) /
                             static_cast<double>(memory.nTotalMemory) * 100.0;
        memory.nFreePercent = static_cast<std::int32_t>(std::min(share, 100.0));
    }
}

/// How far byte counts are shifted for a unit; other values than these leave bytes.
unsigned unit_shift(int unit)
{
    return unit >= 2 && unit <= 4 ? static_cast<unsigned>(unit - 1) * 10 : 0;
}

/// The whole number at the start of a text, as atoi reads it, without its undefined overflow.
int leading_number(const char* text)
{
    return static_cast<int>(std::clamp(std::strtol(text, nullptr, 10), static_cast<long>(INT_MIN),
                                       static_cast<long>(INT_MAX)));
}

} // namespace

bool CMirovan_System::Mirovan_System_GetMemoryUsage(tag_Mirovan_Memory_Infomation* pstMemoryInfo,
                                                    int nUnit)
{
    clear_error();
    if (pstMemoryInfo == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    query_total(*pstMemoryInfo);
    query_free(*pstMemoryInfo);
    const unsigned shift = unit_shift(nUnit);
    for (uint64_t* size :
         {&pstMemoryInfo->nTotalMemory, &pstMemoryInfo->nFreeMemory, &pstMemoryInfo->nReserved1,
          &pstMemoryInfo->nReserved2, &pstMemoryInfo->nReserved4, &pstMemoryInfo->nReserved5})
        *size >>= shift;
    return true;
}

bool CMirovan_System::Mirovan_System_GetCpuUsage(int* pnCpuUsage)
{
    return operation<ERROR_MIROVAN_PROCESS_ACCESS>(
        [&]
        {
            if (pnCpuUsage == nullptr)
                return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
            constexpr const char* command =
                R"(ps -A -o %cpu= | awk '{s+=$1} END {printf "%.1f\n", s}')";
            char sum[128] = "";
            if (!capture_into(platform::report_command_line(command), {1, 0}, sum))
                return false;
            *pnCpuUsage = leading_number(sum);
            return true;
        });
}
