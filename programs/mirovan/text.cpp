#include "text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <cwchar>
#include <optional>
#include <stdexcept>

namespace program
{

bool utf8_output = false;

namespace
{

/// Takes the first character off a text; nothing for a byte that does not begin one.
std::optional<char32_t> take_character(std::string_view& text)
{
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned first = byte(0);
    const std::size_t size = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
    char32_t value = size == 1 ? first : first & (0x7FU >> size);
    bool is_valid = (first < 0x80 || first >= 0xC2) && first < 0xF5 && size <= text.size();
    for (std::size_t at = 1; is_valid && at < size; ++at)
    {
        is_valid = (byte(at) & 0xC0U) == 0x80;
        value = value << 6U | (byte(at) & 0x3FU);
    }
    is_valid = is_valid && value >= smallest.at(size) && value <= 0x10FFFF &&
               (value < 0xD800 || value > 0xDFFF);
    text.remove_prefix(is_valid ? size : 1);
    return is_valid ? std::optional{value} : std::nullopt;
}

/// Characters that a terminal obeys, or that make text look like another.
bool is_harmful(char32_t value)
{
    return value < 0x20 || (value >= 0x7F && value < 0xA0) || value == 0xAD || value == 0x61C ||
           (value >= 0x200B && value <= 0x200F) || (value >= 0x2028 && value <= 0x202E) ||
           (value >= 0x2060 && value <= 0x206F) || value == 0xFEFF ||
           (value >= 0xFFF9 && value <= 0xFFFB) || (value >= 0xE0000 && value <= 0xE007F);
}

template <class... Arguments>
std::string format(const char* pattern, Arguments... arguments)
{
    std::array<char, 80> buffer{};
    std::snprintf(buffer.data(), buffer.size(), pattern, arguments...);
    return buffer.data();
}

/// Takes a colour sequence off a text, if it begins with one.
std::size_t colour_size(std::string_view text)
{
    return text.starts_with("\033[") ? text.find('m') + 1 : 0;
}

std::size_t character_columns(std::optional<char32_t> character)
{
    const int width = character ? wcwidth(static_cast<wchar_t>(*character)) : 1;
    return width < 0 ? 1 : static_cast<std::size_t>(width);
}

/// The number that a text begins with, and what follows it.
std::pair<double, std::string> number_and_unit(const std::string& text)
{
    double value = 0;
    std::size_t at = 0;
    double place = 1;
    bool has_digit = false;
    bool is_fraction = false;
    for (; at < text.size(); ++at)
    {
        if (text[at] == '.' && !is_fraction)
            is_fraction = true;
        else if (text[at] >= '0' && text[at] <= '9')
        {
            has_digit = true;
            place /= is_fraction ? 10 : 1;
            value = is_fraction ? value + place * (text[at] - '0') : value * 10 + (text[at] - '0');
        }
        else
            break;
    }
    if (!has_digit)
        throw std::invalid_argument("'" + harmless(text) + "' is not a number");
    return {value, text.substr(at)};
}

struct Unit
{
    std::string_view name;
    double factor;
};

double with_unit(const std::string& text, std::span<const Unit> units, double most)
{
    const auto [value, name] = number_and_unit(text);
    for (const Unit& unit : units)
        if (unit.name == name)
        {
            if (value * unit.factor > most)
                throw std::invalid_argument("'" + harmless(text) + "' is too large");
            return value * unit.factor;
        }
    throw std::invalid_argument("'" + harmless(text) + "' has an unknown unit");
}

} // namespace

std::string harmless(std::string_view name)
{
    std::string shown;
    while (!name.empty())
    {
        const std::string_view rest = name;
        const std::optional<char32_t> character = take_character(name);
        const std::string_view bytes = rest.substr(0, rest.size() - name.size());
        if (character == U'\\')
            shown += "\\\\";
        else if (character == U'\n')
            shown += "\\n";
        else if (character == U'\t')
            shown += "\\t";
        else if (character && *character >= 0x80 && utf8_output && is_harmful(*character))
            shown += format("\\u{%x}", static_cast<unsigned>(*character));
        else if (!character || is_harmful(*character) || (*character >= 0x80 && !utf8_output))
            for (const char byte : bytes)
                shown += format("\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        else
            shown += bytes;
    }
    return shown;
}

std::string valid_utf8(std::string_view text)
{
    std::string valid;
    while (!text.empty())
    {
        const std::string_view rest = text;
        const bool is_valid = take_character(text).has_value();
        valid += is_valid ? rest.substr(0, rest.size() - text.size()) : "\xEF\xBF\xBD";
    }
    return valid;
}

std::size_t columns(std::string_view text)
{
    std::size_t sum = 0;
    while (!text.empty())
        if (const std::size_t skipped = colour_size(text); skipped != 0)
            text.remove_prefix(skipped);
        else
            sum += character_columns(take_character(text));
    return sum;
}

std::string shortened(std::string_view text, std::size_t limit)
{
    const std::size_t all = columns(text);
    if (all <= limit)
        return std::string{text};
    const std::string_view mark = utf8_output ? "…" : "~";
    if (limit == 0)
        return {};
    // The end of a path or a name tells more than its middle.
    const std::size_t front = (limit - 1) * 2 / 3;
    const std::size_t back = limit - 1 - front;
    std::string result;
    std::size_t at = 0;
    while (!text.empty())
    {
        const std::string_view rest = text;
        const std::size_t wide = character_columns(take_character(text));
        if (at + wide <= front || at >= all - back)
            result += rest.substr(0, rest.size() - text.size());
        else if (result.find(mark) == std::string::npos)
            result += mark;
        at += wide;
    }
    return result;
}

std::string padded(std::string text, std::size_t to, bool right)
{
    const std::size_t wide = columns(text);
    if (wide < to)
        text.insert(right ? 0 : text.size(), to - wide, ' ');
    return text;
}

std::string human_bytes(std::uint64_t bytes)
{
    constexpr std::string_view units = "KMGTPE";
    if (bytes < 1000)
        return std::to_string(bytes);
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (value /= 1024; value >= 999.5; value /= 1024)
        ++unit;
    return format(value < 9.95 ? "%.1f%c" : "%.0f%c", value, units[unit]);
}

std::string human_duration(nanoseconds time)
{
    const double seconds = std::chrono::duration<double>(time).count();
    if (seconds < 60)
        return format(seconds < 1 ? "%.3f s" : "%.1f s", seconds);
    const auto whole = static_cast<long long>(seconds);
    const long long minutes = whole / 60 % 60;
    if (whole < 3600)
        return format("%lld:%02lld", minutes, whole % 60);
    const long long hours = whole / 3600 % 24;
    const long long days = whole / 86400;
    if (days == 0)
        return format("%lld:%02lld:%02lld", hours, minutes, whole % 60);
    return format(days == 1 ? "%lld day %lld:%02lld" : "%lld days %lld:%02lld", days, hours,
                  minutes);
}

std::string human_percent(double ratio)
{
    const double percent = ratio * 100;
    return format(percent < 9.95 && percent >= 0.05 ? "%.1f %%" : "%.0f %%", percent);
}

std::string human_time(std::chrono::sys_time<nanoseconds> time, std::chrono::sys_seconds now)
{
    const auto local = [](auto moment)
    {
        const std::time_t seconds =
            std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count();
        std::tm fields{};
        localtime_r(&seconds, &fields);
        return fields;
    };
    const std::tm then = local(time);
    const std::tm today = local(now);
    const char* pattern = then.tm_year != today.tm_year   ? "%Y"
                          : then.tm_yday != today.tm_yday ? "%b %d"
                                                          : "%H:%M";
    std::array<char, 40> text{};
    (void)std::strftime(text.data(), text.size(), pattern, &then);
    return text.data();
}

std::string bar(double ratio, std::size_t width)
{
    const double filled = std::clamp(ratio, 0.0, 1.0) * static_cast<double>(width);
    std::string result;
    if (!utf8_output)
    {
        const auto marks = static_cast<std::size_t>(std::lround(filled));
        return std::string(marks, '#') + std::string(width - marks, '.');
    }
    constexpr std::array parts = {" ", "▏", "▎", "▍", "▌", "▋", "▊", "▉", "█"};
    for (std::size_t at = 0; at < width; ++at)
    {
        const double part = std::clamp(filled - static_cast<double>(at), 0.0, 1.0);
        result += parts.at(static_cast<std::size_t>(std::lround(part * 8)));
    }
    return result;
}

std::string graph(std::span<const double> values, double top, std::size_t width)
{
    constexpr std::array blocks = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    constexpr std::array marks = {"_", ".", ",", "-", "=", "+", "*", "#"};
    std::string result;
    for (const double value : values.last(std::min(width, values.size())))
    {
        const double ratio = top > 0 ? std::clamp(value / top, 0.0, 1.0) : 0;
        const auto at = static_cast<std::size_t>(std::lround(ratio * 7));
        result += (utf8_output ? blocks : marks).at(at);
    }
    return result;
}

std::chrono::milliseconds parse_duration(const std::string& text)
{
    constexpr Unit units[] = {{"", 1e3},   {"s", 1e3},    {"ms", 1},
                              {"m", 60e3}, {"h", 3600e3}, {"d", 86400e3}};
    // Not 0 for what is more than 0: that stands for no limit.
    const double value = with_unit(text, units, 1e15);
    return std::chrono::milliseconds{value > 0 ? std::max(std::llround(value), 1LL) : 0};
}

std::uint64_t parse_bytes(const std::string& text)
{
    constexpr double kilo = 1024;
    constexpr Unit units[] = {{"", 1},
                              {"K", kilo},
                              {"M", kilo * kilo},
                              {"G", kilo * kilo * kilo},
                              {"T", kilo * kilo * kilo * kilo}};
    return static_cast<std::uint64_t>(with_unit(text, units, 1e18));
}

double parse_percent(const std::string& text)
{
    constexpr Unit units[] = {{"", 0.01}, {"%", 0.01}};
    return with_unit(text, units, 1.0000001);
}

} // namespace program
