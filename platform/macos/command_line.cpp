#include "platform/command_line.h"

#include "base/shell_word.h"

namespace mirovan::platform
{

std::string own_command_line(const std::string& text)
{
    // Without the legacy mode "ps -aux" asks for the processes of a user named x. Jobs of cron have
    // neither of the folders on their PATH, and the reports come from the first.
    return "COMMAND_MODE=legacy; PATH=\"${PATH:+$PATH:}\"/usr/sbin:/sbin; export COMMAND_MODE "
           "PATH\n" +
           text;
}

std::string report_command_line(const std::string& text)
{
    return "LC_ALL=C; export LC_ALL; " + own_command_line(text);
}

std::string kill_user_line(const std::string& account)
{
    // Without -a pkill leaves out the processes that it descends from.
    return "pkill -a -kill -u " + shell_word(account);
}

} // namespace mirovan::platform
