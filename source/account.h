#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace mirovan
{

/// The login name of a user; none, with errno set, when the user has no account (ENOENT) or the
/// accounts cannot be read.
std::optional<std::string> login_name(uid_t user);

} // namespace mirovan
