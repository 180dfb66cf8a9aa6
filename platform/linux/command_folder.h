#pragma once

#include <string>

namespace mirovan::platform
{

/// The folder with the library's own system_profiler and ioreg: relative to the loaded
/// library, wherever that was installed or moved to.
std::string command_folder();

} // namespace mirovan::platform
