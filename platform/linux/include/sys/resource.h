#pragma once

#include_next <sys/resource.h>

// The kernel's call of this name sets the priority of one thread.
extern "C" decltype(setpriority) setpriority __asm__("mirovan_linux_setpriority");
