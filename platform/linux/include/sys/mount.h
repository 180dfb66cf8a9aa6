#pragma once

#include_next <sys/mount.h>

#include <stdint.h>

#define MFSTYPENAMELEN 16

struct statfs
{
    uint32_t f_bsize;
    uint64_t f_blocks;
    uint64_t f_bavail;
    char f_fstypename[MFSTYPENAMELEN];
};

int statfs(const char* path, struct statfs* volume) __asm__("mirovan_linux_statfs");
