#include "platform/linux/commands/text.h"

#include <algorithm>
#include <charconv>

namespace mirovan::commands
{
namespace
{

constexpr std::string_view digits = "0123456789abcdef";

bool is_hexadecimal(char character)
{
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f') ||
           (character >= 'A' && character <= 'F');
}

} // namespace

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blank{" \t\r\n\0", 5};
    const std::size_t first = text.find_first_not_of(blank);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blank) - first + 1);
}

std::string_view before(std::string_view text, char separator)
{
    return text.substr(0, text.find(separator));
}

std::optional<std::uint64_t> leading_number(std::string_view& text)
{
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{})
        return std::nullopt;
    const auto length = static_cast<std::size_t>(stop - text.data());
    text.remove_prefix(std::min(length + 1, text.size()));
    return number;
}

std::string hexadecimal(std::string_view bytes)
{
    std::string text;
    for (const char byte : bytes)
    {
        const auto value = static_cast<unsigned char>(byte);
        text.push_back(digits[value >> 4U]);
        text.push_back(digits[value & 0xFU]);
    }
    return text;
}

std::string capitals_if_hexadecimal(std::string_view text)
{
    std::string capitals{text};
    for (char& character : capitals)
    {
        if (!is_hexadecimal(character) && character != '-')
            return std::string{text};
        if (character >= 'a')
            character = static_cast<char>(character - 'a' + 'A');
    }
    return capitals;
}

std::string uuid_text(std::string_view text)
{
    std::string plain = capitals_if_hexadecimal(text);
    plain.erase(std::remove(plain.begin(), plain.end(), '-'), plain.end());
    constexpr std::string_view counted_up = "03000200040005000006000700080009";
    if (plain.size() != counted_up.size() || plain == counted_up ||
        !std::all_of(plain.begin(), plain.end(), is_hexadecimal) ||
        plain.find_first_not_of('0') == std::string::npos ||
        plain.find_first_not_of('F') == std::string::npos)
        return {};
    for (const std::size_t at : {8U, 13U, 18U, 23U})
        plain.insert(at, 1, '-');
    return plain;
}

std::string on_one_line(std::string_view text)
{
    std::string line;
    for (const char character : text)
    {
        const auto value = static_cast<unsigned char>(character);
        constexpr unsigned char first_printable = 0x20;
        constexpr unsigned char erase = 0x7F;
        if (value < first_printable || value == erase)
            line += "\\x" + hexadecimal({&character, 1});
        else
            line.push_back(character);
    }
    return line;
}

std::string decimal(std::uint64_t scaled, int decimals)
{
    std::string text = std::to_string(scaled);
    const auto places = static_cast<std::size_t>(decimals);
    if (text.size() <= places)
        text.insert(0, places + 1 - text.size(), '0'); // GCOVR_EXCL_LINE: guard
    text.insert(text.size() - places, 1, '.');
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.')
        text.pop_back();
    return text;
}

std::string grouped(std::uint64_t number)
{
    std::string text = std::to_string(number);
    constexpr std::size_t group = 3;
    for (std::size_t at = text.size(); at > group;)
        text.insert(at -= group, 1, ',');
    return text;
}

} // namespace mirovan::commands
