#pragma once

#include <string>

/// How the library's own shell command lines have to run on this machine. A caller's command is
/// run as it is.
namespace mirovan::platform
{

/// A command line of the library's own, with all commands that it may need within its reach and
/// the meaning that its text counts on.
std::string own_command_line(const std::string& text);

/// The same, and its numbers are printed independently of the user's locale.
std::string report_command_line(const std::string& text);

/// The command line that kills all processes of an account, the caller's included.
std::string kill_user_line(const std::string& account);

} // namespace mirovan::platform
