#pragma once

#include "mirovan.h"

#include <cerrno>

namespace mirovan
{

using ErrorCode = ::Mirovan_ErrorCode;

/// Clears the flag; every operation does so on entry.
void clear_error() noexcept;

/// Sets the flag and the code and leaves errno at the given value; returns false, so that an
/// operation ends with `return fail(...)`. The errno is taken by the caller of the call that
/// failed, before anything else can change it.
bool fail(ErrorCode code, int system_errno) noexcept;

} // namespace mirovan
