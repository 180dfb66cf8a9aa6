#include "platform/host.h"

#include "source/system/host_port.h"

#include <array>
#include <cstring>
#include <sys/attr.h>
#include <sys/sysctl.h>
#include <unistd.h>

namespace mirovan::platform
{
namespace
{

template <class Value>
std::optional<Value> system_value(const char* name)
{
    Value value{};
    std::size_t size = sizeof value;
    if (sysctlbyname(name, &value, &size, nullptr, 0) != 0)
        return std::nullopt;
    return value;
}

} // namespace

bool read_memory(Memory& memory)
{
    const HostPort host;
    vm_size_t page_size = 0;
    vm_statistics64_data_t pages{};
    mach_msg_type_number_t count = HOST_VM_INFO64_COUNT;
    kern_return_t result = host_page_size(host.get(), &page_size);
    if (result == KERN_SUCCESS)
        result = host_statistics64(host.get(), HOST_VM_INFO64,
                                   reinterpret_cast<host_info64_t>(&pages), &count);
    if (result != KERN_SUCCESS)
    {
        errno = errno_of(result);
        return false;
    }
    const auto bytes = [&](std::uint64_t number) { return number * page_size; };
    memory.total = system_value<std::uint64_t>("hw.memsize");
    if (!memory.total)
        return false;
    // Pages that were read ahead are counted as free here, and among those of files.
    const std::uint64_t free =
        pages.free_count - std::min(pages.speculative_count, pages.free_count);
    const std::uint64_t cached = std::uint64_t{pages.external_page_count} + pages.purgeable_count;
    memory.free = bytes(free);
    memory.cached = bytes(cached);
    memory.available = bytes(free + cached);
    memory.wired = bytes(pages.wire_count);
    memory.compressed = bytes(pages.compressor_page_count);
    if (const auto swap = system_value<xsw_usage>("vm.swapusage"))
    {
        memory.swap_total = swap->xsu_total;
        memory.swap_used = swap->xsu_used;
    }
    return true;
}

SystemName system_name()
{
    std::array<char, 64> version{};
    std::size_t size = version.size() - 1;
    if (sysctlbyname("kern.osproductversion", version.data(), &size, nullptr, 0) != 0)
        version.front() = '\0';
    return {"macOS", version.data()};
}

std::optional<std::uint32_t> usable_processors()
{
    // macOS has no affinity that excludes processors, and no quota.
    const auto online = system_value<std::int32_t>("hw.activecpu");
    if (!online)
        return std::nullopt;
    return static_cast<std::uint32_t>(*online);
}

VolumeDetails volume_details(const struct statfs& volume)
{
    VolumeDetails details;
    details.removable = (volume.f_flags & MNT_REMOVABLE) != 0;
    attrlist wanted{};
    wanted.bitmapcount = ATTR_BIT_MAP_COUNT;
    wanted.volattr = ATTR_VOL_INFO | ATTR_VOL_NAME;
    struct
    {
        std::uint32_t length;
        attrreference_t name;
        char text[1024];
    } answer{};
    if (getattrlist(volume.f_mntonname, &wanted, &answer, sizeof answer, 0) == 0)
    {
        const char* const text =
            reinterpret_cast<const char*>(&answer.name) + answer.name.attr_dataoffset;
        details.label.assign(text, strnlen(text, answer.name.attr_length));
    }
    return details;
}

} // namespace mirovan::platform
