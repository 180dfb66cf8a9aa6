#pragma once

#include "platform/process_end.h"

#include <array>
#include <chrono>
#include <csignal>
#include <sys/resource.h>
#include <sys/types.h>
#include <unistd.h>

/// The one place where programs are started, waited for and reaped.
namespace mirovan
{

using Clock = std::chrono::steady_clock;

/// No limit on a wait.
constexpr Clock::time_point never = Clock::time_point::max();

/// How a program is started. What is not named here is the caller's, as after fork() and exec().
struct Launch
{
    const char* program = nullptr; ///< A path, or with on_path a name as a shell finds it.
    char* const* arguments = nullptr;
    char* const* environment = nullptr; ///< Null for an empty one.
    bool on_path = false;
    bool own_group = false;                 ///< It leads a process group of its own.
    bool streams_alone = false;             ///< It inherits the standard streams alone.
    const char* folder = nullptr;           ///< Its working directory.
    std::array<int, 3> streams{-1, -1, -1}; ///< What becomes its standard streams.
    const sigset_t* mask = nullptr;         ///< Its signal mask.
    const sigset_t* defaults = nullptr;     ///< Signals that it does not ignore as the caller does.
};

/// Starts a program. The cost does not depend on how much memory the caller uses.
///
/// @return the id of the child, which is the caller's to reap; -1, with errno set, when the program
///         cannot be started. No child is left then.
pid_t start_program(const Launch& launch);

/// Starts `/bin/sh -c` on a command line, which may begin with a hyphen.
///
/// @param launch its program, arguments and environment are not used
pid_t start_shell(const char* line, Launch launch);

/// A pipe whose ends are none of the standard streams and are not inherited; false, with errno set,
/// on failure.
bool open_pipe(Descriptor& reading, Descriptor& writing);

/// Replaces a descriptor that may be one of the standard streams by one beyond them, which is not
/// inherited; false, with errno set, on failure.
bool lift(Descriptor& descriptor);

/// Pauses of growing length between two looks at something that cannot be waited for: 50
/// microseconds to 20 milliseconds.
class Pause
{
public:
    std::chrono::nanoseconds next();
    void take();

private:
    std::chrono::nanoseconds length_ = std::chrono::microseconds{50};
};

/// A child, or a process that may be one, to wait for and to signal.
///
/// It never sleeps in waitpid(), which on macOS wakes up only when the last child of a caller that
/// ignores SIGCHLD has ended.
class Child
{
public:
    explicit Child(pid_t id) : id_{id}, end_{platform::open_process_end(id)} {}

    pid_t id() const { return id_; }

    /// Becomes readable when the child ends; may be invalid.
    const Descriptor& end() const { return end_; }

    /// Looks whether the child has ended, and reaps it.
    bool has_ended();

    /// Looks whether it has ended, and leaves it to be reaped: its id stays its own.
    bool looks_ended();

    /// Waits until it has; false when it has not by then.
    bool wait(Clock::time_point limit = never);

    /// Signals the child, or the group that it leads, unless it has been reaped.
    void signal(int number);
    void signal_group(int number);

    /// After the end: whether the child was reaped here, with how it ended and what it used.
    bool was_reaped() const { return state_ == State::reaped; }
    /// The status in the form of waitpid(); empty when somebody else has reaped the child and the
    /// system does not report it.
    std::optional<int> status() const;
    const rusage& usage() const { return usage_; }

private:
    enum class State
    {
        running,
        reaped,
        gone, ///< Reaped by somebody else, or no child.
    };

    pid_t id_;
    Descriptor end_;
    State state_ = State::running;
    int status_ = 0;
    rusage usage_{};
};

/// Milliseconds for poll() until a point in time, rounded up; -1 for never.
int poll_time(Clock::time_point limit);

} // namespace mirovan
