#pragma once

constexpr int RB_AUTOBOOT = 0;
constexpr int RB_HALT = 8;

// The C library's call of this name takes values of the kernel's own.
extern "C" int reboot(int howto) __asm__("mirovan_linux_reboot");
