#pragma once

/// The usage of a thread that keeps one processor busy.
constexpr int TH_USAGE_SCALE = 1000;
