#pragma once

#include <cstddef>

constexpr int CTL_KERN = 1;
constexpr int KERN_BOOTTIME = 21;

constexpr int CTL_HW = 6;
constexpr int HW_NCPU = 3;
constexpr int HW_MEMSIZE = 24;
constexpr int HW_AVAILCPU = 25;

// The C library may still have a call of this name, for the kernel's own tree of values.
extern "C" int sysctl(int* name, unsigned int namelen, void* oldp, std::size_t* oldlenp, void* newp,
                      std::size_t newlen) __asm__("mirovan_linux_sysctl");
