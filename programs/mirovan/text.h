/// Text for people and machines, without a terminal or the library: units, harmless names, bars,
/// graphs. Columns are those of a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace program
{

using nanoseconds = std::chrono::nanoseconds;

/// Whether the terminal understands UTF-8. Set once, from the locale; false in the C locale.
extern bool utf8_output;

/// A name as it can be shown anywhere: control characters, what changes the direction of text,
/// bytes that are not UTF-8, and backslashes as \xNN, \u{NN} or \\.
std::string harmless(std::string_view name);
/// Valid UTF-8, for JSON and metrics: other bytes become U+FFFD.
std::string valid_utf8(std::string_view text);

/// Columns that a harmless text takes. Escape sequences for colours take none.
std::size_t columns(std::string_view text);
/// A harmless text in at most so many columns; what is left out in the middle of it is an ellipsis.
std::string shortened(std::string_view text, std::size_t limit);
/// Spaces in front of (right) or behind (left) a text up to a number of columns.
std::string padded(std::string text, std::size_t to, bool right);

/// 999, 1.5K, 10G: at most four characters and a unit of 1,024s.
std::string human_bytes(std::uint64_t bytes);
/// 0.042 s, 12.3 s, 5:07, 3:20:11, 12 days 3:20.
std::string human_duration(nanoseconds time);
/// 0 %, 42 %, 3.1 % of a ratio.
std::string human_percent(double ratio);
/// Local time: 14:05 of today, else Nov 23 or, of another year, 2025.
std::string human_time(std::chrono::sys_time<nanoseconds> time, std::chrono::sys_seconds now);

/// A ratio from 0 to 1 as a bar of so many columns.
std::string bar(double ratio, std::size_t width);
/// The last values, each from 0 to the top, one column each.
std::string graph(std::span<const double> values, double top, std::size_t width);

/// 2s, 500ms, 1.5m, 2h, 1d, or a number of seconds. Throws std::invalid_argument.
std::chrono::milliseconds parse_duration(const std::string& text);
/// 100, 64K, 10M, 2G (1,024s). Throws std::invalid_argument.
std::uint64_t parse_bytes(const std::string& text);
/// 90% or 90, as a ratio. Throws std::invalid_argument.
double parse_percent(const std::string& text);

} // namespace program
