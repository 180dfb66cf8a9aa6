#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mirovan::platform
{

/// The number of a device, as the kernel prints it.
struct DeviceNumber
{
    unsigned major;
    unsigned minor;
    bool operator==(const DeviceNumber&) const = default;
};

/// A line of /proc/PID/mountinfo. The texts are parts of that line, still with its escapes.
struct MountLine
{
    std::uint64_t id;
    std::uint64_t parent;
    DeviceNumber device;
    std::string_view root;
    std::string_view point;
    std::string_view options;
    std::string_view type;
    std::string_view source;
    std::string_view volume_options;
};

/// Takes a line apart; none when it is not of that form.
std::optional<MountLine> parse_mount_line(std::string_view line);

/// Takes the next line off a text, without its newline; none at the end.
std::optional<std::string_view> next_line(std::string_view& text);

/// Takes what stands before the next separator off a text, and the separator. Fields may be empty:
/// a mount may have an empty source.
std::string_view next_field(std::string_view& text, char separator = ' ');

/// A string of the mount table with its escapes, such as \040 for a space, decoded.
std::string unescape_octal(std::string_view text);

/// A name of /dev/disk/by-*, whose odd characters are written as \x20.
std::string unescape_hexadecimal(std::string_view name);

/// The line of the mount with an id or, where the kernel gives out no ids (0), the last one of a
/// device.
std::optional<MountLine> find_mount(std::string_view table, std::uint64_t id, DeviceNumber device);

} // namespace mirovan::platform
