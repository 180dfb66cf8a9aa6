#include "tests/support/support.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

using Clock = std::chrono::steady_clock;

bool run(const std::string& command, int limit)
{
    return Mirovan_System_SystemEx(command.c_str(), limit);
}

/// Whether a process exists and is no zombie.
bool lives(pid_t process)
{
    const std::string stat = test::read_file("/proc/" + std::to_string(process) + "/stat");
    const std::size_t name_end = stat.rfind(')');
    return name_end != std::string::npos && stat[name_end + 2] != 'Z';
}

TEST(SystemEx, RunsTheCommandHoweverItEnds)
{
    const test::Scratch scratch;
    const std::string marker = scratch / "marker";
    const auto held = test::Held::now();
    const auto start = Clock::now();
    EXPECT_SUCCEEDS(run("echo \"$0\" >'" + marker + "'; exit 3", 10));
    EXPECT_EQ(test::read_file(marker), "sh\n");
    EXPECT_SUCCEEDS(run("no-such-command-mirovan 2>/dev/null", 10));
    EXPECT_SUCCEEDS(run("kill -9 $$", 10));
    EXPECT_SUCCEEDS(run("", 10));
    EXPECT_SUCCEEDS(run("-c 2>/dev/null; echo minus >'" + marker + "'", 10));
    EXPECT_EQ(test::read_file(marker), "minus\n");
    EXPECT_LT(Clock::now() - start, std::chrono::seconds{5}) << "it waited for the limit";
    EXPECT_EQ(test::Held::now(), held);
}

TEST(SystemEx, KillsAndReapsWhatOutlivesTheLimit)
{
    const test::Scratch scratch;
    const std::string marker = scratch / "pid";
    for (const int limit : {1, 0, -1, INT32_MIN})
    {
        const auto held = test::Held::now();
        const auto start = Clock::now();
        EXPECT_SUCCEEDS(run("echo $$ >'" + marker + "'; exec sleep 60", limit));
        const std::chrono::duration<double> taken = Clock::now() - start;
        EXPECT_GE(taken.count(), limit);
        EXPECT_LT(taken.count(), std::max(limit, 0) + 0.5) << "50 ms on a machine that is idle";
        EXPECT_EQ(test::Held::now(), held) << limit;
        if (limit > 0)
        {
            EXPECT_FALSE(lives(std::stoi(test::read_file(marker))));
        }
    }
}

TEST(SystemEx, CallsAtTheSameTimeRestoreTheSignalsOnce)
{
    test::in_child(
        []
        {
            std::signal(SIGINT, [](int) {});
            std::signal(SIGQUIT, SIG_IGN);
            const auto held = test::Held::now();
            const auto check = [](const char* command) { EXPECT_TRUE(run(command, 10)); };
            std::thread first{check, "sleep 0.2"};
            std::this_thread::sleep_for(std::chrono::milliseconds{100});
            std::thread second{check, "sleep 0.2; kill -INT $PPID"};
            first.join();
            second.join();
            EXPECT_EQ(test::Held::now(), held);
        });
}

TEST(SystemEx, IsNotHeldUpByWhatTheShellLeavesBehind)
{
    const test::Scratch scratch;
    const auto start = Clock::now();
    EXPECT_SUCCEEDS(run("sleep 300 & echo $! >'" + (scratch / "pid") + "'", 100));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds{50});
    const pid_t background = std::stoi(test::read_file(scratch / "pid"));
    EXPECT_EQ(kill(background, SIGKILL), 0);
}

TEST(SystemEx, TheCommandHasTheCallersSignals)
{
    const test::Scratch scratch;
    const std::string seen = scratch / "status";
    const std::string command = "exec grep -E '^Sig(Blk|Ign)' /proc/self/status >'" + seen + "'";
    test::in_child(
        [&]
        {
            std::signal(SIGINT, SIG_IGN);
            std::signal(SIGQUIT, [](int) {});
            sigset_t mask;
            sigemptyset(&mask);
            sigaddset(&mask, SIGUSR2);
            sigprocmask(SIG_SETMASK, &mask, nullptr);
            const auto held = test::Held::now();
            EXPECT_SUCCEEDS(run(command, 10));
            EXPECT_EQ(test::Held::now(), held);
        });
    const auto bits = [&](const char* key)
    {
        const std::string text = test::read_file(seen);
        return std::stoull(text.substr(text.find(key) + std::strlen(key)), nullptr, 16);
    };
    const auto bit = [](int number) { return 1ULL << static_cast<unsigned>(number - 1); };
    EXPECT_EQ(bits("SigBlk:"), bit(SIGUSR2));
    EXPECT_TRUE(bits("SigIgn:") & bit(SIGINT));
    EXPECT_FALSE(bits("SigIgn:") & bit(SIGQUIT));
}

TEST(SystemEx, TheCallerIgnoresInterruptsMeanwhile)
{
    test::in_child(
        []
        {
            static volatile sig_atomic_t interrupts = 0;
            std::signal(SIGINT, [](int) { interrupts = interrupts + 1; });
            EXPECT_SUCCEEDS(run("kill -INT $PPID; kill -QUIT $PPID; exit 0", 10));
            EXPECT_EQ(interrupts, 0);
            raise(SIGINT);
            EXPECT_EQ(interrupts, 1);
        });
}

TEST(SystemEx, DoesNotNeedTheChildsStatus)
{
    test::in_child(
        []
        {
            std::signal(SIGCHLD, SIG_IGN);
            EXPECT_SUCCEEDS(run("exit 1", 10));
            EXPECT_SUCCEEDS(run("exec sleep 60", 0));
            EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        });
}

TEST(SystemEx, SurvivesSignalsThatInterruptIt)
{
    const test::Scratch scratch;
    test::in_child(
        [&]
        {
            struct sigaction action = {};
            action.sa_handler = [](int) {};
            sigaction(SIGALRM, &action, nullptr);
            const itimerval every = {{0, 500}, {0, 500}};
            setitimer(ITIMER_REAL, &every, nullptr);
            for (int round = 0; round < 10; ++round)
                EXPECT_SUCCEEDS(run("sleep 0.02; echo x >>'" + (scratch / "x") + "'", 10));
            EXPECT_EQ(test::read_file(scratch / "x").size(), 20U);
            EXPECT_SUCCEEDS(run("exec sleep 60", 0));
            EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        });
}

TEST(SystemEx, RestoresEverythingWhenTheShellCannotBeStarted)
{
    test::as_ordinary_user(
        []
        {
            std::signal(SIGINT, [](int) {});
            const auto held = test::Held::now();
            const rlimit none = {0, 0};
            ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
            EXPECT_FAILS(run("true", 10), ERROR_MIROVAN_SYSTEM_SYSTEMEX_FORK, EAGAIN);
            EXPECT_EQ(test::Held::now(), held);
        });
}

TEST(SystemEx, HardlyUsesTheProcessorWhileItWaits)
{
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_THREAD, &before);
    EXPECT_SUCCEEDS(run("sleep 1", 10));
    getrusage(RUSAGE_THREAD, &after);
    const auto used = [](const rusage& usage)
    {
        return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
               static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    };
    EXPECT_LT(used(after) - used(before), 0.1);
}

} // namespace
