#pragma once

#include <functional>

/// Measures two ways to the same end side by side and prints the ratio of their times; remembers a
/// ratio above the limit for the exit status.
void compare(const char* name, double limit, const std::function<void()>& ours,
             const std::function<void()>& reference);

/// The exit status of a driver: whether a limit was exceeded.
int bench_status();
