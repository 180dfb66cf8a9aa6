#pragma once

using kern_return_t = int;

constexpr kern_return_t KERN_SUCCESS = 0;
constexpr kern_return_t KERN_INVALID_ARGUMENT = 4;
constexpr kern_return_t KERN_FAILURE = 5;
constexpr kern_return_t KERN_RESOURCE_SHORTAGE = 6;
constexpr kern_return_t KERN_TERMINATED = 37;
