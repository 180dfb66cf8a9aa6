#include "base/time.h"

#include <mach/mach_time.h>

std::uint64_t Fundix_Time_GetTickCount()
{
    mach_timebase_info_data_t scale{};
    mach_timebase_info(&scale);
    constexpr std::uint64_t nanoseconds_per_millisecond = 1'000'000;
    // Whole parts first: ticks times the numerator overflows after some years of uptime otherwise.
    const std::uint64_t ticks = mach_continuous_time();
    const std::uint64_t nanoseconds =
        ticks / scale.denom * scale.numer + ticks % scale.denom * scale.numer / scale.denom;
    return nanoseconds / nanoseconds_per_millisecond;
}
