#include "tests/support/support.h"

#include <csignal>
#include <cstring>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

namespace
{

/// What both forms of the capture give for a selection; they must agree.
std::string captured(const std::string& command, int count, int start)
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
    };
    for (const auto& [command, count, start, expected] : cases)
        EXPECT_EQ(captured(command, count, start), expected)
            << command << ' ' << count << ' ' << start;
}

TEST(Capture, AgreesWithThePlainReadingOfMuchOutput)
{
    const std::string command = "seq -f '%0.f of a line of text' 1 3000";
    const std::string all = test::shell_output(command);
    EXPECT_EQ(captured(command, 0, 0), all);
    EXPECT_EQ(captured(command, 1, 2999), "2999 of a line of text\n");
}

TEST(Capture, FiftyMegabytesPassThroughAFunction)
{
    std::size_t total = 0;
    const auto take = [](const char*, int size, void* context)
    {
        *static_cast<std::size_t*>(context) += static_cast<std::size_t>(size);
        return true;
    };
    EXPECT_SUCCEEDS(Mirovan_Process_ReadCmdLines(
        "yes 'a line of some twenty bytes' | head -c 50000000", 0, 0, take, &total));
    EXPECT_EQ(total, 50'000'000U);
}

TEST(Capture, StopsWhenToldToAndReportsItsOwnSuccess)
{
    int calls = 0;
    const auto take = [](const char*, int, void* context)
    {
        EXPECT_FALSE(Mirovan_Process_GetPath(nullptr, 0));
        return ++*static_cast<int*>(context) < 3;
    };
    EXPECT_SUCCEEDS(Mirovan_Process_ReadCmdLines("yes", 0, 0, take, &calls));
    EXPECT_EQ(calls, 3);
}

TEST(Capture, RefusesNulls)
{
    const auto take = [](const char*, int, void*) { return true; };
    char buffer[8] = "x";
    int length = 7;
    EXPECT_FAILS(Mirovan_Process_ReadCmdReturn(nullptr, buffer, 0, 0, &length),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_Process_ReadCmdReturn("echo", nullptr, 0, 0, &length),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_Process_ReadCmdLines(nullptr, 0, 0, take, nullptr),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_Process_ReadCmdLines("echo", 0, 0, nullptr, nullptr),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_STREQ(buffer, "x");
    EXPECT_EQ(length, 7);
    EXPECT_SUCCEEDS(Mirovan_Process_ReadCmdReturn("echo", buffer, 0, 0, nullptr));
}

TEST(Capture, AFunctionThatThrowsIsAFailure)
{
    const auto held = test::Held::now();
    const auto take = [](const char*, int, void*) -> bool { throw std::bad_alloc(); };
    EXPECT_FAILS(Mirovan_Process_ReadCmdLines("yes", 0, 0, take, nullptr),
                 ERROR_MIROVAN_PROCESS_ACCESS, ENOMEM);
    EXPECT_EQ(test::Held::now(), held);
}

TEST(Capture, AShellThatCannotBeStartedIsAFailure)
{
    const auto check = [](__rlimit_resource resource, rlim_t most, int reason)
    {
        char buffer[8] = "x";
        int length = 7;
        const rlimit limit = {most, most};
        ASSERT_EQ(setrlimit(resource, &limit), 0);
        EXPECT_FAILS(Mirovan_Process_ReadCmdReturn("echo", buffer, 0, 0, &length),
                     ERROR_MIROVAN_PROCESS_ACCESS, reason);
        EXPECT_STREQ(buffer, "x");
        EXPECT_EQ(length, 7);
    };
    test::as_ordinary_user([&] { check(RLIMIT_NPROC, 0, EAGAIN); });
    test::as_ordinary_user([&] { check(RLIMIT_NOFILE, 3, EMFILE); });
}

TEST(Capture, DoesNotWaitForWhatTheShellLeftInTheBackground)
{
    // The background child keeps the pipe open for longer than the test may last.
    char buffer[64] = "";
    EXPECT_SUCCEEDS(Mirovan_Process_ReadCmdReturn("sleep 300 & echo $!", buffer, 1, 0, nullptr));
    const pid_t background = std::atoi(buffer);
    ASSERT_GT(background, 1);
    EXPECT_EQ(kill(background, SIGKILL), 0) << "it was waited for";
}

TEST(Capture, SurvivesSignalsThatInterruptIt)
{
    test::in_child(
        []
        {
            struct sigaction action = {};
            action.sa_handler = [](int) {};
            sigaction(SIGALRM, &action, nullptr);
            const itimerval every = {{0, 500}, {0, 500}};
            setitimer(ITIMER_REAL, &every, nullptr);
            for (int round = 0; round < 20; ++round)
                EXPECT_EQ(captured("for i in 1 2 3; do echo $i; sleep 0.002; done", 0, 0),
                          "1\n2\n3\n");
        });
}

TEST(Capture, NeedsNobodyElsesChildSignal)
{
    test::in_child(
        []
        {
            std::signal(SIGCHLD, SIG_IGN);
            EXPECT_EQ(captured("echo one; echo two", 0, 2), "two\n");
        });
}

TEST(Capture, RunsTheCommandAsGiven)
{
    const std::string path = captured("echo \"$PATH\"; echo \"$LC_ALL\"", 0, 0);
    EXPECT_EQ(path, test::shell_output("echo \"$PATH\"; echo \"$LC_ALL\""));
    // It is not taken for an option, and the shell counts its lines from the first.
    EXPECT_EQ(captured("-c 2>&1", 0, 0), test::shell_output("sh -c -- '-c 2>&1'"));
}

TEST(Capture, LeavesNothingBehind)
{
    const auto held = test::Held::now();
    for (int round = 0; round < 200; ++round)
    {
        char buffer[64] = "";
        ASSERT_TRUE(
            Mirovan_Process_ReadCmdReturn("echo one; echo two", buffer, round % 3, 0, nullptr));
    }
    EXPECT_EQ(test::Held::now(), held);
}

} // namespace
