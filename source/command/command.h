#pragma once

#include "base/descriptor.h"

#include <string>
#include <sys/types.h>

namespace mirovan
{

/// A shell command line while it runs, with its standard output on a pipe; all else is the
/// caller's, as with popen().
class Command
{
public:
    explicit Command(const std::string& line);
    /// Closes the pipe, then waits for the shell.
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// Why the shell cannot be started; 0 when it was.
    int error() const { return error_; }
    int output() const { return output_.get(); }

private:
    Descriptor output_;
    pid_t shell_ = -1;
    int error_ = 0;
};

} // namespace mirovan
