#pragma once

#include <string>
#include <string_view>

namespace mirovan::platform
{

/// The value of a variable in the text of an os-release file, without its quotes; empty if it is
/// not set there.
std::string os_release_value(std::string_view text, std::string_view name);

} // namespace mirovan::platform
