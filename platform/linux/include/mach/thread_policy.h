#pragma once

#include <mach/mach_types.h>

using thread_policy_flavor_t = natural_t;
using thread_policy_t = integer_t*;

constexpr thread_policy_flavor_t THREAD_AFFINITY_POLICY = 4;
constexpr integer_t THREAD_AFFINITY_TAG_NULL = 0;

struct thread_affinity_policy
{
    integer_t affinity_tag;
};
using thread_affinity_policy_data_t = thread_affinity_policy;

constexpr mach_msg_type_number_t THREAD_AFFINITY_POLICY_COUNT = 1;
