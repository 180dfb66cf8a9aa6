#include "tests/faults/operations.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// These take the place of the C library's for the whole program, which runs without privileges
// besides: nothing here may halt a machine.
#pragma GCC visibility push(default)
extern "C"
{
    int stand_in_reboot(int command) __asm__("reboot");
    void stand_in_sync() __asm__("sync");
    int stand_in_posix_spawn(pid_t* child, const char* program,
                             const posix_spawn_file_actions_t* actions,
                             const posix_spawnattr_t* attributes, char* const* arguments,
                             char* const* environment) __asm__("posix_spawn");
    int stand_in_getlogin_r(char* name, std::size_t size) __asm__("getlogin_r");
}
int stand_in_reboot(int /*command*/)
{
    return 0;
}
void stand_in_sync() {}
int stand_in_posix_spawn(pid_t* child, const char* program,
                         const posix_spawn_file_actions_t* actions,
                         const posix_spawnattr_t* attributes, char* const* arguments,
                         char* const* environment)
{
    // Without PATH a shell would find the machine's own commands. One that finds none ends so.
    static auto* const real =
        reinterpret_cast<decltype(&stand_in_posix_spawn)>(dlsym(RTLD_NEXT, "posix_spawn"));
    const bool is_line =
        arguments[1] != nullptr && arguments[2] != nullptr && std::strcmp(arguments[2], "--") == 0;
    const std::string line = is_line ? arguments[3] : "";
    const char* const not_found[] = {"sh", "-c", "exit 127", nullptr};
    for (const char* name : {"pkill", "xset", "gnome-screensaver-command"})
        if (std::getenv("PATH") == nullptr && line.starts_with(name))
            arguments = const_cast<char* const*>(not_found);
    return real(child, program, actions, attributes, arguments, environment);
}
int stand_in_getlogin_r(char* /*name*/, std::size_t /*size*/)
{
    return ENOTTY;
}
#pragma GCC visibility pop

namespace
{

using test::Held;
using test::Operation;
using test::require;
using test::World;

/// What surroundings may do to an outcome.
enum class Effect
{
    none,        ///< Every operation does its work.
    on_commands, ///< What programs on PATH answer is theirs.
    on_answers,  ///< Operations fail in a defined way, and answers may lack parts.
};

/// What can be unusual about the place in which an operation is made.
struct Surroundings
{
    const char* name;
    Effect effect;
    std::function<void(World&)> enter = {};
    std::function<void()> leave = {};
    std::function<void(World&)> before_preparing = {};
    bool can_look = true; ///< What the process holds can be told from within.
};

/// Standard input, output and error, out of the way.
std::vector<int> put_away;

void close_standard_streams(World&)
{
    constexpr int high = 200;
    for (const int stream : {0, 1, 2})
    {
        put_away.push_back(fcntl(stream, F_DUPFD_CLOEXEC, high));
        require(put_away.back() >= 0);
        close(stream);
    }
}

void give_back_standard_streams()
{
    for (const int stream : {0, 1, 2})
        dup2(put_away[static_cast<std::size_t>(stream)], stream);
}

void set_limit(__rlimit_resource what, rlim_t limit)
{
    rlimit both{};
    getrlimit(what, &both);
    both.rlim_cur = limit;
    require(setrlimit(what, &both) == 0);
}

std::vector<int> opened;

void open_many(World&)
{
    constexpr int limit = 1024;
    constexpr int left = 4;
    set_limit(RLIMIT_NOFILE, limit);
    while (opened.empty() || opened.back() < limit - left - 1)
    {
        opened.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
        require(opened.back() >= 0);
    }
}

void close_many()
{
    for (const int descriptor : opened)
        close(descriptor);
}

[[maybe_unused]] void limit_address_space(std::size_t spare)
{
    std::ifstream statistics{"/proc/self/statm"};
    std::size_t pages = 0;
    statistics >> pages;
    set_limit(RLIMIT_AS, pages * static_cast<std::size_t>(getpagesize()) + spare);
}

void set_variable(const char* name, const std::string& value)
{
    require(setenv(name, value.c_str(), 1) == 0);
}

/// Programs of the names that the library asks for, which do what they should not.
void mislead(World& world, const std::string& script)
{
    const std::string folder = world.work() + "-hostile";
    std::filesystem::create_directory(folder);
    for (const char* name : {"ps", "awk", "grep", "system_profiler", "ioreg", "head", "sed", "xxd",
                             "xset", "pkill", "gnome-screensaver-command", "sleep"})
    {
        std::ofstream{folder + "/" + name} << "#!/bin/sh\n" << script << "\n";
        std::filesystem::permissions(folder + "/" + name, std::filesystem::perms{0755});
    }
    set_variable("PATH", folder);
}

void mount_small_volume(World& world)
{
    test::enter_namespaces();
    require(mount("none", world.work().c_str(), "tmpfs", 0, "size=256k") == 0);
}

void fill_volume(World& world)
{
    const int file = open((world.work() + "/filler").c_str(), O_WRONLY | O_CLOEXEC);
    const std::string block(4096, 'x');
    while (write(file, block.data(), block.size()) > 0)
        ;
    close(file);
}

void make_read_only(World& world)
{
    require(mount("none", world.work().c_str(), "none", MS_REMOUNT | MS_RDONLY, nullptr) == 0);
}

/// Threads that start processes all the time.
std::vector<std::thread> forking;
std::atomic<bool> enough;

void fork_on_many_threads(World&)
{
    enough = false;
    for (int i = 0; i < 4; ++i)
        forking.emplace_back(
            []
            {
                while (!enough)
                {
                    const pid_t child = fork();
                    // Not the end of this program, at which what the other threads had in hand
                    // would be taken for a leak.
                    if (child == 0 && execl("/bin/true", "true", nullptr) != 0)
                        _exit(1);
                    waitpid(child, nullptr, 0);
                }
            });
}

void stop_forking()
{
    enough = true;
    for (std::thread& thread : forking)
        thread.join();
    forking.clear();
}

struct sigaction earlier_action = {};

void set_action(int number, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    require(sigaction(number, &action, &earlier_action) == 0);
}

void set_timer(suseconds_t time)
{
    const itimerval timer{{0, 0}, {0, time}};
    setitimer(ITIMER_REAL, &timer, nullptr);
}

/// The kernel starts fork() anew for every signal: a pause now and then lets it end on slow machines.
void take_signal(int /*number*/)
{
    static unsigned taken = 0;
    set_timer(++taken % 8 == 0 ? 50'000 : 500);
}

void interrupt_all_the_time(World&)
{
    set_action(SIGALRM, take_signal);
    set_timer(500);
}

void end_interruptions()
{
    // A signal that is on its way would start the timer again.
    set_action(SIGALRM, SIG_IGN);
    set_timer(0);
}

void enter_folder(World& world, bool stays)
{
    const std::string folder = world.work() + "-current-" + std::to_string(getpid());
    std::filesystem::create_directory(folder);
    std::filesystem::current_path(folder);
    if (stays)
        std::filesystem::permissions(folder, std::filesystem::perms::none);
    else
        std::filesystem::remove(folder);
}

std::vector<Surroundings> all_surroundings()
{
    constexpr Effect none = Effect::none;
    constexpr Effect answers = Effect::on_answers;
    const auto misled = [](const char* script) { return [=](World& w) { mislead(w, script); }; };
    const auto small_stack = [](World&) { set_limit(RLIMIT_STACK, rlim_t{256} * 1024); };
    const auto odd_variables = [](World&)
    {
        set_variable("IFS", "0123456789/ e");
        set_variable("LANG", "xx_YY.no-such-charset");
        set_variable("LC_ALL", "de_DE.UTF-8");
    };
    const auto hide_proc = [](World&)
    { require(mount("none", "/proc", "tmpfs", 0, nullptr) == 0); };
    std::vector<Surroundings> all = {
        {"NothingUnusual", none},
        {"StandardStreamsClosed", none, close_standard_streams, give_back_standard_streams},
        {"FourDescriptorsLeft", none, open_many, close_many},
        {"UnsearchableCurrentFolder", none, [](World& w) { enter_folder(w, true); }},
        {"DeletedCurrentFolder", none, [](World& w) { enter_folder(w, false); }},
        {"NoPath", Effect::on_commands, [](World&) { unsetenv("PATH"); }},
        {"SilentCommands", Effect::on_commands, misled("exit 3")},
        {"EndlessLine", Effect::on_commands,
         misled("/usr/bin/head -c 300000 /dev/zero | /usr/bin/tr '\\0' 9")},
        {"BinaryOutput", Effect::on_commands, misled("/usr/bin/head -c 100000 /dev/urandom")},
        {"DyingCommands", Effect::on_commands, misled("kill -9 $$")},
        // system() cannot tell then how a command ended.
        {"ChildSignalIgnored", Effect::on_commands, [](World&) { set_action(SIGCHLD, SIG_IGN); }},
        {"BrokenPipeKills", none, [](World&) { set_action(SIGPIPE, SIG_DFL); }},
        {"SmallStack", none, small_stack},
        {"OddSeparatorsAndLanguage", none, odd_variables},
        {"FullDisk", answers, fill_volume, {}, mount_small_volume},
        {"ReadOnlyDisk", answers, make_read_only, {}, mount_small_volume},
        {"NoProc", answers, hide_proc, [] { require(umount("/proc") == 0); },
         [](World&) { test::enter_namespaces(); }, false},
        {"ManyThreadsForking", none, fork_on_many_threads, stop_forking, {}, false},
        {"SignalsAllTheTime", none, interrupt_all_the_time, end_interruptions, {}, false},
    };
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // A sanitizer needs an address space without limit.
    const auto unlimited = [] { set_limit(RLIMIT_AS, RLIM_INFINITY); };
    const auto limited = [](std::size_t spare)
    { return [=](World&) { limit_address_space(spare); }; };
    all.push_back({"NoMoreMemory", answers, limited(0), unlimited, {}, false});
    all.push_back({"LittleMemory", answers, limited(128UL * 1024), unlimited, {}, false});
    all.push_back({"SomeMemory", answers, limited(1024UL * 1024), unlimited, {}, false});
#endif
    return all;
}

void PrintTo(const Surroundings& where, std::ostream* out)
{
    *out << where.name;
}

class Hostile : public testing::TestWithParam<Surroundings>
{
};

/// In a child process of its own, which hangs for no longer than this.
void try_operation(World& world, const Surroundings& where, const Operation& operation)
{
    constexpr unsigned limit = 60;
    alarm(limit);
    prctl(PR_SET_DUMPABLE, 1);
    if (where.before_preparing)
        where.before_preparing(world);
    world.prepare(operation);
    if (where.enter)
        where.enter(world);
    const Held before = where.can_look ? Held::now() : Held{};
    const test::Outcome outcome = test::call(operation);
    const Held after = where.can_look ? Held::now() : Held{};
    if (where.leave)
        where.leave();

    const bool lacking = where.effect == Effect::on_answers;
    const faults::Report hit = {.fired = lacking ? 1U : 0U, .error = lacking ? EACCES : 0};
    EXPECT_EQ(world.judge(operation, outcome, hit, where.effect != Effect::on_commands), "")
        << operation.name;
    EXPECT_TRUE(outcome.result != operation.refuses || where.effect == Effect::on_answers ||
                (operation.asks_commands && where.effect == Effect::on_commands))
        << operation.name << " fails: " << std::strerror(outcome.system_errno);
    EXPECT_EQ(before.descriptors, after.descriptors) << operation.name;
    EXPECT_TRUE(before.signals == after.signals || operation.resets_child_signal) << operation.name;
    world.release(operation);
}

TEST_P(Hostile, GivesARightAnswerOrADefinedFailure)
{
    World world;
    for (const Operation& operation : world.operations())
        test::as_ordinary_user([&] { try_operation(world, GetParam(), operation); });
}

INSTANTIATE_TEST_SUITE_P(Surroundings, Hostile, testing::ValuesIn(all_surroundings()),
                         [](const auto& where) { return std::string{where.param.name}; });

} // namespace
