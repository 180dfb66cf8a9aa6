#include "platform/host.h"

#include "base/descriptor.h"
#include "platform/linux/cgroup.h"
#include "platform/linux/host_counters.h"
#include "platform/linux/mount_table.h"
#include "platform/linux/os_release.h"
#include "platform/linux/read_text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <vector>

namespace mirovan::platform
{
namespace
{

/// How many processors the affinity of this process names; 0, with errno set, on failure.
std::uint32_t affinity_count()
{
    constexpr std::size_t first_size = 1024 / 8;
    constexpr std::size_t most = std::size_t{1} << 17U;
    // The kernel rejects a set that is smaller than its own.
    for (std::size_t size = first_size; size <= most; size *= 2)
    {
        std::vector<unsigned long> set(size / sizeof(unsigned long));
        if (sched_getaffinity(getpid(), size, reinterpret_cast<cpu_set_t*>(set.data())) == 0)
        {
            std::uint32_t count = 0;
            for (unsigned long part : set)
                for (; part != 0; part &= part - 1)
                    ++count;
            return count;
        }
        if (errno != EINVAL)
            break;
    }
    return 0;
}

struct CloseFolder
{
    void operator()(DIR* folder) const { closedir(folder); }
};

// Of the kernel's headers, which do not go with those of the C library.
constexpr std::size_t label_capacity = 256;
constexpr unsigned long get_label = _IOR(0x94, 49, char[label_capacity]);

/// The label that udev has found on a device.
std::string label_by_device(dev_t device)
{
    const std::string folder = "/dev/disk/by-label/";
    const std::unique_ptr<DIR, CloseFolder> labels{opendir(folder.c_str())};
    while (const dirent* entry = labels ? readdir(labels.get()) : nullptr)
    {
        struct stat status = {};
        if (stat((folder + entry->d_name).c_str(), &status) == 0 && S_ISBLK(status.st_mode) &&
            status.st_rdev == device)
            return unescape_hexadecimal(entry->d_name); // GCOVR_EXCL_LINE: machine
    }
    return "";
}

std::optional<bool> is_removable(dev_t device)
{
    const std::string folder =
        "/sys/dev/block/" + std::to_string(major(device)) + ":" + std::to_string(minor(device));
    std::string text;
    // A partition is as removable as its disk.
    if (!read_text((folder + "/removable").c_str(), text) &&
        !read_text((folder + "/../removable").c_str(), text))
        return std::nullopt;
    return text.starts_with('1');
}

} // namespace

bool read_memory(Memory& memory)
{
    std::string meminfo;
    if (!read_one_piece("/proc/meminfo", meminfo))
        return false;
    memory = memory_counters(meminfo);
    if (!memory.total || !memory.free)
    {
        errno = EIO;
        return false;
    }
    if (!read_memory_limit("", memory.process_limit))
        memory.process_limit.reset();
    return true;
}

SystemName system_name()
{
    std::string text;
    if (!read_text("/etc/os-release", text) && !read_text("/usr/lib/os-release", text))
        return {};
    std::string version = os_release_value(text, "VERSION_ID");
    if (version.empty())
        version = os_release_value(text, "VERSION");
    return {os_release_value(text, "NAME"), std::move(version)};
}

std::optional<std::uint32_t> usable_processors()
{
    const std::uint32_t count = affinity_count();
    std::optional<std::uint64_t> quota;
    if (count == 0 || !read_processor_quota("", quota))
        return std::nullopt;
    return static_cast<std::uint32_t>(
        std::max<std::uint64_t>(std::min<std::uint64_t>(count, quota.value_or(count)), 1));
}

VolumeDetails volume_details(const struct statfs& volume)
{
    const dev_t device = makedev(static_cast<unsigned>(volume.f_fsid.val[0]),
                                 static_cast<unsigned>(volume.f_fsid.val[1]));
    VolumeDetails details;
    details.removable = is_removable(device);
    const Descriptor folder = open_file(volume.f_mntonname, O_RDONLY | O_NONBLOCK);
    char label[label_capacity] = "";
    if (folder && ioctl(folder.get(), get_label, label) == 0)
        details.label.assign(label, strnlen(label, sizeof label));
    else
        details.label = label_by_device(device);
    return details;
}

} // namespace mirovan::platform
