#include "bench/harness.h"
#include "mirovan.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

using bench::require;

const char* const program = "/bin/true";
volatile long sink;

void read_bare(const std::string& path)
{
    char text[4096];
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    require(read(file, text, sizeof text) > 0, path.c_str());
    close(file);
}

void reap(unsigned long child)
{
    require(waitpid(static_cast<pid_t>(child), nullptr, 0) > 0, "waitpid");
}

void spawn_bare(char** environment)
{
    pid_t child = 0;
    char* arguments[] = {const_cast<char*>(program), const_cast<char*>("a"), nullptr};
    require(posix_spawn(&child, program, nullptr, nullptr, arguments, environment) == 0,
            "posix_spawn");
    reap(static_cast<unsigned long>(child));
}

void create_process()
{
    unsigned long child = 0;
    require(Mirovan_Process_CreateProcess(&child, program, "a", false), "CreateProcess");
    reap(child);
}

void run_process()
{
    unsigned long child = 0;
    require(Mirovan_Process_RunProcess(&child, program, "true", "a", false), "RunProcess");
    reap(child);
}

void compare_queries(bench::Table& table)
{
    const std::string folder = "/proc/" + std::to_string(getpid());
    const auto read_both = [&]
    {
        read_bare(folder + "/stat");
        read_bare(folder + "/status");
    };
    table.compare_short(
        "GetProcessInfo / reads", 1.5,
        [process = getpid()]
        {
            tag_Mirovan_Process_Infomation record;
            require(Mirovan_Process_GetProcessInfo(&record, nullptr, process), "GetProcessInfo");
        },
        read_both);
    table.compare_short(
        "GetUpTime / reads, localtime", 1.5,
        []
        {
            TARVELO_LIBTIME start;
            require(Mirovan_Process_GetUpTime(&start, 0), "GetUpTime");
        },
        [&]
        {
            read_both();
            const std::time_t now = getpid();
            sink = std::localtime(&now)->tm_sec;
        });
    table.compare_short(
        "GetProcessCpuUsage / read", 1.5,
        []
        {
            int usage = 0;
            require(Mirovan_Process_GetProcessCpuUsage(&usage, 0), "GetProcessCpuUsage");
        },
        [&] { read_bare(folder + "/stat"); });
    table.compare_short(
        "GetPath / readlink", 1.3,
        [process = getpid()]
        {
            char path[MIROVAN_PATH_SIZE];
            require(Mirovan_Process_GetPath(path, process), "GetPath");
        },
        [&]
        {
            char path[MIROVAN_PATH_SIZE];
            require(readlink((folder + "/exe").c_str(), path, sizeof path) > 0, "readlink");
        });
    table.compare_short(
        "GetPriority / getpriority", 1.3,
        []
        {
            int priority = 0;
            require(Mirovan_Process_GetPriority(&priority, 0), "GetPriority");
        },
        [] { sink = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid())); });
    table.compare_short(
        "IsAdmin / geteuid", 1.3, [] { sink = Mirovan_Process_IsAdmin(); },
        [] { sink = geteuid(); });
}

/// A process of the size that this one had when it was made; does a batch of launches on demand.
class SmallTwin
{
public:
    SmallTwin()
    {
        int requests[2];
        int answers[2];
        require(pipe2(requests, O_CLOEXEC) == 0 && pipe2(answers, O_CLOEXEC) == 0, "pipe2");
        twin_ = fork();
        require(twin_ >= 0, "fork");
        if (twin_ == 0)
        {
            char kind = 0;
            close(requests[1]);
            while (read(requests[0], &kind, 1) == 1)
            {
                launch(kind);
                require(write(answers[1], &kind, 1) == 1, "write");
            }
            _exit(0);
        }
        close(requests[0]);
        close(answers[1]);
        request_ = requests[1];
        answer_ = answers[0];
    }
    ~SmallTwin()
    {
        close(request_);
        close(answer_);
        waitpid(twin_, nullptr, 0);
    }
    SmallTwin(const SmallTwin&) = delete;
    SmallTwin& operator=(const SmallTwin&) = delete;

    void ask(char kind) const
    {
        require(write(request_, &kind, 1) == 1 && read(answer_, &kind, 1) == 1, "twin");
    }

    static void launch(char kind)
    {
        for (int call = 0; call < 10; ++call)
            kind == 'c' ? create_process() : run_process();
    }

private:
    pid_t twin_;
    int request_;
    int answer_;
};

void compare_launches(bench::Table& table)
{
    table.compare_short("CreateProcess / posix_spawn", 1.1, create_process,
                        [] { spawn_bare(nullptr); });
    table.compare_short("RunProcess / posix_spawn", 1.1, run_process, [] { spawn_bare(environ); });

    const SmallTwin twin;
    constexpr std::size_t four_gib = std::size_t{4} << 30U;
    void* memory = mmap(nullptr, four_gib, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    require(memory != MAP_FAILED, "4 GiB");
    table.compare_short(
        "CreateProcess x 10, 4 GiB / small", 1.3, [] { SmallTwin::launch('c'); },
        [&] { twin.ask('c'); });
    table.compare_short(
        "RunProcess x 10, 4 GiB / small", 1.3, [] { SmallTwin::launch('r'); },
        [&] { twin.ask('r'); });
    munmap(memory, four_gib);
}

void execute()
{
    const char* const arguments[] = {"/bin/echo", "a", nullptr};
    std::string output;
    MIROVAN_COMMAND command{};
    command.nSize = sizeof command;
    command.ppszArguments = arguments;
    command.pfnOutput = [](const char* data, uint64_t length, void* text)
    {
        static_cast<std::string*>(text)->append(data, length);
        return true;
    };
    command.pContext = &output;
    MIROVAN_COMMAND_RESULT result{};
    result.nSize = sizeof result;
    require(Mirovan_Process_Execute(&command, &result) && output == "a\n", "Execute");
}

/// The same with the bare calls.
void execute_bare()
{
    int ends[2];
    require(pipe2(ends, O_CLOEXEC) == 0, "pipe2");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    pid_t child = 0;
    char* arguments[] = {const_cast<char*>("/bin/echo"), const_cast<char*>("a"), nullptr};
    require(posix_spawn(&child, arguments[0], &actions, nullptr, arguments, environ) == 0,
            "posix_spawn");
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    char block[65536];
    std::string output;
    for (ssize_t got = 0; (got = read(ends[0], block, sizeof block)) > 0;)
        output.append(block, static_cast<std::size_t>(got));
    close(ends[0]);
    rusage usage{};
    require(wait4(child, nullptr, 0, &usage) == child && output == "a\n", "wait4");
}

void compare_tables(bench::Table& table)
{
    constexpr int processes = 500;
    std::vector<pid_t> children;
    for (int count = 0; count < processes; ++count)
    {
        children.push_back(fork());
        require(children.back() >= 0, "fork");
        if (children.back() == 0)
            prctl(PR_SET_PDEATHSIG, SIGKILL);
        while (children.back() == 0)
            pause();
    }
    table.compare_short(
        "List of 500 processes / reading stat and statm", 1.2,
        []
        {
            const auto count = [](const MIROVAN_PROCESS_RECORD*, void* total)
            { return ++*static_cast<int*>(total) != 0; };
            int total = 0;
            require(Mirovan_Process_List(count, &total) && total > processes, "List");
        },
        []
        {
            DIR* const folder = opendir("/proc");
            int total = 0;
            while (const dirent* entry = readdir(folder))
            {
                if (std::atoi(entry->d_name) == 0)
                    continue;
                for (const char* name : {"/stat", "/statm"})
                {
                    char text[4096];
                    const std::string path = std::string("/proc/") + entry->d_name + name;
                    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
                    sink = file < 0 ? 0 : read(file, text, sizeof text);
                    close(file);
                }
                ++total;
            }
            closedir(folder);
            require(total > processes, "/proc");
        });
    table.compare_short(
        "mirovan processes of 500, beside ps aux", 1,
        [] {
            bench::run_command({MIROVAN_PROGRAM, "processes"});
        },
        [] {
            bench::run_command({"ps", "aux"});
        });
    for (const pid_t child : children)
    {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
}

/// Between a low limit and the highest that this process may have.
void compare_descriptor_limits(bench::Table& table)
{
    rlimit limit{};
    require(getrlimit(RLIMIT_NOFILE, &limit) == 0, "getrlimit");
    const rlim_t found = limit.rlim_cur;
    const rlim_t low = 256;
    const rlim_t high = limit.rlim_max;
    const auto set = [&limit](rlim_t descriptors)
    {
        limit.rlim_cur = descriptors;
        require(setrlimit(RLIMIT_NOFILE, &limit) == 0, "setrlimit");
    };
    const auto compare = [&](const std::string& name, void (*launch)())
    {
        const auto launch_under = [&set, launch](rlim_t descriptors)
        {
            set(descriptors);
            launch();
        };
        table.compare_short(
            name + ", " + std::to_string(high) + " / " + std::to_string(low) + " descriptors", 1.1,
            [&] { launch_under(high); }, [&] { launch_under(low); });
    };
    compare("CreateProcess", create_process);
    compare("RunProcess", run_process);
    set(found);
}

void compare_stop(bench::Table& table)
{
    // A number of seconds that nothing else on the machine has in its command line.
    const std::string number = "1" + std::to_string(getpid()) + "04711";
    char* arguments[] = {const_cast<char*>("sleep"), const_cast<char*>(number.c_str()), nullptr};
    const auto start = [&]
    {
        pid_t child = 0;
        require(posix_spawn(&child, "/bin/sleep", nullptr, nullptr, arguments, environ) == 0,
                "posix_spawn");
    };
    const std::string pipeline = "ps -aux | grep " + number + " | grep -v grep | awk '{print $2}'";
    table.compare_short(
        "Stop by name / the pipeline, kill, wait", 1.05,
        [&]
        {
            start();
            require(Mirovan_Process_Stop(number.c_str(), 0, false), "Stop");
        },
        [&]
        {
            start();
            std::FILE* stream = popen(pipeline.c_str(), "r");
            char line[64] = "";
            require(std::fgets(line, sizeof line, stream) != nullptr, "pipeline");
            pclose(stream);
            const int child = std::atoi(line);
            require(child > 0 && kill(child, SIGINT) == 0, "kill");
            waitpid(child, nullptr, 0);
        });
}

} // namespace

int main()
{
    std::signal(SIGINT, SIG_DFL);
    bench::Table table{"processes"};
    compare_queries(table);
    table.compare_short("Execute with output / posix_spawn, pipe, wait4", 1.1, execute,
                        execute_bare);
    compare_tables(table);
    compare_launches(table);
    compare_descriptor_limits(table);
    compare_stop(table);
    return table.result();
}
