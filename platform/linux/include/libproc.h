#pragma once

#include <cstdint>
#include <sys/proc_info.h>

extern "C"
{

    int proc_pidinfo(int pid, int flavor, uint64_t arg, void* buffer, int buffersize);
    int proc_listallpids(void* buffer, int buffersize);
    int proc_pidpath(int pid, void* buffer, uint32_t buffersize);
}
