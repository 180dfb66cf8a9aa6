#pragma once

#include <mach/kern_return.h>

/// What a call on the port of a thread that has ended gives.
constexpr kern_return_t MACH_SEND_INVALID_DEST = 0x10000003;
