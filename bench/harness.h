#pragma once

#include <functional>

/// Measures two ways to do the same thing side by side, in turns, and prints the ratio of their
/// times beside its limit.
void compare(const char* name, double limit, const std::function<void()>& ours,
             const std::function<void()>& reference);
