#pragma once

#include <cstdint>
#include <mach/processor_info.h>
#include <optional>
#include <span>

namespace mirovan
{

/// The ticks of several processors together, in 64 bits: those of one processor have 32 on macOS,
/// and their sum soon exceeds that.
struct ProcessorTicks
{
    std::uint64_t user = 0;
    std::uint64_t nice = 0;
    std::uint64_t system = 0;
    std::uint64_t idle = 0;
};
ProcessorTicks sum_of(std::span<const processor_cpu_load_info> loads);

/// The idle part of all ticks in whole percent, rounded down; 0 if there are no ticks.
unsigned long idle_percent(const ProcessorTicks& ticks);

/// The number of processors: HW_NCPU all, HW_AVAILCPU those online. None, with errno set, if it
/// cannot be read.
std::optional<std::int32_t> processor_count(int which);

} // namespace mirovan
