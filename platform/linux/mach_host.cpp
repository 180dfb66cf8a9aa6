#include <mach/mach_host.h>

#include "platform/linux/host_figures.h"
#include "platform/linux/read_text.h"

#include <cstring>
#include <exception>
#include <optional>
#include <unistd.h>

namespace
{

using namespace mirovan::platform;

template <class Record>
kern_return_t hand_out(const std::optional<Record>& record, host_info_t info,
                       mach_msg_type_number_t* count)
{
    constexpr mach_msg_type_number_t needed = sizeof(Record) / sizeof(integer_t);
    if (!record || *count < needed)
        return KERN_FAILURE;
    std::memcpy(info, &*record, sizeof(Record));
    *count = needed;
    return KERN_SUCCESS;
}

std::uint64_t page_size()
{
    return static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::optional<vm_statistics> read_memory_statistics()
{
    std::string meminfo;
    std::string vmstat;
    if (!read_text("/proc/meminfo", meminfo) || !read_text("/proc/vmstat", vmstat))
        return std::nullopt;
    return memory_statistics(meminfo, vmstat, page_size());
}

std::optional<host_cpu_load_info> read_processor_load()
{
    std::string stat;
    if (!read_text("/proc/stat", stat))
        return std::nullopt;
    return processor_load(stat);
}

} // namespace

// There is one host and one task here: their ports are names that stand for nothing else.

mach_port_t mach_host_self()
{
    return 1;
}

mach_port_t mach_task_self()
{
    return 1;
}

kern_return_t mach_port_deallocate(mach_port_t /*task*/, mach_port_t /*name*/)
{
    return KERN_SUCCESS;
}

kern_return_t host_page_size(mach_port_t /*host*/, vm_size_t* size)
{
    *size = page_size();
    return KERN_SUCCESS;
}

kern_return_t host_statistics(mach_port_t /*host*/, host_flavor_t flavor, host_info_t info,
                              mach_msg_type_number_t* count)
try
{
    switch (flavor)
    {
    case HOST_VM_INFO:
        return hand_out(read_memory_statistics(), info, count);
    case HOST_CPU_LOAD_INFO:
        return hand_out(read_processor_load(), info, count);
    default:
        return KERN_INVALID_ARGUMENT;
    }
}
catch (const std::exception&)
{
    return KERN_RESOURCE_SHORTAGE;
}
