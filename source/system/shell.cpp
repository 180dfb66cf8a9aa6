#include "source/operation.h"
#include "source/process/child.h"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <string>
#include <sys/wait.h>

namespace mirovan
{
namespace
{

/// Ignores the interrupt and quit signals and blocks the child signal, as the C library's system()
/// does, until the end of the scope.
class QuietSignals
{
public:
    QuietSignals()
    {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        sigemptyset(&ignore.sa_mask);
        sigset_t child_signal;
        sigemptyset(&child_signal);
        sigaddset(&child_signal, SIGCHLD);
        interrupt_changed_ = sigaction(SIGINT, &ignore, &interrupt_) == 0;
        quit_changed_ = interrupt_changed_ && sigaction(SIGQUIT, &ignore, &quit_) == 0;
        mask_changed_ = quit_changed_ && sigprocmask(SIG_BLOCK, &child_signal, &mask_) == 0;
    }
    ~QuietSignals()
    {
        const int kept = errno;
        if (interrupt_changed_)
            sigaction(SIGINT, &interrupt_, nullptr);
        if (quit_changed_)
            sigaction(SIGQUIT, &quit_, nullptr);
        if (mask_changed_)
            sigprocmask(SIG_SETMASK, &mask_, nullptr);
        errno = kept;
    }
    QuietSignals(const QuietSignals&) = delete;
    QuietSignals& operator=(const QuietSignals&) = delete;

    /// Whether all three changes were made; errno tells why one was not.
    explicit operator bool() const { return mask_changed_; }

    const struct sigaction& interrupt() const { return interrupt_; }
    const struct sigaction& quit() const { return quit_; }
    const sigset_t& mask() const { return mask_; }

private:
    struct sigaction interrupt_ = {};
    struct sigaction quit_ = {};
    sigset_t mask_{};
    bool interrupt_changed_ = false;
    bool quit_changed_ = false;
    bool mask_changed_ = false;
};

/// Pauses between two looks at a child, the longer the longer it has run: short commands are
/// noticed at once, long ones cost nothing to wait for.
class Pause
{
public:
    void take()
    {
        const timespec time = {0, length_};
        nanosleep(&time, nullptr);
        length_ = std::min(length_ + length_ / 4, longest);
    }

private:
    static constexpr long shortest = 50'000;
    static constexpr long longest = 20'000'000;
    long length_ = shortest;
};

void wait_within(pid_t child, int limit)
{
    const std::time_t start = std::time(nullptr);
    for (Pause pause; wait_for_child(child, WNOHANG) == 0; pause.take())
    {
        if (std::time(nullptr) - start < limit)
            continue;
        kill(child, SIGKILL);
        wait_for_child(child);
        return;
    }
}

pid_t start_shell(const char* command, const QuietSignals& signals)
{
    const SignalAction actions[] = {{SIGINT, &signals.interrupt()}, {SIGQUIT, &signals.quit()}};
    std::string arguments[] = {"sh", "-c", command};
    char* const argument_vector[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(),
                                     nullptr};
    return start_child("/bin/sh", argument_vector, {&signals.mask(), actions});
}

} // namespace
} // namespace mirovan

bool CMirovan_System::Mirovan_System_SystemEx(const char* lpszCommand, int nTimeout)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_SYSTEM_SYSTEMEX_FORK>(
        [&]
        {
            if (lpszCommand == nullptr)
                return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
            const QuietSignals signals;
            if (!signals)
                return fail(ERROR_MIROVAN_SYSTEM_SYSTEMEX_SIGNAL, errno);
            const pid_t child = start_shell(lpszCommand, signals);
            if (child < 0)
                return fail(ERROR_MIROVAN_SYSTEM_SYSTEMEX_FORK, errno);
            wait_within(child, nTimeout);
            return true;
        });
}
