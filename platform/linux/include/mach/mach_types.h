#pragma once

using integer_t = int;
using natural_t = unsigned int;
using boolean_t = int;
using mach_port_t = natural_t;
using mach_msg_type_number_t = natural_t;

/// On Linux a thread's port is its thread id.
using thread_act_t = mach_port_t;

constexpr mach_port_t MACH_PORT_NULL = 0;
