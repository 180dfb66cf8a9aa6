/* The part of CoreGraphics that the library uses; the compiler package has none of it. */
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C"
{
#endif

    typedef uint32_t CGDirectDisplayID;

    CGDirectDisplayID CGMainDisplayID(void);
    size_t CGDisplayPixelsWide(CGDirectDisplayID display);
    size_t CGDisplayPixelsHigh(CGDirectDisplayID display);

#ifdef __cplusplus
}
#endif
