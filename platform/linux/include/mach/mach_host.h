#pragma once

#include <mach/host_info.h>
#include <mach/kern_return.h>
#include <mach/mach_types.h>
#include <mach/processor_info.h>

extern "C"
{

    mach_port_t mach_host_self();
    mach_port_t mach_task_self();
    kern_return_t mach_port_deallocate(mach_port_t task, mach_port_t name);
    kern_return_t vm_deallocate(mach_port_t task, vm_address_t address, vm_size_t size);

    kern_return_t host_page_size(mach_port_t host, vm_size_t* page_size);
    kern_return_t host_statistics(mach_port_t host, host_flavor_t flavor, host_info_t info,
                                  mach_msg_type_number_t* count);
    kern_return_t host_processor_info(mach_port_t host, processor_flavor_t flavor,
                                      natural_t* processors, processor_info_array_t* info,
                                      mach_msg_type_number_t* count);
}
