#pragma once

#include_next <pthread.h>

#include <mach/mach_types.h>

/// MACH_PORT_NULL for a handle that is found not to be a live thread of this process.
extern "C" mach_port_t pthread_mach_thread_np(pthread_t handle);
