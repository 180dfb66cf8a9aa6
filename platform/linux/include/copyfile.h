#pragma once

#include <cstdint>

using copyfile_state_t = struct _copyfile_state*;
using copyfile_flags_t = std::uint32_t;

constexpr copyfile_flags_t COPYFILE_DATA = 1U << 3U;

extern "C"
{

    /// Copies the data of one open file to another, both from where they stand, with no state.
    int fcopyfile(int from_fd, int to_fd, copyfile_state_t state, copyfile_flags_t flags);
}
