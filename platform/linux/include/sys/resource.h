#pragma once

#include_next <sys/resource.h>

// The kernel's call of this name sets the priority of one thread.
extern "C" int setpriority(__priority_which_t which, id_t who, int priority) noexcept
    __asm__("mirovan_linux_setpriority");
