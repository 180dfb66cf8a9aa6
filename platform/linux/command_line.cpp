#include "platform/command_line.h"

#include "base/shell_word.h"
#include "platform/linux/command_folder.h"

namespace mirovan::platform
{

std::string own_command_line(const std::string& text)
{
    // The folder goes last, so that a command of the same name that the user has wins. An empty or
    // unset PATH must not leave an empty element, which would mean the current folder.
    return "PATH=\"${PATH:+$PATH:}\"" + shell_word(command_folder()) + '\n' + text;
}

std::string report_command_line(const std::string& text)
{
    return "LC_ALL=C; export LC_ALL; " + own_command_line(text);
}

std::string kill_user_line(const std::string& account)
{
    return "pkill -kill -u " + shell_word(account);
}

} // namespace mirovan::platform
