#include "platform/host.h"
#include "source/operation.h"
#include "source/sized_record.h"
#include "source/system/host_port.h"

#include <algorithm>
#include <sys/sysctl.h>

namespace
{

using namespace mirovan;

void read_total(tag_Mirovan_Memory_Infomation& memory)
{
    int name[] = {CTL_HW, HW_MEMSIZE};
    std::size_t size = sizeof memory.nTotalMemory;
    sysctl(name, 2, &memory.nTotalMemory, &size, nullptr, 0);
}

void read_free(tag_Mirovan_Memory_Infomation& memory)
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
        const double percent = static_cast<double>(memory.nFreeMemory) /
                               static_cast<double>(memory.nTotalMemory) * 100.0;
        memory.nFreePercent = static_cast<std::int32_t>(std::min(percent, 100.0));
    }
}

/// How far byte counts are shifted for a unit; other values than these leave bytes.
unsigned unit_shift(int unit)
{
    return unit >= MIROVAN_UNIT_KIB && unit <= MIROVAN_UNIT_GIB
               ? static_cast<unsigned>(unit - MIROVAN_UNIT_BYTE) * 10
               : 0;
}

bool get_usage(tag_Mirovan_Memory_Infomation* memory, int unit)
{
    if (memory == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    read_total(*memory);
    read_free(*memory);
    const unsigned shift = unit_shift(unit);
    for (uint64_t* size : {&memory->nTotalMemory, &memory->nFreeMemory, &memory->nReserved1,
                           &memory->nReserved2, &memory->nReserved4, &memory->nReserved5})
        *size >>= shift;
    return true;
}

bool get_record(MIROVAN_MEMORY_RECORD* record)
{
    if (!is_sized(record))
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    platform::Memory memory;
    if (!platform::read_memory(memory))
        return fail(ERROR_MIROVAN_SYSTEM_MEMORY_RECORD_FAILED, errno);
    using Record = MIROVAN_MEMORY_RECORD;
    const struct
    {
        std::uint32_t bit;
        uint64_t Record::*field;
        const std::optional<std::uint64_t>& value;
    } fields[] = {
        {MIROVAN_MEMORY_KNOWN_TOTAL, &Record::nTotal, memory.total},
        {MIROVAN_MEMORY_KNOWN_AVAILABLE, &Record::nAvailable, memory.available},
        {MIROVAN_MEMORY_KNOWN_FREE, &Record::nFree, memory.free},
        {MIROVAN_MEMORY_KNOWN_WIRED, &Record::nWired, memory.wired},
        {MIROVAN_MEMORY_KNOWN_COMPRESSED, &Record::nCompressed, memory.compressed},
        {MIROVAN_MEMORY_KNOWN_CACHED, &Record::nCached, memory.cached},
        {MIROVAN_MEMORY_KNOWN_SWAP_TOTAL, &Record::nSwapTotal, memory.swap_total},
        {MIROVAN_MEMORY_KNOWN_SWAP_USED, &Record::nSwapUsed, memory.swap_used},
        {MIROVAN_MEMORY_KNOWN_PROCESS_LIMIT, &Record::nProcessLimit, memory.process_limit}};
    auto filled = make_sized<Record>();
    for (const auto& [bit, field, value] : fields)
        set_known(filled, bit, field, value);
    give(filled, record);
    return true;
}

} // namespace

bool CMirovan_System::Mirovan_System_GetMemoryUsage(tag_Mirovan_Memory_Infomation* pstMemoryInfo,
                                                    int nUnit)
{
    return operation<ERROR_MIROVAN_SYSTEM_QUERY_FAILED>(get_usage, pstMemoryInfo, nUnit);
}

bool CMirovan_System::Mirovan_System_GetMemoryRecord(MIROVAN_MEMORY_RECORD* pstMemory)
{
    return operation<ERROR_MIROVAN_SYSTEM_MEMORY_RECORD_FAILED>(get_record, pstMemory);
}
