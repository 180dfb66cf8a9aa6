#include <mach/mach_host.h>

#include "platform/linux/host_counters.h"
#include "platform/linux/read_text.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mach/error.h>
#include <unistd.h>

namespace
{

using namespace mirovan::platform;

std::uint64_t page_size()
{
    return static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

kern_return_t memory_statistics(host_info_t info, mach_msg_type_number_t* count)
{
    if (*count < HOST_VM_INFO_COUNT)
        return KERN_FAILURE; // GCOVR_EXCL_LINE: interface
    std::string meminfo;
    if (!read_one_piece("/proc/meminfo", meminfo))
        return unix_err(errno);
    const auto kibibytes = keyed_value(meminfo, "MemFree:");
    if (!kibibytes)
        return KERN_FAILURE;
    const vm_statistics statistics{static_cast<natural_t>(*kibibytes / (page_size() / 1024))};
    std::memcpy(info, &statistics, sizeof statistics);
    *count = HOST_VM_INFO_COUNT;
    return KERN_SUCCESS;
}

} // namespace

// There is one host and one task: their ports are constants.

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

kern_return_t vm_deallocate(mach_port_t /*task*/, vm_address_t address, vm_size_t /*size*/)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address is what the caller has of the block.
    std::free(reinterpret_cast<void*>(address));
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
    return flavor == HOST_VM_INFO ? memory_statistics(info, count) : KERN_INVALID_ARGUMENT;
}
catch (const std::exception&)
{
    return KERN_RESOURCE_SHORTAGE;
}

kern_return_t host_processor_info(mach_port_t /*host*/, processor_flavor_t flavor,
                                  natural_t* processors, processor_info_array_t* info,
                                  mach_msg_type_number_t* count)
try
{
    if (flavor != PROCESSOR_CPU_LOAD_INFO)
        return KERN_INVALID_ARGUMENT; // GCOVR_EXCL_LINE: interface
    std::string stat;
    if (!read_text("/proc/stat", stat))
        return unix_err(errno);
    const auto loads = processor_loads(stat);
    if (loads.empty())
        return KERN_FAILURE; // GCOVR_EXCL_LINE: interface
    const std::size_t size = loads.size() * sizeof loads.front();
    void* const copy = std::malloc(size);
    if (copy == nullptr)
        return KERN_RESOURCE_SHORTAGE;
    std::memcpy(copy, loads.data(), size);
    *info = static_cast<processor_info_array_t>(copy);
    *processors = static_cast<natural_t>(loads.size());
    *count = static_cast<mach_msg_type_number_t>(size / sizeof(integer_t));
    return KERN_SUCCESS;
}
catch (const std::exception&)
{
    return KERN_RESOURCE_SHORTAGE;
}
