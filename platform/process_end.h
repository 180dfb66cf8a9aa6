#pragma once

#include "base/descriptor.h"

#include <optional>
#include <sys/types.h>

/// The end of a process as a file descriptor, to wait for it together with others.
namespace mirovan::platform
{

/// A descriptor that becomes readable when a process ends. Invalid, with errno set, when there is
/// no such process (any more) or no descriptor is left.
Descriptor open_process_end(pid_t process);

/// Sends a signal to the process that the descriptor was opened for, whoever has its id by now.
///
/// Without a valid descriptor, and where the system has no such call, the id alone names the
/// process: the caller ensures that it is a child that has not been reaped.
///
/// @return 0, or the errno
int signal_process(const Descriptor& end, pid_t process, int number);

/// The same for its process group, which it leads.
int signal_group(const Descriptor& end, pid_t process, int number);

/// How a child ended that somebody else has reaped, in the form of waitpid(); empty when the
/// system does not report it.
std::optional<int> status_of_reaped(const Descriptor& end);

} // namespace mirovan::platform
