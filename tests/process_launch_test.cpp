#include "tests/support/child.h"
#include "tests/support/support.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using test::Child;
using Launch = std::function<bool(unsigned long*)>;
using Texts = std::vector<std::string>;

int status_of(unsigned long child)
{
    int status = -1;
    EXPECT_EQ(waitpid(static_cast<pid_t>(child), &status, 0), static_cast<pid_t>(child));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// What a launched program, test_child with show, prints of itself: lines by their first word.
std::map<std::string, Texts> shown(const Launch& launch)
{
    const test::Scratch scratch;
    const std::string path = scratch.file("output");
    test::in_child(
        [&]
        {
            // What a program can inherit of signals.
            sigset_t mask;
            sigemptyset(&mask);
            sigaddset(&mask, SIGUSR2);
            sigprocmask(SIG_SETMASK, &mask, nullptr);
            std::signal(SIGHUP, SIG_IGN);
            std::signal(SIGUSR1, [](int) {});
            const int output = open(path.c_str(), O_WRONLY | O_CLOEXEC);
            ASSERT_EQ(dup2(output, STDOUT_FILENO), STDOUT_FILENO);
            unsigned long child = 0;
            auto before = test::Held::now();
            EXPECT_SUCCEEDS(launch(&child));
            before.children.insert(static_cast<int>(child));
            EXPECT_EQ(before, test::Held::now());
            EXPECT_EQ(status_of(child), 0);
        });
    std::map<std::string, Texts> found;
    std::istringstream lines{test::read_file(path)};
    for (std::string word, rest; lines >> word && std::getline(lines.ignore(), rest);)
        found[word].push_back(rest);
    return found;
}

Launch create(const std::string& parameters)
{
    return [=](unsigned long* id)
    {
        const std::string program = test::child_program();
        return Mirovan_Process_CreateProcess(id, program.c_str(), parameters.c_str(), true);
    };
}

TEST(ProcessLaunch, ProgramsGetTheirArgumentsAndWhatForkAndExecKeep)
{
    const test::Environment variable{"MIROVAN_TEST", "here"};
    const std::string longest = "show " + std::string(1018, 'x');
    const struct
    {
        Launch launch;
        Texts arguments;
        bool has_environment = false;
    } cases[] = {
        {create("  show   b "), {"test_child", "show", "b"}},
        {create("show \"q r\" \t s\\ "), {"test_child", "show", "\"q", "r\"", "\t", "s\\"}},
        {create(longest), {"test_child", "show", std::string(1018, 'x')}},
        {[](unsigned long* id)
         {
             const std::string program = test::child_program();
             return Mirovan_Process_RunProcess(id, program.c_str(), "zero", "show", false);
         },
         {"zero", "show"},
         true}};
    for (const auto& known : cases)
    {
        Texts descriptors;
        for (int descriptor = 0; descriptor < 256; ++descriptor)
            if (const int flags = fcntl(descriptor, F_GETFD);
                flags >= 0 && (flags & FD_CLOEXEC) == 0)
                descriptors.push_back(std::to_string(descriptor));
        auto seen = shown(known.launch);
        const auto has = [&](const char* kind, const std::string& text)
        { return std::count(seen[kind].begin(), seen[kind].end(), text) != 0; };
        EXPECT_EQ(seen["argument"], known.arguments);
        EXPECT_EQ(seen["descriptor"], descriptors);
        EXPECT_EQ(seen["blocked"], Texts{std::to_string(SIGUSR2)});
        EXPECT_TRUE(has("ignored", std::to_string(SIGHUP)));
        EXPECT_FALSE(has("ignored", std::to_string(SIGUSR1)));
        EXPECT_EQ(has("variable", "MIROVAN_TEST=here"), known.has_environment);
        EXPECT_EQ(seen["variable"].empty(), !known.has_environment);
    }
    const test::Scratch scratch;
    const auto script = scratch.file("only", "#!/bin/sh\nexit $((40 + $#))\n");
    chmod(script.c_str(), 0755);
    unsigned long child = 0;
    for (const char* parameters : {static_cast<const char*>(nullptr), "", "   "})
    {
        EXPECT_SUCCEEDS(Mirovan_Process_CreateProcess(&child, script.c_str(), parameters, false));
        EXPECT_EQ(status_of(child), 40);
    }
    EXPECT_SUCCEEDS(Mirovan_Process_RunProcess(&child, script.c_str(), "a", nullptr, false));
    EXPECT_EQ(status_of(child), 40);
}

TEST(ProcessLaunch, AProgramThatCannotBeExecuted)
{
    const test::Scratch scratch;
    const std::pair<std::string, int> cases[] = {{scratch / "missing", ENOENT},
                                                 {scratch.file("plain", "#!/bin/sh\n"), EACCES},
                                                 {"true", ENOENT},
                                                 {"", ENOENT},
                                                 {scratch.path(), EACCES},
                                                 {std::string(1024, 'n'), ENAMETOOLONG}};
    unsigned long child = 0;
    for (const auto& [path, reason] : cases)
    {
        EXPECT_FAILS(Mirovan_Process_CreateProcess(&(child = 77), path.c_str(), "a b", false),
                     ERROR_MIROVAN_PROCESS_EXEC, reason)
            << path;
        EXPECT_EQ(child, 77U);
        EXPECT_SUCCEEDS(Mirovan_Process_RunProcess(&child, path.c_str(), "a", "b", false)) << path;
        EXPECT_EQ(status_of(child), 127) << path;
    }
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

/// A text that stands in the command line of the test's own child and nowhere else.
std::string unique_text()
{
    static int count = 0;
    return "unique" + std::to_string(getpid()) + "x" + std::to_string(++count) + "x";
}

TEST(ProcessStop, NamesArePatternsThatDoNoHarm)
{
    const test::Environment locale{"LC_ALL", "C.UTF-8"};
    const test::Environment narrow_terminal{"COLUMNS", "90"};
    const test::Scratch scratch;
    const std::string victim = scratch / "victim";
    const std::string quotes = "it's \"$(touch " + victim + ")\" `touch " + victim + "`; ";
    const std::string umlaut = "n\xC3\xA4me \xF0\x9F\x8E\x89 ";
    // What stands on the command line, and the name; both are followed by a unique text.
    const std::pair<std::string, std::string> cases[] = {
        {"plain", "plain"},
        {"two words ", "two words "},
        {"-e --help -", "-e --help -"},
        {quotes, quotes},
        {"a; touch " + victim + " #", "a; touch " + victim + " #"},
        {"back\\slash", "back\\\\slash"},
        {"abbbc", "^[a-z0-9+]* .*ab*c"},
        {umlaut, umlaut},
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
    // It takes the first line only.
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
                for (const bool ask : {false, true})
                {
                    std::signal(SIGCHLD, handler);
                    EXPECT_FAILS(Mirovan_Process_Stop(nullptr, id, ask), code, reason) << id;
                    EXPECT_EQ(std::signal(SIGCHLD, handler), ask ? SIG_DFL : +handler) << id;
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
    const std::map<char, unsigned long> known{{'R', 0}, {'S', 1}, {'D', 2},
                                              {'Z', 3}, {'T', 4}, {'W', 5}};
    for (int letter = CHAR_MIN; letter <= CHAR_MAX; ++letter)
    {
        const auto state = static_cast<char>(letter);
        unsigned long number = 99;
        EXPECT_SUCCEEDS(m_ProcessSdk.Mirovan_Process_AppState(state, &number));
        EXPECT_EQ(number, known.contains(state) ? known.at(state) : 6) << letter;
    }
}

} // namespace
