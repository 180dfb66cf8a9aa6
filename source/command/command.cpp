#include "source/command/command.h"

#include "platform/spawn.h"
#include "source/process/start.h"

namespace mirovan
{

Command::Command(const std::string& line)
{
    Descriptor writing;
    if (open_pipe(output_, writing))
    {
        Launch launch{};
        launch.environment = platform::environment();
        launch.streams[STDOUT_FILENO] = writing.get();
        shell_ = start_shell(line.c_str(), launch);
    }
    if (shell_ < 0)
        error_ = errno;
}

Command::~Command()
{
    const int saved_errno = errno;
    output_ = {};
    if (shell_ >= 0)
        Child{shell_}.wait();
    errno = saved_errno;
}

} // namespace mirovan
