#pragma once

#include_next <sys/mount.h>

#include <stdint.h>

#define MFSTYPENAMELEN 16
#define MAXPATHLEN 1024

#define MNT_RDONLY 0x00000001
#define MNT_LOCAL 0x00001000
#define MNT_ROOTFS 0x00004000
#define MNT_DONTBROWSE 0x00100000

#define MNT_NOWAIT 2

struct statfs
{
    uint32_t f_bsize;
    uint64_t f_blocks;
    uint64_t f_bfree;
    uint64_t f_bavail;
    struct
    {
        int32_t val[2]; // the numbers of the device, major and minor
    } f_fsid;
    uint32_t f_flags;
    char f_fstypename[MFSTYPENAMELEN];
    char f_mntonname[MAXPATHLEN];
    char f_mntfromname[MAXPATHLEN];
};

int statfs(const char* path, struct statfs* volume) __asm__("mirovan_linux_statfs");
int getfsstat(struct statfs* volumes, int size, int flags) __asm__("mirovan_linux_getfsstat");
