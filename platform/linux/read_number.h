#pragma once

#include <charconv>
#include <string_view>

namespace mirovan::platform
{

/// Reads a text that is a number and nothing else.
template <class Number>
bool read_number(std::string_view text, Number& number)
{
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc{} && stop == end;
}

} // namespace mirovan::platform
