#include "platform/command_line.h"

#include <fcntl.h>

namespace mirovan::platform
{

std::string command_line(const char* text)
{
    return text;
}

std::string report_command_line(const char* text)
{
    return std::string{"LC_ALL=C; export LC_ALL\n"} + text;
}

std::FILE* open_command(const std::string& line)
{
    std::FILE* stream = popen(line.c_str(), "r");
    if (stream != nullptr)
        fcntl(fileno(stream), F_SETFD, FD_CLOEXEC);
    return stream;
}

} // namespace mirovan::platform
