#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/mount.h>

/// What macOS and Linux each answer in terms of their own, where no call of one means what the
/// other needs. A value that the system does not report is empty.
namespace mirovan::platform
{

/// In bytes.
struct Memory
{
    std::optional<std::uint64_t> total;
    std::optional<std::uint64_t> available;
    std::optional<std::uint64_t> free;
    std::optional<std::uint64_t> wired;
    std::optional<std::uint64_t> compressed;
    std::optional<std::uint64_t> cached;
    std::optional<std::uint64_t> swap_total;
    std::optional<std::uint64_t> swap_used;
    std::optional<std::uint64_t> process_limit;
};

/// False, with errno set, if the state of the physical memory cannot be read.
bool read_memory(Memory& memory);

struct SystemName
{
    std::string name;
    std::string version;
};

/// The operating system as people call it.
SystemName system_name();

/// The processors that the affinity and the quota of this process let it use.
std::optional<std::uint32_t> usable_processors();

struct VolumeDetails
{
    std::string label;
    std::optional<bool> removable;
};

/// What statfs() does not report. It reads the volume, so it is for local ones only.
VolumeDetails volume_details(const struct statfs& volume);

} // namespace mirovan::platform
