#pragma once

#include <sys/resource.h>
#include_next <sys/wait.h>

// The peak memory of a child is in bytes on macOS.
extern "C" pid_t wait4(pid_t process, int* status, int options, struct rusage* usage) noexcept(
    noexcept(wait4(process, status, options, usage))) __asm__("mirovan_linux_wait4");
