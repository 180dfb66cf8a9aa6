#pragma once

#include <cstddef>
#include <cstdint>

using CGDirectDisplayID = uint32_t;

extern "C"
{

    CGDirectDisplayID CGMainDisplayID();
    std::size_t CGDisplayPixelsWide(CGDirectDisplayID display);
    std::size_t CGDisplayPixelsHigh(CGDirectDisplayID display);
}
