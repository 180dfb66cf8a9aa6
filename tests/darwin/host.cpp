// What Darwin reports of the host and of its volumes, in Darwin's records. The values come from the
// layer for Linux.
#include "darwin.h"

#include "platform/linux/host_counters.h"
#include "platform/linux/read_text.h"

#include <algorithm>
#include <mach/error.h>
#include <mach/mach.h>
#include <string_view>
#include <sys/mount.h>
#include <sys/sysctl.h>
#include <vector>

using namespace darwin;

namespace
{

template <std::size_t Size, std::size_t From>
void copy_text(char (&to)[Size], const char (&from)[From])
{
    static_assert(Size >= From);
    std::memcpy(to, from, From);
}

/// A result that stands for an errno has Darwin's.
kern_return_t darwin_result(kern_return_t result)
{
    return (result & ~code_emask) == unix_err(0) ? unix_err(darwin_error(result & code_emask))
                                                 : result;
}

int give(const void* value, std::size_t value_size, void* to, std::size_t* size)
{
    if (*size < value_size)
        return fails(ENOMEM, -1);
    std::memcpy(to, value, value_size);
    *size = value_size;
    return 0;
}

} // namespace

/// The counters of Darwin have 32 bits.
DARWIN_CALL kern_return_t darwin_host_processor_info(mach_port_t host, processor_flavor_t flavour,
                                                     natural_t* processors,
                                                     processor_info_array_t* info,
                                                     mach_msg_type_number_t* count)
{
    const Call call;
    const kern_return_t result = host_processor_info(host, flavour, processors, info, count);
    if (result != KERN_SUCCESS)
        return darwin_result(result);
    const auto* const loads = reinterpret_cast<const processor_cpu_load_info*>(*info);
    std::vector<natural_t> ticks;
    for (natural_t i = 0; i < *processors; ++i)
        for (const uint64_t state : loads[i].cpu_ticks)
            ticks.push_back(static_cast<natural_t>(state));
    std::memcpy(*info, ticks.data(), ticks.size() * sizeof ticks[0]);
    *count = static_cast<mach_msg_type_number_t>(ticks.size());
    return KERN_SUCCESS;
}

DARWIN_CALL kern_return_t darwin_vm_deallocate(mach_port_t task, vm_address_t address,
                                               vm_size_t size)
{
    return vm_deallocate(task, address, size);
}

/// Some pages are those that were read ahead, which count as free and as a file's; some of the
/// files' can be purged.
DARWIN_CALL kern_return_t darwin_host_statistics64(mach_port_t /*host*/, host_flavor_t flavour,
                                                   host_info_t info, mach_msg_type_number_t* count)
{
    const Call call;
    if (flavour != darwin_HOST_VM_INFO64)
        unknown("host flavour", flavour);
    std::string text;
    if (!mirovan::platform::read_one_piece("/proc/meminfo", text))
        return unix_err(darwin_error(errno));
    const mirovan::platform::Memory memory = mirovan::platform::memory_counters(text);
    const auto pages = [](const std::optional<uint64_t>& bytes)
    { return static_cast<uint32_t>(bytes.value_or(0) / 4096); };
    constexpr uint32_t ahead = 64;
    const uint32_t purgeable = std::min(pages(memory.cached), 16U);
    const darwin_vm_statistics64 record{.free_count = pages(memory.free) + ahead,
                                        .wire_count = pages(memory.wired),
                                        .purgeable_count = purgeable,
                                        .speculative_count = ahead,
                                        .compressor_page_count = pages(memory.compressed),
                                        .external_page_count = pages(memory.cached) - purgeable};
    if (*count < sizeof record / sizeof(integer_t))
        return KERN_FAILURE;
    std::memcpy(info, &record, sizeof record);
    return KERN_SUCCESS;
}

DARWIN_CALL int darwin_sysctlbyname(const char* name, void* to, std::size_t* size, void* /*set*/,
                                    std::size_t /*set_size*/)
{
    const Call call;
    const std::string_view wanted = name;
    int path[] = {CTL_HW, wanted == "hw.memsize" ? HW_MEMSIZE : HW_AVAILCPU};
    if (wanted == "hw.memsize" || wanted == "hw.activecpu")
        return sysctl(path, 2, to, size, nullptr, 0);
    if (wanted == "kern.osproductversion")
        return give("13.6.1", sizeof "13.6.1", to, size);
    if (wanted != "vm.swapusage")
        unknown(name, 0);
    std::string text;
    if (!mirovan::platform::read_one_piece("/proc/meminfo", text))
        return -1;
    const mirovan::platform::Memory memory = mirovan::platform::memory_counters(text);
    const darwin_xsw_usage usage{.xsu_total = memory.swap_total.value_or(0),
                                 .xsu_used = memory.swap_used.value_or(0)};
    return give(&usage, sizeof usage, to, size);
}

DARWIN_CALL int darwin_getfsstat(struct darwin_statfs* to, int size, int flags)
{
    const Call call;
    if (to == nullptr)
        return getfsstat(nullptr, 0, flags);
    std::vector<struct statfs> found(static_cast<std::size_t>(size) / sizeof *to);
    const int count =
        getfsstat(found.data(), static_cast<int>(found.size() * sizeof found[0]), flags);
    for (int i = 0; i < count; ++i)
    {
        const struct statfs& volume = found[static_cast<std::size_t>(i)];
        to[i] = {.f_bsize = volume.f_bsize,
                 .f_blocks = volume.f_blocks,
                 .f_bfree = volume.f_bfree,
                 .f_bavail = volume.f_bavail,
                 .f_flags = volume.f_flags};
        copy_text(to[i].f_fstypename, volume.f_fstypename);
        copy_text(to[i].f_mntonname, volume.f_mntonname);
        copy_text(to[i].f_mntfromname, volume.f_mntfromname);
    }
    return count;
}

/// The name of a volume is the only attribute that is asked for: length of all, place of the text
/// behind its own record, length of the text.
DARWIN_CALL int darwin_getattrlist(const char* /*path*/, void* /*wanted*/, void* to,
                                   std::size_t size, unsigned /*options*/)
{
    const Call call;
    struct
    {
        uint32_t length;
        int32_t offset;
        uint32_t text_length;
        char text[8];
    } const answer{sizeof answer, 8, 5, "Disk"};
    if (size < sizeof answer)
        return fails(ERANGE, -1);
    std::memcpy(to, &answer, sizeof answer);
    return 0;
}
