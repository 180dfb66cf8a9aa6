#pragma once

#include_next <sys/stat.h>

#ifndef STATX_TYPE
// The C library has neither the record nor the call.
#include <linux/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

inline int statx(int folder, const char* path, int flags, unsigned mask, struct statx* to)
{
    return static_cast<int>(syscall(SYS_statx, folder, path, flags, mask, to));
}
#endif

#define st_atimespec st_atim
#define st_mtimespec st_mtim
#define st_ctimespec st_ctim
