#pragma once

#include <mach/kern_return.h>
#include <mach/mach_types.h>
#include <mach/thread_act.h>
