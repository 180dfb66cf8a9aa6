#pragma once

#include <mach/kern_return.h>
#include <mach/mach_host.h>
#include <mach/mach_types.h>
#include <mach/message.h>
#include <mach/thread_act.h>
