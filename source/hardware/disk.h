#pragma once

#include <cstdint>
#include <string_view>

namespace mirovan
{

/// The code of a file system, from the name of its type: the first known part of a name decides.
int32_t file_system_kind(std::string_view type_name) noexcept;

} // namespace mirovan
