#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Small changes of form that the facts of a machine need.
namespace mirovan::commands
{

/// Without the spaces, newlines and null characters at both ends.
std::string_view trimmed(std::string_view text);

/// The text before the first separator; all of it when there is none.
std::string_view before(std::string_view text, char separator);

/// Takes a decimal number and the one character behind it off a text.
std::optional<std::uint64_t> leading_number(std::string_view& text);

/// Bytes as hexadecimal digits in lower case.
std::string hexadecimal(std::string_view bytes);

/// Hexadecimal digits, and hyphens, in capitals; any other text as it is.
std::string capitals_if_hexadecimal(std::string_view text);

/// 32 hexadecimal digits, with hyphens or without, as a UUID in capitals; empty for anything else
/// and for the values that firmware gives when it has none.
std::string uuid_text(std::string_view text);

/// A text that is sure to stay on its line: control characters are written as \x0a.
std::string on_one_line(std::string_view text);

/// Whole digits and at most so many behind the point, without zeros at the end. The point is one in
/// every locale.
///
/// @param scaled the number times ten to the power of `decimals`
std::string decimal(std::uint64_t scaled, int decimals);

/// Digits in groups of three.
std::string grouped(std::uint64_t number);

} // namespace mirovan::commands
