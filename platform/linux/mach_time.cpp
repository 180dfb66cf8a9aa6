#include <mach/mach_time.h>

#include <mach/kern_return.h>

#include <ctime>

int mach_timebase_info(mach_timebase_info_data_t* info)
{
    *info = {1, 1};
    return KERN_SUCCESS;
}

uint64_t mach_continuous_time()
{
    timespec since_boot{};
    clock_gettime(CLOCK_BOOTTIME, &since_boot);
    constexpr uint64_t nanoseconds_per_second = 1'000'000'000;
    return static_cast<uint64_t>(since_boot.tv_sec) * nanoseconds_per_second +
           static_cast<uint64_t>(since_boot.tv_nsec);
}
