#pragma once

#include "source/error.h"
#include "source/file/path.h"

namespace mirovan
{

/// Makes ready for writing to a file: creates its folder when that is missing, which are operations
/// of their own with codes of their own.
///
/// @param nearest the code for a path that is too long or cannot be converted
bool prepare_target(const Path& file, ErrorCode nearest);

} // namespace mirovan
