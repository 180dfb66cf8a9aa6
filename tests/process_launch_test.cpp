#include "tests/support/child.h"
#include "tests/support/support.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

using test::Child;
using Launch = std::function<bool(unsigned long*)>;

int status_of(unsigned long child)
{
    int status = -1;
    EXPECT_EQ(waitpid(static_cast<pid_t>(child), &status, 0), static_cast<pid_t>(child));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// The lines of a kind that a launched program, test_child with show, prints of itself.
struct Shown
{
    explicit Shown(const Launch& launch)
    {
        const test::Scratch scratch;
        const std::string path = scratch.file("output");
        test::in_child(
            [&]
            {
                ASSERT_EQ(dup2(open(path.c_str(), O_WRONLY | O_CLOEXEC), STDOUT_FILENO),
                          STDOUT_FILENO);
                unsigned long child = 0;
                EXPECT_SUCCEEDS(launch(&child));
                EXPECT_EQ(status_of(child), 0);
            });
        output = test::read_file(path);
    }

    std::vector<std::string> operator[](const std::string& kind) const
    {
        std::vector<std::string> found;
        std::istringstream lines{output};
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with(kind + " "))
                found.push_back(line.substr(kind.size() + 1));
        return found;
    }

    std::string output;
};

using Texts = std::vector<std::string>;

TEST(ProcessLaunch, CreateProcessSplitsAtBlanksAndGivesNoEnvironment)
{
    const std::string longest = "show " + std::string(1018, 'x');
    const struct
    {
        std::string parameters;
        Texts arguments;
    } cases[] = {{"  show   b ", {"test_child", "show", "b"}},
                 {"show \"q r\" \t s\\ ", {"test_child", "show", "\"q", "r\"", "\t", "s\\"}},
                 {longest, {"test_child", "show", std::string(1018, 'x')}}};
    for (const auto& known : cases)
    {
        const Shown shown{[&](unsigned long* id)
                          {
                              return Mirovan_Process_CreateProcess(id,
                                                                   test::child_program().c_str(),
                                                                   known.parameters.c_str(), true);
                          }};
        EXPECT_EQ(shown["argument"], known.arguments);
        EXPECT_EQ(shown["variable"], Texts{});
        EXPECT_EQ(shown["blocked"], Texts{});
    }
    const test::Scratch scratch;
    const auto script = scratch.file("only", "#!/bin/sh\nexit $((40 + $#))\n");
    chmod(script.c_str(), 0755);
    for (const char* parameters : {static_cast<const char*>(nullptr), "", "   "})
    {
        unsigned long child = 0;
        EXPECT_SUCCEEDS(Mirovan_Process_CreateProcess(&child, script.c_str(), parameters, false));
        EXPECT_EQ(status_of(child), 40);
    }
}

TEST(ProcessLaunch, RunProcessKeepsWhatForkAndExecKeep)
{
    const test::Environment variable{"MIROVAN_TEST", "here"};
    const Shown shown{[](unsigned long* id)
                      {
                          sigset_t mask;
                          sigemptyset(&mask);
                          sigaddset(&mask, SIGUSR2);
                          sigprocmask(SIG_SETMASK, &mask, nullptr);
                          std::signal(SIGHUP, SIG_IGN);
                          std::signal(SIGUSR1, [](int) {});
                          const auto before = test::Held::now();
                          const bool result = Mirovan_Process_RunProcess(
                              id, test::child_program().c_str(), "zero", "show", false);
                          auto after = test::Held::now();
                          after.children.clear();
                          EXPECT_EQ(before, after);
                          return result;
                      }};
    EXPECT_EQ(shown["argument"], (Texts{"zero", "show"}));
    const auto variables = shown["variable"];
    EXPECT_NE(std::find(variables.begin(), variables.end(), "MIROVAN_TEST=here"), variables.end());
    EXPECT_EQ(shown["blocked"], Texts{std::to_string(SIGUSR2)});
    const auto ignored = shown["ignored"];
    EXPECT_NE(std::find(ignored.begin(), ignored.end(), std::to_string(SIGHUP)), ignored.end());
    EXPECT_EQ(std::find(ignored.begin(), ignored.end(), std::to_string(SIGUSR1)), ignored.end());
    unsigned long child = 0;
    EXPECT_SUCCEEDS(Mirovan_Process_RunProcess(&child, "/bin/sh", "-sh", nullptr, false));
    status_of(child);
}

TEST(ProcessLaunch, ProgramsInheritNoDescriptorButTheCallersOpenOnes)
{
    for (const bool run : {false, true})
    {
        Texts expected;
        for (int descriptor = 0; descriptor < 256; ++descriptor)
            if (const int flags = fcntl(descriptor, F_GETFD);
                flags >= 0 && (flags & FD_CLOEXEC) == 0)
                expected.push_back(std::to_string(descriptor));
        const Shown shown{
            [run](unsigned long* id)
            {
                const auto program = test::child_program();
                return run ? Mirovan_Process_RunProcess(id, program.c_str(), "x", "show", false)
                           : Mirovan_Process_CreateProcess(id, program.c_str(), "show", false);
            }};
        EXPECT_EQ(shown["descriptor"], expected);
    }
}

TEST(ProcessLaunch, AProgramThatCannotBeExecuted)
{
    const test::Scratch scratch;
    const struct
    {
        std::string path;
        int reason;
    } cases[] = {{scratch / "missing", ENOENT},
                 {scratch.file("plain", "#!/bin/sh\n"), EACCES},
                 {"true", ENOENT},
                 {"", ENOENT},
                 {scratch.path(), EACCES},
                 {std::string(1024, 'n'), ENAMETOOLONG}};
    const auto before = test::Held::now();
    for (const auto& [path, reason] : cases)
    {
        unsigned long child = 77;
        EXPECT_FAILS(Mirovan_Process_CreateProcess(&child, path.c_str(), "a b", false),
                     ERROR_MIROVAN_PROCESS_EXEC, reason)
            << path;
        EXPECT_EQ(child, 77U);
        EXPECT_SUCCEEDS(Mirovan_Process_RunProcess(&child, path.c_str(), "a", "b", false)) << path;
        EXPECT_EQ(status_of(child), 127) << path;
    }
    EXPECT_EQ(before, test::Held::now());
    unsigned long child = 77;
    EXPECT_FAILS(
        Mirovan_Process_CreateProcess(&child, "/bin/true", std::string(1024, ' ').c_str(), false),
        ERROR_MIROVAN_PROCESS_EXEC, ENAMETOOLONG);
}

TEST(ProcessLaunch, AFailedExecRunsNothingOfTheCallers)
{
    const test::Scratch scratch;
    static const std::string path = scratch.file("text");
    test::in_child(
        []
        {
            std::FILE* stream = std::fopen(path.c_str(), "a");
            std::fputs("once", stream);
            std::atexit([] { std::filesystem::resize_file(path, 0); });
            unsigned long child = 0;
            EXPECT_SUCCEEDS(Mirovan_Process_RunProcess(&child, "/missing", "a", nullptr, false));
            EXPECT_EQ(status_of(child), 127);
            std::fclose(stream);
        });
    EXPECT_EQ(test::read_file(path), "once");
}

TEST(ProcessLaunch, AChildThatCannotBeCreated)
{
    test::as_ordinary_user(
        []
        {
            const rlimit none{0, 0};
            ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
            const auto before = test::Held::now();
            unsigned long child = 77;
            EXPECT_FAILS(Mirovan_Process_RunProcess(&child, "/bin/true", "a", nullptr, false),
                         ERROR_MIROVAN_PROCESS_FORK, EAGAIN);
            EXPECT_FAILS(Mirovan_Process_CreateProcess(&child, "/bin/true", nullptr, false),
                         ERROR_MIROVAN_PROCESS_EXEC, EAGAIN);
            EXPECT_EQ(child, 77U);
            EXPECT_EQ(before, test::Held::now());
        });
}

TEST(ProcessLaunch, NullsAreRefused)
{
    unsigned long child = 77;
    EXPECT_FAILS(Mirovan_Process_CreateProcess(nullptr, "/bin/true", "", false),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_Process_CreateProcess(&child, nullptr, "", false),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_Process_RunProcess(nullptr, "/bin/true", "a", "b", false),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_Process_RunProcess(&child, nullptr, "a", "b", false),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_Process_RunProcess(&child, "/bin/true", nullptr, "b", false),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_EQ(child, 77U);
}

TEST(ProcessLaunch, ManyThreadsAtOnceLeaveNothingBehind)
{
    const test::Scratch scratch;
    const auto before = test::Held::now();
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back(
            [&, number]
            {
                for (int round = 0; round < 25; ++round)
                {
                    const std::string stem =
                        scratch / (std::to_string(number) + "-" + std::to_string(round));
                    unsigned long child = 0;
                    EXPECT_TRUE(Mirovan_Process_CreateProcess(
                        &child, "/usr/bin/touch", (stem + "a  " + stem + "b").c_str(), false));
                    EXPECT_EQ(status_of(child), 0);
                    EXPECT_TRUE(Mirovan_Process_RunProcess(&child, "/usr/bin/touch", "t",
                                                           (stem + " c").c_str(), false));
                    EXPECT_EQ(status_of(child), 0);
                }
            });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator{scratch.path()}, {}), 300);
    EXPECT_EQ(before, test::Held::now());
}

/// A text that stands in the command line of the test's own child and nowhere else.
std::string unique_text()
{
    static int count = 0;
    return "unique" + std::to_string(getpid()) + "x" + std::to_string(++count) + "x";
}

TEST(ProcessStop, InterruptsAndReapsAChild)
{
    const Child child{{}};
    const auto before = test::Held::now();
    EXPECT_SUCCEEDS(Mirovan_Process_Stop(nullptr, child.pid(), false));
    EXPECT_EQ(waitpid(child.pid(), nullptr, WNOHANG), -1);
    auto after = test::Held::now();
    after.children.insert(child.pid());
    EXPECT_EQ(before, after);
}

TEST(ProcessStop, NamesArePatternsThatDoNoHarm)
{
    const test::Environment locale{"LC_ALL", "C.UTF-8"};
    const test::Environment narrow_terminal{"COLUMNS", "90"};
    const test::Scratch scratch;
    const std::string victim = scratch / "victim";
    const struct
    {
        std::string argument;
        std::string name; // Both are followed by a unique text.
    } cases[] = {{"plain", "plain"},
                 {"two words ", "two words "},
                 {"-e --help -", "-e --help -"},
                 {"it's \"$(touch " + victim + ")\" `touch " + victim + "`; ",
                  "it's \"$(touch " + victim + ")\" `touch " + victim + "`; "},
                 {"a; touch " + victim + " #", "a; touch " + victim + " #"},
                 {"back\\slash", "back\\\\slash"},
                 {"abbbc", "^[a-z0-9+]* .*ab*c"},
                 {"n\xC3\xA4me \xF0\x9F\x8E\x89 ", "n\xC3\xA4me \xF0\x9F\x8E\x89 "},
                 {std::string(1500, 'x'), ""}};
    for (const auto& [argument, name] : cases)
    {
        const std::string token = unique_text();
        const Child other{{"other"}};
        const Child child{{argument + token}};
        EXPECT_SUCCEEDS(Mirovan_Process_Stop((name + token).c_str(), other.pid(), false)) << name;
        EXPECT_FALSE(child.runs()) << name;
        EXPECT_TRUE(other.runs()) << name;
    }
    EXPECT_FALSE(std::filesystem::exists(victim));
}

TEST(ProcessStop, TakesTheFirstLineOnly)
{
    const std::string token = unique_text();
    const Child first{{token}};
    const Child second{{token}};
    EXPECT_SUCCEEDS(Mirovan_Process_Stop(token.c_str(), 0, false));
    EXPECT_NE(first.runs(), second.runs());
    const std::string line = test::shell_output("ps -axo pid,args | grep " + token);
    EXPECT_NE(line.find("test_child"), std::string::npos) << "the other one can still be seen";
}

TEST(ProcessStop, FindsNothing)
{
    const std::string token = unique_text();
    const Child looking_like_grep{{"grep " + token}};
    const auto before = test::Held::now();
    for (const char* columns : {static_cast<const char*>(nullptr), "60", "90"})
    {
        // The shells that run the lookup show the name too.
        const test::Environment narrow_terminal{"COLUMNS", columns};
        for (const std::string& name : {token, std::string{"sh -c.*"} + token, std::string{},
                                        token + std::string(974 - token.size(), 'x')})
            EXPECT_FAILS(Mirovan_Process_Stop(name.c_str(), 0, true),
                         ERROR_MIROVAN_PROCESS_NOTFOUND, ESRCH)
                << name;
    }
    EXPECT_TRUE(looking_like_grep.runs());
    EXPECT_FAILS(Mirovan_Process_Stop(std::string(975, 'x').c_str(), 0, true),
                 ERROR_MIROVAN_PROCESS_STOP_FIND, ENAMETOOLONG);
    // The headings match it, and their second word is no id.
    EXPECT_FAILS(Mirovan_Process_Stop("USER *PID", 0, false), ERROR_MIROVAN_PROCESS_STOP_KILL,
                 EINVAL);
    EXPECT_EQ(before, test::Held::now());
    test::in_child(
        []
        {
            const rlimit standard_streams{3, 3};
            ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &standard_streams), 0);
            EXPECT_FAILS(Mirovan_Process_Stop("x", 0, false), ERROR_MIROVAN_PROCESS_STOP_FIND,
                         EMFILE);
        });
}

TEST(ProcessStop, TheChildSignalEndsAtItsDefaultWhenAsked)
{
    const test::Scratch scratch; // which anyone may enter, unlike perhaps the build's folder
    std::filesystem::copy_file(test::child_program(), scratch / "child");
    std::filesystem::permissions(scratch / "child", std::filesystem::perms{0755});
    const Child foreign{{}};
    const int not_ours = geteuid() == 0 ? foreign.pid() : 1;
    test::as_ordinary_user(
        [&]
        {
            // In a group of its own, should an id of 0 ever reach kill(). There is no group of the
            // other number.
            setpgid(0, 0);
            const struct
            {
                int id;
                uint64_t code;
                int reason;
            } cases[] = {{0, ERROR_MIROVAN_PROCESS_STOP_KILL, EINVAL},
                         {INT_MIN + 1, ERROR_MIROVAN_PROCESS_STOP_KILL, EINVAL},
                         {INT_MAX, ERROR_MIROVAN_PROCESS_STOP_KILL, ESRCH},
                         {not_ours, ERROR_MIROVAN_PROCESS_ACCESS, EPERM}};
            const auto handler = [](int) {};
            for (const auto& [id, code, reason] : cases)
            {
                std::signal(SIGCHLD, handler);
                EXPECT_FAILS(Mirovan_Process_Stop(nullptr, id, false), code, reason) << id;
                EXPECT_EQ(std::signal(SIGCHLD, handler), +handler) << id;
                EXPECT_FAILS(Mirovan_Process_Stop(nullptr, id, true), code, reason) << id;
                EXPECT_EQ(std::signal(SIGCHLD, handler), SIG_DFL) << id;
            }
            const Child child{{}, scratch / "child"};
            EXPECT_SUCCEEDS(Mirovan_Process_Stop(nullptr, child.pid(), true));
            EXPECT_EQ(std::signal(SIGCHLD, handler), SIG_DFL);
            EXPECT_EQ(waitpid(child.pid(), nullptr, WNOHANG), -1);
        });
    EXPECT_TRUE(foreign.runs());
}

TEST(ProcessStop, WaitsOnWhenItIsInterrupted)
{
    static volatile std::sig_atomic_t interruptions;
    static volatile std::sig_atomic_t deaf_child;
    test::in_child(
        []
        {
            const Child child{{"deaf"}};
            deaf_child = child.pid();
            struct sigaction action = {};
            action.sa_handler = [](int)
            {
                interruptions = interruptions + 1;
                if (interruptions == 3)
                    kill(deaf_child, SIGKILL);
            };
            sigaction(SIGALRM, &action, nullptr);
            const itimerval every_20ms{{0, 20'000}, {0, 20'000}};
            setitimer(ITIMER_REAL, &every_20ms, nullptr);
            EXPECT_SUCCEEDS(Mirovan_Process_Stop(nullptr, child.pid(), false));
            EXPECT_EQ(waitpid(child.pid(), nullptr, WNOHANG), -1);
        });
}

TEST(ProcessStop, StateLetters)
{
    const std::string letters = "RSDZTW";
    for (int letter = CHAR_MIN; letter <= CHAR_MAX; ++letter)
    {
        const auto known = letters.find(static_cast<char>(letter));
        unsigned long state = 99;
        EXPECT_SUCCEEDS(m_ProcessSdk.Mirovan_Process_AppState(static_cast<char>(letter), &state));
        EXPECT_EQ(state, known == std::string::npos ? 6 : known) << letter;
    }
    EXPECT_FAILS(m_ProcessSdk.Mirovan_Process_AppState('R', nullptr),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
}

} // namespace
