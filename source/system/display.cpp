#include "source/operation.h"

#include <CoreGraphics/CoreGraphics.h>

namespace
{

using namespace mirovan;

bool get_size(int* width, int* height)
{
    if (width == nullptr || height == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    // 0 means no display: there is no window server.
    const CGDirectDisplayID display = CGMainDisplayID();
    *width = display == 0 ? 0 : static_cast<int>(CGDisplayPixelsWide(display));
    *height = display == 0 ? 0 : static_cast<int>(CGDisplayPixelsHigh(display));
    return true;
}

} // namespace

bool CMirovan_System::Mirovan_System_GetScreen(int* pnWidth, int* pnHeight)
{
    return operation<ERROR_MIROVAN_SYSTEM_QUERY_FAILED>(get_size, pnWidth, pnHeight);
}
