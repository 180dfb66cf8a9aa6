#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace mirovan
{

/// The login name of a user; none, with errno set, when the user has no account (ENOENT) or the
/// accounts cannot be read.
std::optional<std::string> login_name(uid_t user);

/// The same, but what this thread found may be used for a second: a lookup costs as much as all
/// else that a record of a process holds, and more where accounts come over a network.
std::optional<std::string> recent_login_name(uid_t user);

/// The user of a login name; none, with errno set, as above.
std::optional<uid_t> user_of(const std::string& name);

} // namespace mirovan
