#pragma once

#include <optional>
#include <string>

namespace mirovan::platform
{

/// The content of a file such as those of /proc and /sys, whose size cannot be asked for; none,
/// with errno set, when it cannot be read to its end.
std::optional<std::string> read_text_file(const char* path);

} // namespace mirovan::platform
