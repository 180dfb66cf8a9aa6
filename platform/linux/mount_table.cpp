#include "platform/linux/mount_table.h"

#include "platform/linux/read_number.h"

namespace mirovan::platform
{
namespace
{

bool is_octal(std::string_view digits)
{
    return digits.size() == 3 && digits.find_first_not_of("01234567") == std::string_view::npos &&
           digits.front() <= '3';
}

} // namespace

std::string_view next_field(std::string_view& text, char separator)
{
    const std::size_t length = text.find(separator);
    const std::string_view field = text.substr(0, length);
    text.remove_prefix(length == std::string_view::npos ? text.size() : length + 1);
    return field;
}

std::optional<std::string_view> next_line(std::string_view& text)
{
    if (text.empty())
        return std::nullopt;
    return next_field(text, '\n');
}

std::optional<MountLine> parse_mount_line(std::string_view line)
{
    MountLine mount{};
    const bool numbers = read_number(next_field(line), mount.id) &&
                         read_number(next_field(line), mount.parent) &&
                         read_number(next_field(line, ':'), mount.device.major) &&
                         read_number(next_field(line), mount.device.minor);
    mount.root = next_field(line);
    mount.point = next_field(line);
    mount.options = next_field(line);
    // Any number of further fields precedes a hyphen.
    bool separated = false;
    while (!separated && !line.empty())
        separated = next_field(line) == "-";
    mount.type = next_field(line);
    mount.source = next_field(line);
    mount.volume_options = next_field(line);
    if (!numbers || mount.point.empty() || mount.type.empty())
        return std::nullopt;
    return mount;
}

std::string unescape_octal(std::string_view text)
{
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        const std::string_view digits = text.substr(at + 1, 3);
        if (text[at] != '\\' || !is_octal(digits))
        {
            plain.push_back(text[at]);
            continue;
        }
        unsigned value = 0;
        for (const char digit : digits)
            value = value * 8 + static_cast<unsigned>(digit - '0');
        plain.push_back(static_cast<char>(value));
        at += digits.size();
    }
    return plain;
}

std::string unescape_hexadecimal(std::string_view name)
{
    std::string plain;
    while (!name.empty())
    {
        unsigned char value = 0;
        const std::string_view digits = name.starts_with("\\x") ? name.substr(2, 2) : "";
        const auto [stop, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
        const bool escape = error == std::errc{} && stop == digits.data() + 2;
        plain.push_back(escape ? static_cast<char>(value) : name.front());
        name.remove_prefix(escape ? 4 : 1);
    }
    return plain;
}

std::optional<MountLine> find_mount(std::string_view table, std::uint64_t id, DeviceNumber device)
{
    std::optional<MountLine> found;
    while (const auto line = next_line(table))
    {
        const auto mount = parse_mount_line(*line);
        if (!mount)
            continue;
        if (id != 0 && mount->id == id)
            return mount;
        if (id == 0 && mount->device == device)
            found = mount;
    }
    return found;
}

} // namespace mirovan::platform
