#pragma once

#include <cstdint>

extern "C"
{

    struct mach_timebase_info_data_t
    {
        uint32_t numer;
        uint32_t denom;
    };

    int mach_timebase_info(mach_timebase_info_data_t* info);
    uint64_t mach_continuous_time();
}
