#pragma once

#include "source/process/start.h"

#include <optional>

namespace mirovan
{

/// How a shell command line was run.
struct ShellResult
{
    enum class Outcome
    {
        ended,
        no_signals, ///< The signal actions or the mask cannot be changed; errno says why.
        no_shell,   ///< The shell cannot be started; errno says why.
    };
    Outcome outcome;
    std::optional<int> status = {}; ///< In the form of waitpid(), where the system reports it.
};

/// Runs a shell command line as the C library's system() does, and kills the shell when it has not
/// ended after so many seconds.
ShellResult run_shell(const char* line, std::optional<int> limit);

} // namespace mirovan
