#pragma once

#include <cstdint>

/// Milliseconds since the system started, the time it slept included.
std::uint64_t Fundix_Time_GetTickCount();
