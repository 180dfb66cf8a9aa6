#include "base/shell_word.h"
#include "platform/command_line.h"
#include "source/command/capture.h"
#include "source/operation.h"
#include "source/process/start.h"

#include <charconv>
#include <csignal>
#include <cstring>
#include <optional>

namespace mirovan
{
namespace
{

constexpr std::size_t longest_name = 974;

/// Ignores SIGCHLD, and leaves it at its default.
class ChildSignalIgnored
{
public:
    ChildSignalIgnored() { set(SIG_IGN); }
    ~ChildSignalIgnored()
    {
        const int saved_errno = errno;
        set(SIG_DFL);
        errno = saved_errno;
    }
    ChildSignalIgnored(const ChildSignalIgnored&) = delete;
    ChildSignalIgnored& operator=(const ChildSignalIgnored&) = delete;

private:
    static void set(void (*handler)(int)) { static_cast<void>(std::signal(SIGCHLD, handler)); }
};

/// The command line that prints the id of each process whose line in ps a pattern matches.
///
/// The word grep stands in front of the pattern in it, so that the lines of the shells that run it
/// are dropped with those of the greps. That, and a match far into a long line, needs lines that ps
/// does not truncate to the width of a terminal: hence COLUMNS. The locale stays the user's: in the
/// C locale ps prints a question mark for every byte of a name beyond ASCII, which nothing matches.
std::string lookup_line(std::string_view pattern)
{
    const std::string text = "COLUMNS=131072 ps -aux | grep -e " + shell_word(pattern) +
                             " | grep -v grep | awk '{print $2}'";
    return platform::own_command_line(text);
}

/// The number that a text begins with; 0 when it does with none.
pid_t leading_number(const char* text)
{
    pid_t number = 0;
    std::from_chars(text, text + std::strlen(text), number);
    return number;
}

bool find_process(const char* name, pid_t& process)
{
    const std::size_t length = strnlen(name, longest_name + 1);
    if (length > longest_name)
        return fail(ERROR_MIROVAN_PROCESS_STOP_FIND, ENAMETOOLONG);
    // As a pattern it would match every process.
    if (length == 0)
        return fail(ERROR_MIROVAN_PROCESS_NOTFOUND, ESRCH);
    char output[1024] = "";
    if (!capture_into(lookup_line({name, length}), {1, 0}, output))
        return fail(ERROR_MIROVAN_PROCESS_STOP_FIND, errno);
    if (output[0] == '\0')
        return fail(ERROR_MIROVAN_PROCESS_NOTFOUND, ESRCH);
    process = leading_number(output);
    return true;
}

bool interrupt(pid_t process)
{
    // To kill(), these are groups of processes.
    if (process <= 0)
        return fail(ERROR_MIROVAN_PROCESS_STOP_KILL, EINVAL);
    // Before the signal: when the process has ended, its id may soon be that of another one.
    Child child{process};
    if (kill(process, SIGINT) != 0)
        return fail(errno == EPERM ? ERROR_MIROVAN_PROCESS_ACCESS : ERROR_MIROVAN_PROCESS_STOP_KILL,
                    errno);
    child.wait();
    return true;
}

bool stop(const char* name, int id, bool ignore_child)
{
    pid_t process = id;
    if (name != nullptr && !find_process(name, process))
        return false;
    std::optional<ChildSignalIgnored> ignored;
    if (ignore_child)
        ignored.emplace();
    return interrupt(process);
}

} // namespace
} // namespace mirovan

bool CMirovan_Process::Mirovan_Process_Stop(const char* lpszProcessName, int nPid,
                                            bool bIgnoreChild)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_STOP_FIND>(mirovan::stop, lpszProcessName, nPid,
                                                               bIgnoreChild);
}
