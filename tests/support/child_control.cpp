#include "tests/support/child.h"

#include "tests/support/support.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sched.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace test
{

std::string child_program()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "test_child";
}

Child::Child(const std::vector<std::string>& options, const std::string& program)
{
    std::vector<char*> arguments{const_cast<char*>("test_child")};
    for (const auto& option : options)
        arguments.push_back(const_cast<char*>(option.c_str()));
    arguments.push_back(nullptr);
    int ends[2];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    if (posix_spawn(&pid_, program.c_str(), &actions, nullptr, arguments.data(), environ) != 0)
        throw std::runtime_error("no child " + program);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    char ready = 0;
    if (read(ends[0], &ready, 1) != 1)
        throw std::runtime_error("the child is not ready");
    close(ends[0]);
    const bool busy = std::find(options.begin(), options.end(), "busy") != options.end();
    while (!busy && read_file("/proc/" + std::to_string(pid_) + "/status").find("\nState:\tS") ==
                        std::string::npos)
        sched_yield();
}

Child::~Child()
{
    if (waitpid(pid_, nullptr, WNOHANG) != 0)
        return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

bool Child::runs() const
{
    siginfo_t ended{};
    return waitid(P_PID, static_cast<id_t>(pid_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           ended.si_pid == 0;
}

void Child::signal(int number) const
{
    kill(pid_, number);
    siginfo_t ended{};
    waitid(P_PID, static_cast<id_t>(pid_), &ended, WEXITED | WSTOPPED | WNOWAIT);
}

} // namespace test
