#pragma once

#include <mach/kern_return.h>
#include <mach/thread_policy.h>

extern "C"
{

    kern_return_t thread_policy_set(thread_act_t thread, thread_policy_flavor_t flavor,
                                    thread_policy_t policy_info, mach_msg_type_number_t count);
    kern_return_t thread_policy_get(thread_act_t thread, thread_policy_flavor_t flavor,
                                    thread_policy_t policy_info, mach_msg_type_number_t* count,
                                    boolean_t* get_default);
}
