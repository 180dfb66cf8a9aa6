#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace mirovan::platform
{

/// The lowest limit on memory, in bytes, of the control groups (version 1 and 2) that this process
/// is in, and of the groups around them; empty if there is none. False, with errno set, if they
/// cannot be read.
///
/// @param root folder that holds /proc and /sys; empty for this machine's own
bool read_memory_limit(const std::string& root, std::optional<std::uint64_t>& bytes);

/// The same for the lowest quota of processor time, as a number of processors rounded up.
bool read_processor_quota(const std::string& root, std::optional<std::uint64_t>& processors);

} // namespace mirovan::platform
