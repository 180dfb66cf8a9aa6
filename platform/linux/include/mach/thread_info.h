#pragma once

/// The usage figure of a thread that keeps one processor busy.
constexpr int TH_USAGE_SCALE = 1000;
