#include <CoreGraphics/CoreGraphics.h>

#include "platform/linux/display.h"

#include <algorithm>
#include <exception>

namespace
{

constexpr unsigned half_bits = 16;
constexpr unsigned half_mask = 0xFFFF;

} // namespace

// A display is queried once, by its identifier, which holds the result: there is
// no state, and width and height are of the same moment.

CGDirectDisplayID CGMainDisplayID()
try
{
    using namespace mirovan::platform;
    DisplaySize size = x_display();
    if (!size)
        size = drm_display("/sys");
    if (!size)
        size = framebuffer_display("/sys");
    return std::min(size.width, half_mask) << half_bits | std::min(size.height, half_mask);
}
catch (const std::exception&)
{
    return 0;
}

std::size_t CGDisplayPixelsWide(CGDirectDisplayID display)
{
    return display >> half_bits;
}

std::size_t CGDisplayPixelsHigh(CGDirectDisplayID display)
{
    return display & half_mask;
}
