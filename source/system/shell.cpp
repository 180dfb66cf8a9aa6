#include "source/system/shell.h"

#include "platform/spawn.h"
#include "source/operation.h"

#include <csignal>
#include <mutex>

namespace mirovan
{
namespace
{

constexpr std::array ignored_signals = {SIGINT, SIGQUIT};

/// The signal actions of the process, which all commands that run at a time share: the first one
/// saves them, the last one restores them.
struct SharedActions
{
    std::mutex mutex;
    unsigned users = 0;
    std::array<struct sigaction, ignored_signals.size()> saved;
};
constinit SharedActions actions{};

/// Ignores the interrupt and quit signals and blocks the child signal in this thread, as the C
/// library's system() does, until the end of the scope.
class QuietSignals
{
public:
    QuietSignals()
    {
        sigemptyset(&defaults_);
        sigset_t child_signal;
        sigemptyset(&child_signal);
        sigaddset(&child_signal, SIGCHLD);
        const std::lock_guard lock{actions.mutex};
        if (actions.users == 0 && !ignore())
            return;
        const int error = pthread_sigmask(SIG_BLOCK, &child_signal, &mask_);
        if (error != 0)
        {
            if (actions.users == 0)
                restore(ignored_signals.size());
            errno = error;
            return;
        }
        ++actions.users;
        active_ = true;
        for (std::size_t i = 0; i < ignored_signals.size(); ++i)
            if (actions.saved[i].sa_handler != SIG_IGN)
                sigaddset(&defaults_, ignored_signals[i]);
    }
    ~QuietSignals()
    {
        if (!active_)
            return;
        const int saved_errno = errno;
        const std::lock_guard lock{actions.mutex};
        if (--actions.users == 0)
            restore(ignored_signals.size());
        pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
        errno = saved_errno;
    }
    QuietSignals(const QuietSignals&) = delete;
    QuietSignals& operator=(const QuietSignals&) = delete;

    /// Whether all changes were made; errno says why one was not.
    explicit operator bool() const { return active_; }

    /// The thread's earlier mask.
    const sigset_t& mask() const { return mask_; }
    /// The signals that are ignored during the call.
    const sigset_t& defaults() const { return defaults_; }

private:
    static bool ignore()
    {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        sigemptyset(&ignore.sa_mask);
        for (std::size_t i = 0; i < ignored_signals.size(); ++i)
        {
            if (sigaction(ignored_signals[i], &ignore, &actions.saved[i]) == 0)
                continue;
            const int saved_errno = errno;
            restore(i);
            errno = saved_errno;
            return false;
        }
        return true;
    }
    static void restore(std::size_t count)
    {
        while (count-- != 0)
            sigaction(ignored_signals[count], &actions.saved[count], nullptr);
    }

    sigset_t mask_{};
    sigset_t defaults_{};
    bool active_ = false;
};

bool system_ex(const char* command, int limit)
{
    if (command == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    switch (run_shell(command, limit).outcome)
    {
    case ShellResult::Outcome::no_signals:
        return fail(ERROR_MIROVAN_SYSTEM_SYSTEMEX_SIGNAL, errno);
    case ShellResult::Outcome::no_shell:
        // A child that is there and cannot become the shell exits with 127, which is a success.
        return (errno != EAGAIN && errno != ENOMEM) ||
               fail(ERROR_MIROVAN_SYSTEM_SYSTEMEX_FORK, errno);
    default:
        return true;
    }
}

} // namespace

ShellResult run_shell(const char* line, std::optional<int> limit)
{
    const QuietSignals signals;
    if (!signals)
        return {ShellResult::Outcome::no_signals};
    Launch launch{.environment = platform::environment()};
    launch.mask = &signals.mask();
    launch.defaults = &signals.defaults();
    const pid_t shell = start_shell(line, launch);
    if (shell < 0)
        return {ShellResult::Outcome::no_shell};
    Child child{shell};
    if (!child.wait(limit ? Clock::now() + std::chrono::seconds{*limit} : never))
    {
        child.signal(SIGKILL);
        child.wait();
    }
    return {ShellResult::Outcome::ended, child.status()};
}

} // namespace mirovan

bool CMirovan_System::Mirovan_System_SystemEx(const char* lpszCommand, int nTimeout)
{
    return mirovan::operation<ERROR_MIROVAN_SYSTEM_SYSTEMEX_FORK>(mirovan::system_ex, lpszCommand,
                                                                  nTimeout);
}
