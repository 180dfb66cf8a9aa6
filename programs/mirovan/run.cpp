#include "commands.h"

#include <mirovan.hpp>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>
#include <iterator>
#include <thread>
#include <unistd.h>

namespace program
{

namespace
{

int signal_pipe[2] = {-1, -1};

void note_signal(int number)
{
    const int saved_errno = errno;
    const auto byte = static_cast<char>(number);
    (void)!write(signal_pipe[1], &byte, 1);
    errno = saved_errno;
}

/// The command has a process group of its own, so what the terminal or others send to this program
/// has to be passed on.
class SignalsPassedOn
{
public:
    SignalsPassedOn()
    {
        if (pipe(signal_pipe) != 0)
            throw std::runtime_error(std::string{"no pipe: "} + std::strerror(errno));
        struct sigaction action = {};
        action.sa_handler = note_signal;
        action.sa_flags = SA_RESTART;
        for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        {
            struct sigaction existing = {};
            sigaction(number, nullptr, &existing);
            if (existing.sa_handler != SIG_IGN)
                sigaction(number, &action, nullptr);
        }
        thread_ = std::thread{pass_on};
    }
    ~SignalsPassedOn()
    {
        note_signal(0);
        thread_.join();
    }
    SignalsPassedOn(const SignalsPassedOn&) = delete;
    SignalsPassedOn& operator=(const SignalsPassedOn&) = delete;

private:
    static void pass_on()
    {
        char number = 0;
        while (read(signal_pipe[0], &number, 1) == 1 && number != 0)
            for (const auto& process : mirovan::process::processes())
                if (process.parent == getpid() && process.id != getpid())
                    kill(-process.id, number);
    }

    std::thread thread_;
};

bool write_all(int descriptor, std::string_view data)
{
    while (!data.empty())
    {
        const ssize_t written = write(descriptor, data.data(), data.size());
        if (written < 0 && errno != EINTR)
            return false;
        data.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace

int run(const RunOptions& options)
{
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, nullptr);

    std::uint64_t passed = 0;
    int failure = 0;
    bool is_over_limit = false;
    const auto pass_to = [&](int descriptor)
    {
        return [&, descriptor](std::string_view data)
        {
            is_over_limit = options.has_output_limit && data.size() > options.output_limit - passed;
            if (is_over_limit)
                data = data.substr(0, options.output_limit - passed);
            passed += data.size();
            if (!write_all(descriptor, data))
                failure = errno;
            return failure == 0 && !is_over_limit;
        };
    };
    mirovan::process::execute_options how;
    if (options.input)
        how.input.emplace(std::istreambuf_iterator<char>(std::cin),
                          std::istreambuf_iterator<char>());
    how.limit = options.limit;
    if (options.grace.count() > 0)
        how.grace = options.grace;
    how.on_output = pass_to(STDOUT_FILENO);
    how.on_errors = pass_to(STDERR_FILENO);

    mirovan::process::command_result result;
    try
    {
        const SignalsPassedOn signals;
        result = mirovan::process::execute(options.command, how);
    }
    catch (const mirovan::error& error)
    {
        std::fprintf(stderr, "mirovan: %s: %s\n", harmless(options.command.front()).c_str(),
                     error.system().message().c_str());
        return error.system() == std::errc::no_such_file_or_directory ? not_found : cannot_start;
    }
    if (options.stats)
        std::fprintf(stderr, "mirovan: %s; user %s, system %s; peak memory %s\n",
                     human_duration(result.wall_time).c_str(),
                     human_duration(result.user_time).c_str(),
                     human_duration(result.system_time).c_str(),
                     result.peak_memory ? human_bytes(*result.peak_memory).c_str() : "unknown");
    if (result.how == mirovan::process::end::limit || is_over_limit)
    {
        std::fprintf(stderr, "mirovan: %s: ended at its limit of %s\n",
                     harmless(options.command.front()).c_str(),
                     is_over_limit
                         ? (human_bytes(options.output_limit) + " bytes of output").c_str()
                         : human_duration(options.limit).c_str());
        return ended_at_limit;
    }
    if (failure != 0)
    {
        if (failure != EPIPE)
            std::fprintf(stderr, "mirovan: cannot write the output: %s\n", std::strerror(failure));
        return failure == EPIPE ? 128 + SIGPIPE : 1;
    }
    return result.status();
}

} // namespace program
