#pragma once

#include "base/descriptor.h"

#include <spawn.h>

/// What posix_spawn() needs of the platform around it.
namespace mirovan::platform
{

/// Makes a pipe whose ends are closed when a program starts, from the first moment as far as
/// programs are started by spawn(). False, with errno set, on failure.
bool open_pipe(Descriptor& reading, Descriptor& writing);

/// posix_spawn(), or posix_spawnp() when the program is to be found on PATH.
int spawn(pid_t& child, const char* program, bool on_path,
          const posix_spawn_file_actions_t& actions, const posix_spawnattr_t& attributes,
          char* const* arguments, char* const* environment);

/// The environment of this process, for a program that is to have the same.
char* const* environment();

/// Lets a program inherit the standard streams and no other descriptor; to be called after all
/// other actions were added, and before the flags are set.
///
/// @return 0, or the errno
int inherit_streams_alone(posix_spawn_file_actions_t& actions, short& flags);

} // namespace mirovan::platform
