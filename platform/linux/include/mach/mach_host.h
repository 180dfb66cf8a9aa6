#pragma once

#include <mach/host_info.h>
#include <mach/kern_return.h>
#include <mach/mach_types.h>

extern "C"
{

    mach_port_t mach_host_self();
    mach_port_t mach_task_self();
    kern_return_t mach_port_deallocate(mach_port_t task, mach_port_t name);

    kern_return_t host_page_size(mach_port_t host, vm_size_t* page_size);
    kern_return_t host_statistics(mach_port_t host, host_flavor_t flavor, host_info_t info,
                                  mach_msg_type_number_t* count);
}
