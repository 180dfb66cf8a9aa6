// Commands that are run: captured, executed, and in a shell with a limit.
#include "tests/support/support.h"

#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// More than any of them takes, whatever else the machine does.
constexpr double late = 30;

double seconds_since(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Whether a process that need not be a child is gone, or will be soon.
bool ends(const std::string& id)
{
    const std::string state = "ps -o state= -p " + id;
    for (int round = 0; round < 1000; ++round, std::this_thread::sleep_for(10ms))
        if (const std::string seen = test::shell_output(state); seen.empty() || seen[0] == 'Z')
            return true;
    return false;
}

bool system_ex(const std::string& command, int limit)
{
    return Mirovan_System_SystemEx(command.c_str(), limit);
}

bool take_any(const char*, int, void*)
{
    return true;
}

/// What both forms of the capture give for a selection; they must agree.
std::string captured(const std::string& command, int count = 0, int start = 0)
{
    std::vector<char> buffer(100'000, '#');
    std::strcpy(buffer.data(), "ab");
    int length = -1;
    EXPECT_SUCCEEDS(
        Mirovan_Process_ReadCmdReturn(command.c_str(), buffer.data(), count, start, &length));
    const std::string text = buffer.data();
    EXPECT_EQ(text.substr(0, 2), "ab");
    EXPECT_EQ(static_cast<std::size_t>(length), text.size() - 2);
    EXPECT_EQ(buffer[text.size() + 1], '#') << "written past the terminator";

    std::string joined;
    const auto take = [](const char* piece, int size, void* context)
    {
        EXPECT_EQ(std::strlen(piece), static_cast<std::size_t>(size));
        EXPECT_LE(size, 2047);
        EXPECT_FALSE(Mirovan_Process_GetPath(nullptr, 0)); // which must not be seen afterwards
        *static_cast<std::string*>(context) += piece;
        return true;
    };
    EXPECT_SUCCEEDS(Mirovan_Process_ReadCmdLines(command.c_str(), count, start, take, &joined));
    EXPECT_EQ(joined, text.substr(2));
    return joined;
}

TEST(Capture, TakesTheSelectedLines)
{
    const std::string two = "printf '123\\n456\\n'";
    const std::string x2047(2047, 'x');
    const std::string x3000 = "printf '%03000d\\nend\\n' 0 | tr 0 x";
    const std::string many = "seq -f '%0.f of a line of text' 1 3000";
    const struct
    {
        std::string command;
        int count;
        int start;
        std::string expected;
    } cases[] = {
        {two, 1, 0, "123\n"},
        {two, 0, 0, "123\n456\n"},
        {two, -1, -5, "123\n456\n"},
        {two, 0, 1, "123\n456\n"},
        {two, 0, 2, "456\n"},
        {two, 1, 2, "456\n"},
        {two, 9, 2, "456\n"},
        {two, 0, 3, ""},
        {two, 0, 2147483647, ""},
        {"true", 0, 0, ""},
        {"exit 3", 0, 0, ""},
        {"no-such-command-mirovan 2>/dev/null", 0, 0, ""},
        {"echo unseen >&2 2>/dev/null; echo seen; false", 0, 0, "seen\n"},
        {"printf 'a\\nb'", 0, 0, "a\nb"},
        {"printf '\\n\\n'", 1, 2, "\n"},
        {"printf 'a\\000b\\n\\000c\\nd\\n'", 0, 0, "ad\n"},
        {"printf 'a\\000b\\n\\000c\\nd\\n'", 1, 2, ""},
        {x3000, 1, 0, x2047},
        {x3000, 1, 2, std::string(953, 'x') + "\n"},
        {x3000, 0, 3, "end\n"},
        {"printf '%02046d\\n' 0 | tr 0 x", 1, 0, x2047.substr(1) + "\n"},
        {"printf '%02047d\\n' 0 | tr 0 x", 0, 2, "\n"},
        {"printf '%02047d' 0 | tr 0 x", 0, 0, x2047},
        {"printf '%02040d\\n%02040dab\\000%02040d\\n\\000c\\nd' 0 0 0 | tr 0 x", 0, 2,
         x2047.substr(7) + "ab" + x2047.substr(11) + "\nd"},
        // Slow output arrives in many small reads.
        {"for i in 1 2 3; do printf $i; sleep 0.01; done; echo", 0, 0, "123\n"},
        {many, 0, 0, test::shell_output(many)},
        {many, 1, 2999, "2999 of a line of text\n"},
        // As given: it is not taken for an option, and the shell counts its lines from the first.
        {"echo \"$PATH\"; echo \"$LC_ALL\"", 0, 0,
         test::shell_output("echo \"$PATH\"; echo \"$LC_ALL\"")},
        {"-c 2>&1", 0, 0, test::shell_output("sh -c -- '-c 2>&1'")},
    };
    for (const auto& [command, count, start, expected] : cases)
        EXPECT_EQ(captured(command, count, start), expected)
            << command << ' ' << count << ' ' << start;
    char buffer[8] = "";
    EXPECT_SUCCEEDS(Mirovan_Process_ReadCmdReturn("echo", buffer, 0, 0, nullptr));
}

TEST(Capture, EndsWhenTheCallerDoes)
{
    std::size_t total = 0;
    const auto count = [](const char*, int size, void* context)
    { return (*static_cast<std::size_t*>(context) += static_cast<std::size_t>(size)) != 6; };
    EXPECT_SUCCEEDS(Mirovan_Process_ReadCmdLines("yes", 0, 0, count, &total));
    EXPECT_EQ(total, 6U);
    EXPECT_SUCCEEDS(Mirovan_Process_ReadCmdLines(
        "yes 'a line of some twenty bytes' | head -c 50000000", 0, 0, count, &(total = 0)));
    EXPECT_EQ(total, 50'000'000U);
    const auto held = test::Held::now();
    const auto take = [](const char*, int, void*) -> bool { throw std::bad_alloc(); };
    EXPECT_FAILS(Mirovan_Process_ReadCmdLines("yes", 0, 0, take, nullptr),
                 ERROR_MIROVAN_PROCESS_ACCESS, ENOMEM);
    EXPECT_EQ(test::Held::now(), held);
}

/// A command with what it printed.
struct Command
{
    explicit Command(const char* line)
    {
        command.lpszShellLine = line;
        command.pfnOutput = [](const char* data, uint64_t length, void* run)
        {
            auto& self = *static_cast<Command*>(run);
            return self.take(self.output, {data, length});
        };
        command.pfnErrors = [](const char* data, uint64_t length, void* run)
        {
            auto& self = *static_cast<Command*>(run);
            return self.take(self.errors, {data, length});
        };
        command.pContext = this;
    }
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    bool execute()
    {
        const auto start = Clock::now();
        const bool executed = Mirovan_Process_Execute(&command, &result);
        seconds = seconds_since(start);
        return executed;
    }
    bool take(std::string& to, std::string_view text)
    {
        EXPECT_FALSE(Mirovan_Process_GetPath(nullptr, 0)); // which must not be seen afterwards
        to += text;
        return on_output ? on_output() : true;
    }

    MIROVAN_COMMAND command = test::sized<MIROVAN_COMMAND>();
    MIROVAN_COMMAND_RESULT result = test::sized<MIROVAN_COMMAND_RESULT>();
    std::string output;
    std::string errors;
    std::function<bool()> on_output;
    double seconds = 0;
};

TEST(Execute, CommandsEndInManyWays)
{
    const char* const arguments[] = {"printf", "a\\000b%s", "'\" $x", nullptr};
    const char* const environment[] = {"ONLY=this", nullptr};
    const std::string much(10'000'000, 'i');
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[1]);
    constexpr int exited = MIROVAN_END_EXITED;
    constexpr int limit = MIROVAN_END_LIMIT;
    constexpr int stopped = MIROVAN_END_STOPPED;
    const struct
    {
        const char* line;
        std::function<void(Command&)> change;
        int end, status, signal;
        double seconds; // At least.
        std::string output = "";
        std::string errors = "";
    } cases[] = {
        {nullptr, [&](auto& c) { c.command.ppszArguments = arguments; }, exited, 0, 0, 0,
         std::string("a\0b'\" $x", 8)},
        {"echo out; echo err >&2; exit 3", {}, exited, 3, 0, 0, "out\n", "err\n"},
        {"echo a; echo b >&2; echo c",
         [](auto& c) { c.command.nFlags = MIROVAN_COMMAND_MERGE, c.command.pfnErrors = nullptr; },
         exited, 0, 0, 0, "a\nb\nc\n"},
        {"kill -USR1 $$", {}, MIROVAN_END_SIGNALLED, 0, SIGUSR1, 0},
        {"exec sleep 60", [](auto& c) { c.command.nLimitMs = 200; }, limit, 0, SIGTERM, 0.2},
        {"trap '' TERM; echo t; while :; do sleep 0.01; done",
         [](auto& c) { c.command.nLimitMs = 100, c.command.nGraceMs = 150; }, limit, 0, SIGKILL,
         0.25, "t\n"},
        {"exec sleep 60", [](auto& c) { c.command.nLimitMs = 50, c.command.nGraceMs = -1; }, limit,
         0, SIGKILL, 0.05},
        {"exec 2>/dev/null; trap 'echo late; exit 7' TERM; while :; do sleep 0.01; done",
         [](auto& c) { c.command.nLimitMs = 100; }, limit, 7, 0, 0.1, "late\n"},
        {"exec >&- 2>&-; sleep 0.2; exit 5", {}, exited, 5, 0, 0.2},
        {"pwd; cat; env | grep ONLY",
         [&](auto& c)
         {
             c.command.lpszFolder = "/usr", c.command.pInput = "in\0put\n";
             c.command.nInputLen = 7, c.command.ppszEnvironment = environment;
         },
         exited, 0, 0, 0, std::string("/usr\nin\0put\nONLY=this\n", 22)},
        {"cat; exit 9", {}, exited, 9, 0, 0}, // from /dev/null
        {"head -c 3",
         [&](auto& c) { c.command.pInput = much.data(), c.command.nInputLen = much.size(); },
         exited, 0, 0, 0, "iii"},
        {"-x 2>/dev/null || ps -o pgid= -p $$ | grep -cw $$", {}, exited, 0, 0, 0, "1\n"},
        {"echo a; sleep 60", [](auto& c) { c.on_output = [] { return false; }; }, stopped, 0,
         SIGTERM, 0, "a\n"},
        {"sleep 60",
         [&](auto& c)
         { c.command.nFlags = MIROVAN_COMMAND_STOP, c.command.nStopDescriptor = ends[0]; },
         stopped, 0, SIGTERM, 0},
        {"echo a; sleep 60",
         [](auto& c)
         {
             c.on_output = [] { return std::this_thread::sleep_for(300ms), true; };
             c.command.nLimitMs = 100;
         },
         limit, 0, SIGTERM, 0.3, "a\n"},
    };
    const auto held = test::Held::now();
    for (const auto& known : cases)
    {
        const std::string name = known.line == nullptr ? "printf" : known.line;
        Command run{known.line};
        if (known.change)
            known.change(run);
        EXPECT_SUCCEEDS(run.execute()) << name;
        EXPECT_EQ(run.result.nEnd, known.end) << name;
        EXPECT_EQ(run.result.nExitStatus, known.status) << name;
        EXPECT_EQ(run.result.nSignal, known.signal) << name;
        EXPECT_EQ(run.output, known.output) << name;
        EXPECT_EQ(run.errors, known.errors) << name;
        const double wall = static_cast<double>(run.result.nWallTime) / 1e9;
        EXPECT_GE(wall, known.seconds) << name;
        EXPECT_LE(wall, run.seconds) << name;
        EXPECT_LT(run.seconds, late) << name;
        EXPECT_TRUE(run.result.nKnown & MIROVAN_RESULT_STATUS) << name;
    }
    Command throwing{"echo a; sleep 60"};
    throwing.on_output = []() -> bool { throw std::bad_alloc{}; };
    EXPECT_FAILS(throwing.execute(), ERROR_MIROVAN_PROCESS_EXECUTE_FAILED, ENOMEM);
    EXPECT_EQ(test::Held::now(), held);
    close(ends[0]);
}

TEST(Execute, MuchInAllDirectionsAtOnce)
{
    const std::string input(10'000'000, 'i');
    Command run{"exec 3<&0; wc -c <&3 & head -c 100000000 /dev/zero & "
                "head -c 100000000 /dev/zero >&2; wait"};
    run.command.pInput = input.data();
    run.command.nInputLen = input.size();
    EXPECT_SUCCEEDS(run.execute());
    EXPECT_EQ(run.output.size(), 100'000'000U + sizeof "10000000\n" - 1);
    EXPECT_EQ(run.errors, std::string(100'000'000, '\0'));
}

TEST(Execute, ALimitEndsTheWholeCommand)
{
    Command limited{"(trap '' TERM; sleep 300; sleep 300) & echo $!; wait"};
    limited.command.nLimitMs = 100;
    EXPECT_SUCCEEDS(limited.execute());
    EXPECT_TRUE(ends(limited.output.substr(0, limited.output.find('\n'))));
}

TEST(Execute, WhatCannotBeStartedOrIsInvalid)
{
    const test::Environment path{"PATH", "/usr/bin:/bin"};
    const test::Scratch scratch;
    const std::string plain = scratch.file("plain");
    const char* const missing[] = {"no-such-program-mirovan", nullptr};
    const char* const forbidden[] = {plain.c_str(), nullptr};
    const char* const fine[] = {"true", nullptr};
    const char* const none[] = {nullptr};
    constexpr auto start = ERROR_MIROVAN_PROCESS_EXECUTE_FAILED;
    constexpr auto parameter = ERROR_MIROVAN_PROCESS_PARAMETER;
    const struct
    {
        const char* const* arguments;
        std::function<void(MIROVAN_COMMAND&)> change;
        uint64_t code;
        int reason;
    } cases[] = {{missing, [](auto&) {}, start, ENOENT},
                 {forbidden, [](auto&) {}, start, EACCES},
                 {fine, [](auto& c) { c.lpszFolder = "/no/such"; }, start, ENOENT},
                 {nullptr, [](auto&) {}, parameter, EINVAL},
                 {none, [](auto&) {}, parameter, EINVAL},
                 {none, [](auto& c) { c.lpszShellLine = "true"; }, parameter, EINVAL},
                 {fine, [](auto& c) { c.lpszShellLine = "true"; }, parameter, EINVAL},
                 {fine, [](auto& c) { c.nFlags = 4; }, parameter, EINVAL},
                 {fine, [](auto& c) { c.nLimitMs = -1; }, parameter, EINVAL},
                 {fine, [](auto& c) { c.nInputLen = 1; }, parameter, EINVAL},
                 {fine, [](auto& c) { c.nFlags = MIROVAN_COMMAND_MERGE; }, parameter, EINVAL},
                 {fine, [](auto& c) { c.nSize = sizeof c - 1; }, parameter, EINVAL}};
    for (const auto& known : cases)
    {
        Command run{nullptr};
        run.command.ppszArguments = known.arguments;
        known.change(run.command);
        EXPECT_FAILS(run.execute(), known.code, known.reason) << &known - cases;
        EXPECT_EQ(run.result.nWallTime, 0U);
    }
}

TEST(Execute, OnManyThreadsHoweverTheCallerTreatsItsChildren)
{
    const auto reap = [](int)
    {
        const int saved_errno = errno;
        while (waitpid(-1, nullptr, WNOHANG) > 0)
            continue;
        errno = saved_errno;
    };
    const auto execute_many = []
    {
        for (int round = 0; round < 6; ++round)
        {
            // It ends when it is watched: its input comes then.
            Command run{"ls /proc/self/fd | tr '\\n' ' '; read -r line; exit 4"};
            run.command.pInput = "end\n";
            run.command.nInputLen = 4;
            EXPECT_TRUE(run.execute());
            EXPECT_EQ(run.output, "0 1 2 3 ");
            EXPECT_EQ(run.result.nEnd, MIROVAN_END_EXITED);
            EXPECT_EQ(run.result.nExitStatus, 4);
        }
    };
    for (void (*const treat)(int) : {SIG_DFL, SIG_IGN, +reap})
        test::in_child(
            [&]
            {
                // A descriptor that would be inherited.
                ASSERT_GE(dup(STDERR_FILENO), 0);
                std::signal(SIGCHLD, treat);
                const auto held = test::Held::now();
                std::vector<std::thread> threads;
                for (int thread = 0; thread < 8; ++thread)
                    threads.emplace_back(execute_many);
                for (std::thread& thread : threads)
                    thread.join();
                EXPECT_EQ(test::Held::now(), held);
            });
}

TEST(Execute, ReportsWhatTheCommandUsed)
{
    test::in_child(
        []
        {
            Command run{"x=$(head -c 100000000 /dev/zero | tr '\\000' x); echo ${#x}"};
            EXPECT_SUCCEEDS(run.execute());
            EXPECT_EQ(run.output, "100000000\n");
            EXPECT_EQ(run.result.nKnown, MIROVAN_RESULT_STATUS | MIROVAN_RESULT_WALL_TIME |
                                             MIROVAN_RESULT_PROCESSOR_TIME |
                                             MIROVAN_RESULT_PEAK_MEMORY);
            EXPECT_GT(run.result.nPeakMemory, 100'000'000U);
            EXPECT_LT(run.result.nPeakMemory, 1'000'000'000U);
            // What the children of this one used, to the microsecond.
            rusage used{};
            getrusage(RUSAGE_CHILDREN, &used);
            const auto nanoseconds = [](const timeval& time)
            { return static_cast<uint64_t>(time.tv_sec * 1'000'000 + time.tv_usec) * 1000; };
            EXPECT_EQ(run.result.nUserTime, nanoseconds(used.ru_utime));
            EXPECT_EQ(run.result.nSystemTime, nanoseconds(used.ru_stime));
            EXPECT_GT(run.result.nUserTime + run.result.nSystemTime, 10'000'000U);
        });
}

TEST(Wait, ReapsAChildWithinALimit)
{
    auto result = test::sized<MIROVAN_COMMAND_RESULT>();
    const struct
    {
        const char* line;
        int end, status, signal;
    } cases[] = {{"sleep 0.2; exit 5", MIROVAN_END_EXITED, 5, 0},
                 {"sleep 0.2; kill -9 $$", MIROVAN_END_SIGNALLED, 0, SIGKILL}};
    for (const auto& [line, end, status, signal] : cases)
    {
        unsigned long id = 0;
        const test::Scratch scratch;
        const std::string script = scratch.file("script", std::string("#!/bin/sh\n") + line);
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        ASSERT_TRUE(Mirovan_Process_CreateProcess(&id, script.c_str(), nullptr, false));
        const int child = static_cast<int>(id);
        EXPECT_SUCCEEDS(Mirovan_Process_Wait(child, 0, &result));
        EXPECT_EQ(result.nEnd, MIROVAN_END_RUNNING);
        EXPECT_EQ(result.nKnown, 0U);
        EXPECT_SUCCEEDS(Mirovan_Process_Wait(child, 100'000, &result));
        EXPECT_EQ(result.nProcessId, child);
        EXPECT_EQ(result.nEnd, end);
        EXPECT_EQ(result.nExitStatus, status);
        EXPECT_EQ(result.nSignal, signal);
        EXPECT_FAILS(Mirovan_Process_Wait(child, -1, &result), ERROR_MIROVAN_PROCESS_WAIT_FAILED,
                     ECHILD);
    }
    EXPECT_FAILS(Mirovan_Process_Wait(1, 0, &result), ERROR_MIROVAN_PROCESS_WAIT_FAILED, ECHILD);
}

TEST(SystemEx, RunsTheCommandHoweverItEnds)
{
    const test::Scratch scratch;
    const std::string marker = scratch / "marker";
    const auto start = Clock::now();
    EXPECT_SUCCEEDS(system_ex("echo \"$0\" >'" + marker + "'; exit 3", 60));
    EXPECT_EQ(test::read_file(marker), "sh\n");
    for (const char* command : {"no-such-command-mirovan 2>/dev/null", "kill -9 $$", ""})
        EXPECT_SUCCEEDS(system_ex(command, 60));
    EXPECT_SUCCEEDS(system_ex("-c 2>/dev/null; echo minus >'" + marker + "'", 60));
    EXPECT_EQ(test::read_file(marker), "minus\n");
    EXPECT_LT(seconds_since(start), late) << "it waited for the limit";
}

TEST(SystemEx, KillsAndReapsWhatOutlivesTheLimit)
{
    const test::Scratch scratch;
    const std::string marker = scratch / "pid";
    for (const int limit : {1, 0, -1, INT32_MIN})
    {
        const auto held = test::Held::now();
        const auto start = Clock::now();
        EXPECT_SUCCEEDS(system_ex("echo $$ >'" + marker + "'; exec sleep 60", limit));
        EXPECT_GE(seconds_since(start), limit);
        EXPECT_LT(seconds_since(start), late);
        EXPECT_EQ(test::Held::now(), held) << limit;
        if (limit > 0)
        {
            EXPECT_TRUE(ends(test::read_file(marker)));
        }
    }
}

TEST(SystemEx, CallsOnTwoThreadsRestoreTheSignalsOnce)
{
    test::in_child(
        []
        {
            std::signal(SIGINT, [](int) {});
            std::signal(SIGQUIT, SIG_IGN);
            const auto held = test::Held::now();
            const auto check = [](const char* command) { EXPECT_TRUE(system_ex(command, 60)); };
            std::thread first{check, "sleep 0.2"};
            std::this_thread::sleep_for(100ms);
            std::thread second{check, "sleep 0.2; kill -INT $PPID"};
            first.join();
            second.join();
            EXPECT_EQ(test::Held::now(), held);
        });
}

TEST(SystemEx, TheCallerIgnoresInterruptsMeanwhile)
{
    test::in_child(
        []
        {
            static volatile sig_atomic_t interrupts = 0;
            std::signal(SIGINT, [](int) { interrupts = interrupts + 1; });
            EXPECT_SUCCEEDS(system_ex("kill -INT $PPID; kill -QUIT $PPID; exit 0", 60));
            EXPECT_EQ(interrupts, 0);
            raise(SIGINT);
            EXPECT_EQ(interrupts, 1);
        });
}

/// Every way to run a command line.
const std::pair<const char*, bool (*)(const char*)> ways[] = {
    {"SystemEx", [](const char* line) { return Mirovan_System_SystemEx(line, 100); }},
    {"ReadCmdLines",
     [](const char* line) { return Mirovan_Process_ReadCmdLines(line, 1, 0, take_any, nullptr); }},
    {"Execute", [](const char* line) { return Command{line}.execute(); }},
};

TEST(Commands, HaveTheCallersSignals)
{
    const test::Scratch scratch;
    const std::string seen = scratch / "status";
    const std::string line = "exec grep -E '^Sig(Blk|Ign)' /proc/self/status >" + seen;
    for (const auto& way : ways)
        test::in_child(
            [&]
            {
                // Those with a handler are at their default in a program, and all else is kept.
                std::signal(SIGINT, SIG_IGN);
                std::signal(SIGHUP, SIG_IGN);
                std::signal(SIGQUIT, [](int) {});
                std::signal(SIGUSR1, [](int) {});
                sigset_t mask;
                sigemptyset(&mask);
                sigaddset(&mask, SIGUSR2);
                sigprocmask(SIG_SETMASK, &mask, nullptr);
                const std::string expected =
                    test::shell_output("exec grep -E '^Sig(Blk|Ign)' /proc/self/status");
                const auto held = test::Held::now();
                EXPECT_SUCCEEDS(way.second(line.c_str())) << way.first;
                EXPECT_EQ(test::Held::now(), held) << way.first;
                EXPECT_EQ(test::read_file(seen), expected) << way.first;
            });
}

TEST(Commands, AreNotHeldUpByWhatTheyLeaveInTheBackground)
{
    const test::Scratch scratch;
    const std::string line = "sleep 300 & echo $! >" + (scratch / "pid") + "; echo";
    for (const auto& [name, run] : ways)
    {
        const auto start = Clock::now();
        EXPECT_SUCCEEDS(run(line.c_str())) << name;
        EXPECT_LT(seconds_since(start), late) << name;
        EXPECT_EQ(kill(std::stoi(test::read_file(scratch / "pid")), SIGKILL), 0) << name;
    }
}

TEST(Commands, HardlyUseTheProcessorWhileTheyAreWaitedFor)
{
    for (const auto& [name, run] : ways)
    {
        timespec before{};
        timespec after{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
        EXPECT_SUCCEEDS(run("sleep 0.5"));
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
        const auto used = static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e9 +
                          static_cast<double>(after.tv_sec - before.tv_sec);
        EXPECT_LT(used, 0.1) << name;
    }
}

} // namespace
