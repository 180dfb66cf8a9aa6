#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mirovan::commands
{

/// A command's arguments, without its own name.
using Arguments = std::vector<std::string_view>;

/// Runs the body of a command, prints what it returns and gives the exit status: not 0 when it
/// throws, with the reason on standard error, or when its output cannot be written.
int run_program(const char* name, int count, char** arguments,
                std::string (*body)(const Arguments&)) noexcept;

} // namespace mirovan::commands
