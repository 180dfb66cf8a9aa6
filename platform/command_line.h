#pragma once

#include <cstdio>
#include <string>

/// The one place that knows how a shell command line has to be run on this machine.
namespace mirovan::platform
{

/// A command line of a caller, with the machine's stand-in commands within its reach.
std::string command_line(const char* text);

/// A command line whose output the library reads itself: the same, and its figures are printed
/// independently of the user's locale.
std::string report_command_line(const char* text);

/// popen() for reading, with a stream that no other child inherits. Null, with errno set, on
/// failure; close it with pclose().
std::FILE* open_command(const std::string& line);

} // namespace mirovan::platform
