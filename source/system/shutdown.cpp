#include "platform/command_line.h"
#include "source/operation.h"
#include "source/system/account.h"
#include "source/system/shell.h"

#include <string>
#include <sys/reboot.h>
#include <unistd.h>

namespace
{

using namespace mirovan;

/// Halts too; without a name in the interface.
constexpr unsigned long halt_too = 0x10007;

bool call_reboot(int howto)
{
    return reboot(howto) == 0 || fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, errno);
}

bool run_command(const std::string& line)
{
    const ShellResult result = run_shell(line.c_str(), std::nullopt);
    if (result.outcome != ShellResult::Outcome::ended)
        return fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, errno);
    return result.status == 0 ||
           fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, result.status ? EIO : ECHILD);
}

/// The account whose processes the end-user action ends: that of the session's user, and never the
/// superuser's. The fallback matches nobody.
std::string session_account()
{
    constexpr std::size_t longest_name = 256;
    char name[longest_name] = "";
    if (getlogin_r(name, sizeof name) != 0)
        return "username";
    const auto user = user_of(name);
    return user && *user != 0 ? name : "username";
}

bool shut_down(unsigned long action)
{
    switch (action)
    {
    case MIROVAN_SHUTDOWN_HALT:
    case halt_too:
        return call_reboot(RB_HALT);
    case MIROVAN_SHUTDOWN_RESTART:
        return call_reboot(RB_AUTOBOOT);
    case MIROVAN_SHUTDOWN_DISPLAY_OFF:
        return run_command("xset dpms force off");
    case MIROVAN_SHUTDOWN_LOCK_SCREEN:
        return run_command("gnome-screensaver-command -l");
    case MIROVAN_SHUTDOWN_END_USER:
        return run_command(platform::kill_user_line(session_account()));
    default:
        return fail(ERROR_MIROVAN_SYSTEM_SHUTDOWN_TYPE, EINVAL);
    }
}

} // namespace

bool CMirovan_System::Mirovan_System_Shutdown(unsigned long nShutdownType)
{
    return operation<ERROR_MIROVAN_SYSTEM_QUERY_FAILED>(shut_down, nShutdownType);
}
