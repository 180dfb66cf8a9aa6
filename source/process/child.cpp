#include "source/process/child.h"

#include <cerrno>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

namespace mirovan
{
namespace
{

class AllSignalsBlocked
{
public:
    AllSignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        error_ = pthread_sigmask(SIG_SETMASK, &all, &earlier_);
    }
    ~AllSignalsBlocked()
    {
        if (error_ == 0)
            pthread_sigmask(SIG_SETMASK, &earlier_, nullptr);
    }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

    /// Why they are not blocked; 0 when they are.
    int error() const { return error_; }
    const sigset_t& earlier() const { return earlier_; }

private:
    sigset_t earlier_{};
    int error_;
};

/// A handler belongs to the caller: in the child, whose memory is the caller's until its program
/// starts, none may run.
void drop_handlers()
{
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number)
    {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_DFL &&
            action.sa_handler != SIG_IGN)
            sigaction(number, &standard, nullptr);
    }
}

[[noreturn, gnu::noinline]] void become(const char* path, char* const* arguments,
                                        const sigset_t& mask, std::span<const SignalAction> actions)
{
    constexpr int cannot_execute = 127;
    for (const auto& [number, action] : actions)
        sigaction(number, action, nullptr);
    drop_handlers();
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    execv(path, arguments);
    _exit(cannot_execute);
}

} // namespace

// The home platform would rather see posix_spawn(), which reports a program that cannot be executed
// where this child has to end with a status. The child does nothing but what is safe while it
// shares the caller's memory, and the caller's thread stands still meanwhile.
// NOLINTBEGIN(clang-analyzer-security.insecureAPI.vfork, clang-analyzer-unix.Vfork)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

pid_t start_child(const char* path, char* const* arguments, const ChildSignals& signals)
{
    const AllSignalsBlocked blocked;
    if (blocked.error() != 0)
    {
        errno = blocked.error();
        return -1;
    }
    const sigset_t& mask = signals.mask == nullptr ? blocked.earlier() : *signals.mask;
    const pid_t child = vfork();
    if (child == 0)
        become(path, arguments, mask, signals.actions);
    return child;
}

#pragma GCC diagnostic pop
// NOLINTEND(clang-analyzer-security.insecureAPI.vfork, clang-analyzer-unix.Vfork)

pid_t wait_for_child(pid_t child, int options)
{
    pid_t result = 0;
    do
        result = waitpid(child, nullptr, options);
    while (result < 0 && errno == EINTR);
    return result;
}

} // namespace mirovan
