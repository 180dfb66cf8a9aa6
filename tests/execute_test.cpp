#include "tests/support/support.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// A command with what it printed.
struct Command
{
    explicit Command(const char* line)
    {
        command.lpszShellLine = line;
        command.pfnOutput = [](const char* data, uint64_t length, void* run) {
            return static_cast<Command*>(run)->take(static_cast<Command*>(run)->output,
                                                    {data, length});
        };
        command.pfnErrors = [](const char* data, uint64_t length, void* run) {
            return static_cast<Command*>(run)->take(static_cast<Command*>(run)->errors,
                                                    {data, length});
        };
        command.pContext = this;
    }
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    bool execute()
    {
        const auto start = Clock::now();
        const bool executed = Mirovan_Process_Execute(&command, &result);
        seconds = std::chrono::duration<double>(Clock::now() - start).count();
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
    const struct
    {
        const char* line;
        std::function<void(MIROVAN_COMMAND&)> change;
        int end, status, signal;
        double seconds; // At least.
        std::string output;
        std::string errors = "";
    } cases[] = {
        {nullptr, [&](auto& c) { c.ppszArguments = arguments; }, MIROVAN_END_EXITED, 0, 0, 0,
         std::string("a\0b'\" $x", 8)},
        {"echo out; echo err >&2; exit 3", {}, MIROVAN_END_EXITED, 3, 0, 0, "out\n", "err\n"},
        {"echo a; echo b >&2; echo c",
         [](auto& c) { c.nFlags = MIROVAN_COMMAND_MERGE, c.pfnErrors = nullptr; },
         MIROVAN_END_EXITED, 0, 0, 0, "a\nb\nc\n"},
        {"kill -USR1 $$", {}, MIROVAN_END_SIGNALLED, 0, SIGUSR1, 0, ""},
        {"exec sleep 60", [](auto& c) { c.nLimitMs = 200; }, MIROVAN_END_LIMIT, 0, SIGTERM, 0.2,
         ""},
        {"trap '' TERM; echo t; while :; do sleep 0.01; done",
         [](auto& c) { c.nLimitMs = 100, c.nGraceMs = 150; }, MIROVAN_END_LIMIT, 0, SIGKILL, 0.25,
         "t\n"},
        {"exec sleep 60", [](auto& c) { c.nLimitMs = 50, c.nGraceMs = -1; }, MIROVAN_END_LIMIT, 0,
         SIGKILL, 0.05, ""},
        {"exec 2>/dev/null; trap 'echo late; exit 7' TERM; while :; do sleep 0.01; done",
         [](auto& c) { c.nLimitMs = 100; }, MIROVAN_END_LIMIT, 7, 0, 0.1, "late\n"},
        {"exec >&- 2>&-; sleep 0.2; exit 5", {}, MIROVAN_END_EXITED, 5, 0, 0.2, ""},
        {"pwd; cat; env | grep ONLY",
         [&](auto& c)
         {
             c.lpszFolder = "/usr", c.pInput = "in\0put\n", c.nInputLen = 7,
             c.ppszEnvironment = environment;
         },
         MIROVAN_END_EXITED, 0, 0, 0, std::string("/usr\nin\0put\nONLY=this\n", 22)},
        {"cat; exit 9", {}, MIROVAN_END_EXITED, 9, 0, 0, ""}, // from /dev/null
        {"head -c 3", [&](auto& c) { c.pInput = much.data(), c.nInputLen = much.size(); },
         MIROVAN_END_EXITED, 0, 0, 0, "iii"},
        {"-x 2>/dev/null || ps -o pgid= -p $$ | grep -cw $$",
         {},
         MIROVAN_END_EXITED,
         0,
         0,
         0,
         "1\n"},
    };
    const auto held = test::Held::now();
    for (const auto& known : cases)
    {
        const std::string name = known.line == nullptr ? "printf" : known.line;
        Command run{known.line};
        if (known.change)
            known.change(run.command);
        EXPECT_SUCCEEDS(run.execute()) << name;
        EXPECT_EQ(run.result.nEnd, known.end) << name;
        EXPECT_EQ(run.result.nExitStatus, known.status) << name;
        EXPECT_EQ(run.result.nSignal, known.signal) << name;
        EXPECT_EQ(run.output, known.output) << name;
        EXPECT_EQ(run.errors, known.errors) << name;
        EXPECT_GE(run.seconds, known.seconds) << name;
        EXPECT_LT(run.seconds, known.seconds + 2) << name;
        EXPECT_NEAR(static_cast<double>(run.result.nWallTime) / 1e9, run.seconds, 0.2) << name;
        EXPECT_TRUE(run.result.nKnown & MIROVAN_RESULT_STATUS) << name;
    }
    EXPECT_EQ(test::Held::now(), held);
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

TEST(Execute, ALimitEndsTheWholeCommandAndAnEndNeedsNoBackground)
{
    const auto lives = [](const std::string& id)
    {
        const std::string stat =
            test::read_file("/proc/" + std::to_string(std::stoi(id)) + "/stat");
        return !stat.empty() && stat.find(") Z ") == std::string::npos;
    };
    Command limited{"(trap '' TERM; sleep 300; sleep 300) & echo $!; wait"};
    limited.command.nLimitMs = 100;
    EXPECT_SUCCEEDS(limited.execute());
    for (int round = 0; round < 100 && lives(limited.output); ++round)
        std::this_thread::sleep_for(10ms);
    EXPECT_FALSE(lives(limited.output));
    Command left{"sleep 300 & echo $!"};
    EXPECT_SUCCEEDS(left.execute());
    EXPECT_LT(left.seconds, 100);
    EXPECT_EQ(kill(std::stoi(left.output), SIGKILL), 0);
}

TEST(Execute, CallersStopSlowDownAndThrow)
{
    const auto held = test::Held::now();
    Command stopped{"echo a; sleep 60"};
    stopped.on_output = [] { return false; };
    EXPECT_SUCCEEDS(stopped.execute());
    EXPECT_EQ(stopped.result.nEnd, MIROVAN_END_STOPPED);
    EXPECT_EQ(stopped.result.nSignal, SIGTERM);
    EXPECT_EQ(stopped.output, "a\n");
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[1]);
    Command told{"sleep 60"};
    told.command.nFlags = MIROVAN_COMMAND_STOP;
    told.command.nStopDescriptor = ends[0];
    EXPECT_SUCCEEDS(told.execute());
    close(ends[0]);
    EXPECT_EQ(told.result.nEnd, MIROVAN_END_STOPPED);
    EXPECT_EQ(told.result.nSignal, SIGTERM);
    Command slow{"echo a; sleep 60"};
    slow.on_output = []
    {
        std::this_thread::sleep_for(300ms);
        return true;
    };
    slow.command.nLimitMs = 100;
    EXPECT_SUCCEEDS(slow.execute());
    EXPECT_EQ(slow.result.nEnd, MIROVAN_END_LIMIT);
    EXPECT_LT(slow.seconds, 2);
    Command throwing{"echo a; sleep 60"};
    throwing.on_output = []() -> bool { throw std::bad_alloc{}; };
    EXPECT_FAILS(throwing.execute(), ERROR_MIROVAN_PROCESS_EXECUTE_FAILED, ENOMEM);
    EXPECT_EQ(test::Held::now(), held);
}

TEST(Execute, WhatCannotBeStartedOrIsInvalid)
{
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
        std::function<void(MIROVAN_COMMAND&)> change;
        uint64_t code;
        int reason;
    } cases[] = {
        {[&](auto& c) { c.ppszArguments = missing; }, start, ENOENT},
        {[&](auto& c) { c.ppszArguments = forbidden; }, start, EACCES},
        {[&](auto& c) { c.ppszArguments = fine, c.lpszFolder = "/no/such"; }, start, ENOENT},
        {[&](auto&) {}, parameter, EINVAL},
        {[&](auto& c) { c.ppszArguments = none; }, parameter, EINVAL},
        {[&](auto& c) { c.ppszArguments = none, c.lpszShellLine = "true"; }, parameter, EINVAL},
        {[&](auto& c) { c.ppszArguments = fine, c.lpszShellLine = "true"; }, parameter, EINVAL},
        {[&](auto& c) { c.ppszArguments = fine, c.nFlags = 4; }, parameter, EINVAL},
        {[&](auto& c) { c.ppszArguments = fine, c.nLimitMs = -1; }, parameter, EINVAL},
        {[&](auto& c) { c.ppszArguments = fine, c.nInputLen = 1; }, parameter, EINVAL},
        {[&](auto& c) { c.ppszArguments = fine, c.nFlags = MIROVAN_COMMAND_MERGE; }, parameter,
         EINVAL},
        {[&](auto& c) { c.ppszArguments = fine, c.nSize = sizeof c - 1; }, parameter, EINVAL}};
    const auto held = test::Held::now();
    for (const auto& [change, code, reason] : cases)
    {
        Command run{nullptr};
        change(run.command);
        EXPECT_FAILS(run.execute(), code, reason) << &change - &cases[0].change;
        EXPECT_EQ(run.result.nWallTime, 0U);
    }
    EXPECT_FAILS(Mirovan_Process_Execute(nullptr, nullptr), parameter, EINVAL);
    EXPECT_EQ(test::Held::now(), held);
}

TEST(Execute, ManyAtOnceHoweverTheCallerTreatsItsChildren)
{
    for (const int way : {0, 1, 2})
        test::in_child(
            [way]
            {
                // A descriptor that would be inherited.
                ASSERT_GE(dup(STDERR_FILENO), 0);
                if (way == 1)
                    std::signal(SIGCHLD, SIG_IGN);
                if (way == 2)
                    std::signal(SIGCHLD,
                                [](int)
                                {
                                    const int saved_errno = errno;
                                    while (waitpid(-1, nullptr, WNOHANG) > 0)
                                        continue;
                                    errno = saved_errno;
                                });
                const auto held = test::Held::now();
                std::vector<std::thread> threads;
                for (int thread = 0; thread < 8; ++thread)
                    threads.emplace_back(
                        []
                        {
                            for (int round = 0; round < 16; ++round)
                            {
                                Command run{"ls /proc/self/fd | tr '\\n' ' '; sleep 0.01; exit 4"};
                                EXPECT_TRUE(run.execute());
                                EXPECT_EQ(run.output, "0 1 2 3 ");
                                EXPECT_EQ(run.result.nEnd, MIROVAN_END_EXITED);
                                EXPECT_EQ(run.result.nExitStatus, 4);
                            }
                        });
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
            EXPECT_GT(run.result.nUserTime + run.result.nSystemTime, 10'000'000U);
            EXPECT_LT(run.result.nUserTime + run.result.nSystemTime, 2 * run.result.nWallTime);
        });
}

TEST(Wait, ReapsAChildWithinALimit)
{
    const struct
    {
        const char* line;
        int end, status, signal;
    } cases[] = {{"sleep 0.2; exit 5", MIROVAN_END_EXITED, 5, 0},
                 {"sleep 0.2; kill -9 $$", MIROVAN_END_SIGNALLED, 0, SIGKILL}};
    for (const auto& [line, end, status, signal] : cases)
    {
        unsigned long id = 0;
        auto result = test::sized<MIROVAN_COMMAND_RESULT>();
        const test::Scratch scratch;
        const std::string script = scratch.file("script", std::string("#!/bin/sh\n") + line);
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        ASSERT_TRUE(Mirovan_Process_CreateProcess(&id, script.c_str(), nullptr, false));
        const int child = static_cast<int>(id);
        for (const int limit : {0, 20})
        {
            EXPECT_SUCCEEDS(Mirovan_Process_Wait(child, limit, &result));
            EXPECT_EQ(result.nEnd, MIROVAN_END_RUNNING);
            EXPECT_EQ(result.nKnown, 0U);
        }
        EXPECT_SUCCEEDS(Mirovan_Process_Wait(child, 10'000, &result));
        EXPECT_EQ(result.nProcessId, child);
        EXPECT_EQ(result.nEnd, end);
        EXPECT_EQ(result.nExitStatus, status);
        EXPECT_EQ(result.nSignal, signal);
        EXPECT_FAILS(Mirovan_Process_Wait(child, -1, &result), ERROR_MIROVAN_PROCESS_WAIT_FAILED,
                     ECHILD);
    }
    auto result = test::sized<MIROVAN_COMMAND_RESULT>();
    EXPECT_FAILS(Mirovan_Process_Wait(1, 0, &result), ERROR_MIROVAN_PROCESS_WAIT_FAILED, ECHILD);
    for (const int id : {0, -1})
        EXPECT_FAILS(Mirovan_Process_Wait(id, 0, &result), ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_Process_Wait(1, 0, nullptr), ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
}

} // namespace
