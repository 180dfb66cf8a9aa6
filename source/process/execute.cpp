#include "platform/spawn.h"
#include "source/operation.h"
#include "source/process/start.h"
#include "source/sized_record.h"

#include <algorithm>
#include <optional>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <vector>

namespace mirovan
{
namespace
{

using Callback = bool (*)(const char* data, uint64_t length, void* context);

constexpr std::chrono::milliseconds default_grace{100};

Clock::time_point after(std::int64_t milliseconds)
{
    const auto now = Clock::now();
    const std::chrono::milliseconds length{milliseconds};
    return length < never - now ? now + length : never;
}

/// Keeps a write to a pipe that nobody reads from raising SIGPIPE in this thread, without changing
/// what the process does about that signal.
class PipeSignalBlocked
{
public:
    PipeSignalBlocked()
    {
        sigset_t pending;
        sigemptyset(&pipe_signal_);
        sigaddset(&pipe_signal_, SIGPIPE);
        sigpending(&pending);
        was_pending_ = sigismember(&pending, SIGPIPE) == 1;
        error_ = pthread_sigmask(SIG_BLOCK, &pipe_signal_, &saved_mask_);
    }
    ~PipeSignalBlocked()
    {
        if (error_ != 0)
            return;
        const int saved_errno = errno;
        sigset_t pending;
        sigpending(&pending);
        int number = 0;
        if (!was_pending_ && sigismember(&pending, SIGPIPE) == 1)
            sigwait(&pipe_signal_, &number);
        pthread_sigmask(SIG_SETMASK, &saved_mask_, nullptr);
        errno = saved_errno;
    }
    PipeSignalBlocked(const PipeSignalBlocked&) = delete;
    PipeSignalBlocked& operator=(const PipeSignalBlocked&) = delete;

    /// Why it is not blocked; 0 when it is.
    int error() const { return error_; }

private:
    sigset_t pipe_signal_{};
    sigset_t saved_mask_{};
    bool was_pending_;
    int error_;
};

bool set_nonblocking(const Descriptor& descriptor)
{
    return fcntl(descriptor.get(), F_SETFL, O_NONBLOCK) == 0;
}

/// The bytes for a command's standard input.
class Input
{
public:
    Input(const void* data, std::uint64_t length)
        : data_{static_cast<const char*>(data)}, left_{length}
    {
    }

    /// Makes what becomes the command's standard input: the other end of a pipe, or /dev/null.
    bool open(Descriptor& source)
    {
        if (data_ != nullptr)
            return open_pipe(source, pipe_) && set_nonblocking(pipe_);
        source = open_file("/dev/null", O_RDONLY);
        return source && lift(source);
    }

    /// For poll(): negative when nothing is to be written any more.
    int descriptor() const { return pipe_.get(); }

    void write_some()
    {
        constexpr std::uint64_t most = std::uint64_t{1} << 20U;
        ssize_t written = 0;
        if (left_ != 0)
        {
            const PipeSignalBlocked blocked;
            errno = blocked.error();
            written = errno == 0 ? write(pipe_.get(), data_, std::min(left_, most)) : -1;
        }
        if (written < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        data_ += std::max<ssize_t>(written, 0);
        left_ -= static_cast<std::uint64_t>(std::max<ssize_t>(written, 0));
        // The command need not read all of it.
        if (written < 0 && errno != EPIPE)
            error_ = errno;
        if (written < 0 || left_ == 0)
            pipe_ = {};
    }

    /// Why not all of it can be written, if not for the command; 0 otherwise.
    int error() const { return error_; }

private:
    const char* data_;
    std::uint64_t left_;
    Descriptor pipe_;
    int error_ = 0;
};

/// What a command writes to one of its standard streams, for a function of the caller.
class Output
{
public:
    Output(Callback function, void* context) : function_{function}, context_{context} {}

    /// Makes the pipe, unless the command inherits the stream.
    bool open(Descriptor& sink)
    {
        return function_ == nullptr || (open_pipe(pipe_, sink) && set_nonblocking(pipe_));
    }

    int descriptor() const { return pipe_.get(); }

    enum class Read
    {
        some,
        nothing, ///< There is nothing now, or will be nothing any more.
        unwanted ///< The function wants no more.
    };

    /// Passes on what one read gives.
    Read read_some(std::vector<char>& block)
    {
        const ssize_t got = read(pipe_.get(), block.data(), block.size());
        if (got < 0 && errno == EINTR)
            return Read::some;
        if (got < 0 && errno == EAGAIN)
            return Read::nothing;
        if (got < 0)
            error_ = errno;
        if (got <= 0)
        {
            pipe_ = {};
            return Read::nothing;
        }
        taken_ += got;
        return function_(block.data(), static_cast<std::uint64_t>(got), context_) ? Read::some
                                                                                  : Read::unwanted;
    }

    /// Passes on what the command had written when it ended. Others may hold the pipe and write on.
    /// False when the function wants no more.
    bool drain(std::vector<char>& block)
    {
        int available = 1 << 16;
        if (pipe_)
            ioctl(pipe_.get(), FIONREAD, &available);
        Read last = Read::some;
        for (taken_ = 0; pipe_ && last == Read::some && taken_ < available;)
            last = read_some(block);
        return last != Read::unwanted;
    }

    void close() { pipe_ = {}; }

    /// Why it cannot be read; 0 when it can.
    int error() const { return error_; }

private:
    Callback function_;
    void* context_;
    Descriptor pipe_;
    ssize_t taken_ = 0;
    int error_ = 0;
};

/// A command from its start to its end.
class Execution
{
public:
    explicit Execution(const MIROVAN_COMMAND& command)
        : command_{command}, input_{command.pInput, command.nInputLen},
          outputs_{{{command.pfnOutput, command.pContext}, {command.pfnErrors, command.pContext}}}
    {
    }
    /// A callback may throw.
    ~Execution()
    {
        if (!child_ || child_->has_ended())
            return;
        child_->signal_group(SIGKILL);
        child_->wait();
    }
    Execution(const Execution&) = delete;
    Execution& operator=(const Execution&) = delete;

    bool start();
    void run();
    /// Why a stream could not be used; 0 when all could.
    int error() const;
    MIROVAN_COMMAND_RESULT result() const;

private:
    void finish(Mirovan_End reason);
    bool wait_for_something();
    bool has_ended();
    int stop_descriptor() const
    {
        return (command_.nFlags & MIROVAN_COMMAND_STOP) != 0 ? command_.nStopDescriptor : -1;
    }

    const MIROVAN_COMMAND& command_;
    Input input_;
    std::array<Output, 2> outputs_;
    std::optional<Child> child_;
    std::vector<char> block_ = std::vector<char>(std::size_t{1} << 16U);
    Clock::time_point start_ = Clock::now();
    Clock::time_point end_{};
    Clock::time_point limit_ = never;
    Clock::time_point kill_at_ = never;
    Mirovan_End reason_ = MIROVAN_END_EXITED;
    Pause pause_;
};

bool Execution::start()
{
    Descriptor source;
    std::array<Descriptor, 2> sinks;
    if (!input_.open(source) || !outputs_[0].open(sinks[0]) || !outputs_[1].open(sinks[1]))
        return false;
    Launch launch{.arguments = const_cast<char* const*>(command_.ppszArguments),
                  .environment = platform::environment(),
                  .on_path = true,
                  .own_group = true,
                  .streams_alone = true,
                  .folder = command_.lpszFolder,
                  .streams = {source.get(), sinks[0].get(), sinks[1].get()}};
    if (command_.ppszEnvironment != nullptr)
        launch.environment = const_cast<char* const*>(command_.ppszEnvironment);
    if ((command_.nFlags & MIROVAN_COMMAND_MERGE) != 0)
        launch.streams[STDERR_FILENO] = STDOUT_FILENO;
    start_ = Clock::now();
    if (command_.nLimitMs > 0)
        limit_ = after(command_.nLimitMs);
    const bool by_shell = command_.lpszShellLine != nullptr;
    launch.program = by_shell ? nullptr : command_.ppszArguments[0];
    const pid_t id = by_shell ? start_shell(command_.lpszShellLine, launch) : start_program(launch);
    if (id >= 0)
        child_.emplace(id);
    return id >= 0;
}

/// Begins to end the command: the limit is over, or the caller wants no more.
void Execution::finish(Mirovan_End reason)
{
    if (reason_ != MIROVAN_END_EXITED)
        return;
    reason_ = reason;
    child_->signal_group(command_.nGraceMs < 0 ? SIGKILL : SIGTERM);
    if (command_.nGraceMs >= 0)
        kill_at_ = after(command_.nGraceMs == 0 ? default_grace.count() : command_.nGraceMs);
}

/// Waits until a stream can be used, the command has ended or a time is over, and uses the streams.
/// False when the caller wants no more.
bool Execution::wait_for_something()
{
    pollfd files[] = {{outputs_[0].descriptor(), POLLIN, 0},
                      {outputs_[1].descriptor(), POLLIN, 0},
                      {input_.descriptor(), POLLOUT, 0},
                      {child_->end().get(), POLLIN, 0},
                      {reason_ == MIROVAN_END_EXITED ? stop_descriptor() : -1, POLLIN, 0}};
    auto until = std::min(reason_ == MIROVAN_END_EXITED ? limit_ : never, kill_at_);
    if (!child_->end())
        until = std::min<Clock::time_point>(until, Clock::now() + pause_.next());
    if (poll(files, std::size(files), poll_time(until)) < 0)
    {
        if (errno == EINTR)
            return true;
        // None of the streams blocks, so all of them can be tried.
        for (pollfd& file : files)
            file.revents = static_cast<short>(file.fd < 0 ? 0 : file.events);
        files[4].revents = 0;
        pause_.take();
    }
    bool wanted = files[4].revents == 0;
    for (std::size_t i = 0; i < outputs_.size(); ++i)
        if (wanted && files[i].revents != 0)
            wanted = outputs_[i].read_some(block_) != Output::Read::unwanted;
    if (files[2].revents != 0)
        input_.write_some();
    return wanted && error() == 0;
}

int Execution::error() const
{
    for (const int error : {input_.error(), outputs_[0].error(), outputs_[1].error()})
        if (error != 0)
            return error;
    return 0;
}

/// Whether the command has ended. It is not reaped yet, so that its group keeps its id.
bool Execution::has_ended()
{
    pollfd end = {child_->end().get(), POLLIN, 0};
    return (!child_->end() || poll(&end, 1, 0) != 0) && child_->looks_ended();
}

void Execution::run()
{
    while (!has_ended())
    {
        if (!wait_for_something())
        {
            // First, so that the command ends by the signal and not by what it writes.
            finish(MIROVAN_END_STOPPED);
            for (Output& output : outputs_)
                output.close();
        }
        const auto now = Clock::now();
        if (now >= limit_ && !has_ended())
            finish(MIROVAN_END_LIMIT);
        if (now >= kill_at_)
        {
            kill_at_ = never;
            child_->signal_group(SIGKILL);
        }
    }
    end_ = Clock::now();
    // The command ends with its process group.
    if (reason_ != MIROVAN_END_EXITED)
        platform::signal_group(child_->end(), child_->id(), SIGKILL);
    child_->wait();
    for (Output& output : outputs_)
        if (!output.drain(block_))
        {
            reason_ = reason_ == MIROVAN_END_EXITED ? MIROVAN_END_STOPPED : reason_;
            break;
        }
}

/// How a child ended and what it used, as far as the system reports it.
void describe(const Child& child, MIROVAN_COMMAND_RESULT& result)
{
    if (const auto status = child.status())
    {
        result.nKnown |= MIROVAN_RESULT_STATUS;
        if (WIFSIGNALED(*status))
            result.nSignal = WTERMSIG(*status);
        else
            result.nExitStatus = WEXITSTATUS(*status);
    }
    if (result.nEnd == MIROVAN_END_EXITED && result.nSignal != 0)
        result.nEnd = MIROVAN_END_SIGNALLED;
    if (result.nEnd == MIROVAN_END_EXITED && (result.nKnown & MIROVAN_RESULT_STATUS) == 0)
        result.nEnd = MIROVAN_END_UNKNOWN;
    if (!child.was_reaped())
        return;
    const auto nanoseconds = [](const timeval& time)
    {
        return static_cast<uint64_t>(std::chrono::nanoseconds{
            std::chrono::seconds{time.tv_sec} +
            std::chrono::microseconds{
                time.tv_usec}}.count());
    };
    const rusage& usage = child.usage();
    result.nUserTime = nanoseconds(usage.ru_utime);
    result.nSystemTime = nanoseconds(usage.ru_stime);
    result.nPeakMemory = static_cast<uint64_t>(usage.ru_maxrss);
    result.nKnown |= MIROVAN_RESULT_PROCESSOR_TIME;
    if (usage.ru_maxrss > 0)
        result.nKnown |= MIROVAN_RESULT_PEAK_MEMORY;
}

MIROVAN_COMMAND_RESULT Execution::result() const
{
    MIROVAN_COMMAND_RESULT result{};
    result.nProcessId = child_->id();
    result.nEnd = reason_;
    result.nKnown = MIROVAN_RESULT_WALL_TIME;
    result.nWallTime = static_cast<uint64_t>(std::chrono::nanoseconds{end_ - start_}.count());
    describe(*child_, result);
    return result;
}

bool is_valid(const MIROVAN_COMMAND& command)
{
    const bool by_arguments =
        command.ppszArguments != nullptr && command.ppszArguments[0] != nullptr;
    const bool merges = (command.nFlags & MIROVAN_COMMAND_MERGE) != 0;
    return by_arguments != (command.lpszShellLine != nullptr) &&
           (command.ppszArguments == nullptr || by_arguments) &&
           (command.nFlags & ~uint32_t{MIROVAN_COMMAND_MERGE | MIROVAN_COMMAND_STOP}) == 0 &&
           (command.pInput != nullptr || command.nInputLen == 0) && command.nLimitMs >= 0 &&
           !(merges && command.pfnErrors != nullptr);
}

bool execute(const MIROVAN_COMMAND* given, MIROVAN_COMMAND_RESULT* result)
{
    if (!is_sized(given) || !is_sized(result))
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    const MIROVAN_COMMAND command = *given;
    if (!is_valid(command))
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    Execution execution{command};
    if (!execution.start())
        return fail(ERROR_MIROVAN_PROCESS_EXECUTE_FAILED, errno);
    execution.run();
    if (execution.error() != 0)
        return fail(ERROR_MIROVAN_PROCESS_EXECUTE_FAILED, execution.error());
    give(execution.result(), result);
    return true;
}

bool wait_for(int id, int64_t limit, MIROVAN_COMMAND_RESULT* result)
{
    if (id <= 0 || !is_sized(result))
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    Child child{id};
    if (child.has_ended() && !child.was_reaped())
        return fail(ERROR_MIROVAN_PROCESS_WAIT_FAILED, ECHILD);
    MIROVAN_COMMAND_RESULT ended{};
    ended.nProcessId = id;
    ended.nEnd =
        child.wait(limit < 0 ? never : after(limit)) ? MIROVAN_END_EXITED : MIROVAN_END_RUNNING;
    if (ended.nEnd != MIROVAN_END_RUNNING)
        describe(child, ended);
    give(ended, result);
    return true;
}

} // namespace
} // namespace mirovan

bool CMirovan_Process::Mirovan_Process_Execute(const MIROVAN_COMMAND* pstCommand,
                                               MIROVAN_COMMAND_RESULT* pstResult)
{
    return mirovan::calling_operation<ERROR_MIROVAN_PROCESS_EXECUTE_FAILED>(mirovan::execute,
                                                                            pstCommand, pstResult);
}

bool CMirovan_Process::Mirovan_Process_Wait(int nPid, int64_t nLimitMs,
                                            MIROVAN_COMMAND_RESULT* pstResult)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_WAIT_FAILED>(mirovan::wait_for, nPid, nLimitMs,
                                                                 pstResult);
}
