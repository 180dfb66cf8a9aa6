#include "source/process/start.h"

#include "platform/spawn.h"

#include <algorithm>
#include <climits>
#include <ctime>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

namespace mirovan
{
namespace
{

/// The first error of several calls that return theirs.
class FirstError
{
public:
    void operator<<(int error)
    {
        if (error_ == 0)
            error_ = error;
    }
    int get() const { return error_; }

private:
    int error_ = 0;
};

class FileActions
{
public:
    FileActions() : error_{posix_spawn_file_actions_init(&actions_)} {}
    ~FileActions()
    {
        if (error_ == 0)
            posix_spawn_file_actions_destroy(&actions_);
    }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    int error() const { return error_; }
    posix_spawn_file_actions_t& get() { return actions_; }

private:
    posix_spawn_file_actions_t actions_{};
    int error_;
};

class Attributes
{
public:
    Attributes() : error_{posix_spawnattr_init(&attributes_)} {}
    ~Attributes()
    {
        if (error_ == 0)
            posix_spawnattr_destroy(&attributes_);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    int error() const { return error_; }
    posix_spawnattr_t& get() { return attributes_; }

private:
    posix_spawnattr_t attributes_{};
    int error_;
};

/// Adds what a launch asks for to the actions and the attributes.
int describe(const Launch& launch, FileActions& actions, Attributes& attributes)
{
    if (actions.error() != 0 || attributes.error() != 0)
        return actions.error() != 0 ? actions.error() : attributes.error();
    FirstError error;
    int stream = 0;
    for (const int source : launch.streams)
    {
        if (source >= 0)
            error << posix_spawn_file_actions_adddup2(&actions.get(), source, stream);
        ++stream;
    }
    if (launch.folder != nullptr)
        error << posix_spawn_file_actions_addchdir_np(&actions.get(), launch.folder);
    short flags = 0;
    const auto set = [&flags](short flag) { flags = static_cast<short>(flags | flag); };
    if (launch.streams_alone)
        error << platform::inherit_streams_alone(actions.get(), flags);
    if (launch.mask != nullptr)
    {
        set(POSIX_SPAWN_SETSIGMASK);
        error << posix_spawnattr_setsigmask(&attributes.get(), launch.mask);
    }
    if (launch.defaults != nullptr)
    {
        set(POSIX_SPAWN_SETSIGDEF);
        error << posix_spawnattr_setsigdefault(&attributes.get(), launch.defaults);
    }
    if (launch.own_group)
    {
        set(POSIX_SPAWN_SETPGROUP);
        error << posix_spawnattr_setpgroup(&attributes.get(), 0);
    }
    error << posix_spawnattr_setflags(&attributes.get(), flags);
    return error.get();
}

} // namespace

pid_t start_program(const Launch& launch)
{
    FileActions actions;
    Attributes attributes;
    pid_t child = -1;
    int error = describe(launch, actions, attributes);
    if (error == 0)
        error = platform::spawn(child, launch.program, launch.on_path, actions.get(),
                                attributes.get(), launch.arguments, launch.environment);
    if (error == 0)
        return child;
    errno = error;
    return -1;
}

pid_t start_shell(const char* line, Launch launch)
{
    const char* arguments[] = {"sh", "-c", "--", line, nullptr};
    launch.program = "/bin/sh";
    launch.arguments = const_cast<char* const*>(arguments);
    return start_program(launch);
}

bool lift(Descriptor& descriptor)
{
    constexpr int first = 3;
    if (descriptor.get() >= first)
        return true;
    descriptor = Descriptor{fcntl(descriptor.get(), F_DUPFD_CLOEXEC, first)};
    return static_cast<bool>(descriptor);
}

bool open_pipe(Descriptor& reading, Descriptor& writing)
{
    return platform::open_pipe(reading, writing) && lift(reading) && lift(writing);
}

bool Child::has_ended()
{
    if (state_ != State::running)
        return true;
    pid_t result = 0;
    do
        result = wait4(id_, &status_, WNOHANG, &usage_);
    while (result < 0 && errno == EINTR);
    if (result != 0)
        state_ = result == id_ ? State::reaped : State::gone;
    return result != 0;
}

bool Child::looks_ended()
{
    if (state_ != State::running)
        return true;
    siginfo_t ended{};
    if (waitid(P_PID, static_cast<id_t>(id_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0)
        return ended.si_pid != 0;
    if (errno == ECHILD)
        state_ = State::gone;
    return errno == ECHILD;
}

bool Child::wait(Clock::time_point limit)
{
    bool readable = false;
    for (Pause pause; !has_ended();)
    {
        const auto now = Clock::now();
        if (now >= limit)
            return false;
        // A child may be about to end, or be traced: then its end is seen before it can be reaped.
        if (!end_ || readable)
        {
            pause.take();
            continue;
        }
        pollfd end = {end_.get(), POLLIN, 0};
        const int ready = poll(&end, 1, poll_time(limit));
        readable = ready > 0 || (ready < 0 && errno != EINTR);
    }
    return true;
}

void Child::signal(int number)
{
    if (!has_ended())
        platform::signal_process(end_, id_, number);
}

void Child::signal_group(int number)
{
    if (!has_ended())
        platform::signal_group(end_, id_, number);
}

std::optional<int> Child::status() const
{
    return state_ == State::reaped ? status_ : platform::status_of_reaped(end_);
}

std::chrono::nanoseconds Pause::next()
{
    constexpr std::chrono::nanoseconds longest = std::chrono::milliseconds{20};
    return std::exchange(length_, std::min(length_ + length_ / 4, longest));
}

void Pause::take()
{
    const timespec time = {0, static_cast<long>(next().count())};
    nanosleep(&time, nullptr);
}

int poll_time(Clock::time_point limit)
{
    if (limit == never)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

} // namespace mirovan
