#include "platform/linux/commands/program.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

namespace mirovan::commands
{

int run_program(const char* name, int count, char** arguments,
                std::string (*body)(const Arguments&)) noexcept
{
    const auto complain = [name](const char* reason)
    { static_cast<void>(std::fprintf(stderr, "%s: %s\n", name, reason)); };
    try
    {
        const std::string output = body({arguments + (count > 0 ? 1 : 0), arguments + count});
        if (std::fwrite(output.data(), 1, output.size(), stdout) == output.size() &&
            std::fflush(stdout) == 0)
            return EXIT_SUCCESS;
        complain(std::strerror(errno));
    }
    catch (const std::exception& error)
    {
        complain(error.what());
    }
    return EXIT_FAILURE;
}

} // namespace mirovan::commands
