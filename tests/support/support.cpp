#include "tests/support/support.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <grp.h>
#include <iterator>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

// How a child that ran a part of a test ends: as the test's own process may not, unless what it
// counted has to be written down.
#ifndef MIROVAN_TEST_LEAVE
#define MIROVAN_TEST_LEAVE _exit
#endif

namespace test
{

// Whoever started the tests in the background, or with nohup, left SIGINT ignored: children inherit it.
[[maybe_unused]] const auto interruptible = std::signal(SIGINT, SIG_DFL);

// What tests make is for other users too, whatever mask they were started with.
[[maybe_unused]] const auto mask_of_others = umask(umask(022) & 022);

std::string quoted(const std::string& text)
{
    std::string word = "'";
    for (const char character : text)
        word += character == '\'' ? "'\\''" : std::string{character};
    return word + "'";
}

Scratch::Scratch()
{
    std::string pattern = fs::temp_directory_path() / "mirovan-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no scratch folder");
    path_ = pattern;
    chmod(path_.c_str(), 0777);
}

Scratch::~Scratch()
{
    // Not the library's own deletion: a fault in that must not spoil other tests.
    const std::string command =
        "/bin/chmod -R u+rwX '" + path_ + "' 2>/dev/null; /bin/rm -rf '" + path_ + "'";
    if (std::system(command.c_str()) != 0)
        std::fprintf(stderr, "left behind: %s\n", path_.c_str());
}

std::string Scratch::file(const std::string& name, const std::string& content) const
{
    const std::string path = *this / name;
    fs::create_directories(fs::path{path}.parent_path());
    std::ofstream{path, std::ios::binary} << content;
    return path;
}

std::string Scratch::folder(const std::string& name) const
{
    fs::create_directories(*this / name);
    return *this / name;
}

std::string read_file(const std::string& path)
{
    std::ostringstream content;
    content << std::ifstream{path, std::ios::binary}.rdbuf();
    return content.str();
}

std::wstring widened(const std::string& text)
{
    const std::u32string wide = fs::path{text}.u32string();
    return {wide.begin(), wide.end()};
}

std::string shell_output(const std::string& command_line)
{
    std::string output;
    std::FILE* stream = popen(command_line.c_str(), "r");
    char block[4096];
    for (std::size_t got = 0; (got = std::fread(block, 1, sizeof block, stream)) != 0;)
        output.append(block, got);
    pclose(stream);
    return output;
}

void in_child(const std::function<void()>& body)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        try
        {
            body();
        }
        catch (const std::exception& error)
        {
            ADD_FAILURE() << "exception: " << error.what();
        }
        std::fflush(nullptr);
        MIROVAN_TEST_LEAVE(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child status " << status;
}

void as_ordinary_user(const std::function<void()>& body)
{
    constexpr uid_t nobody = 65534;
    in_child(
        [&]
        {
            if (geteuid() == 0)
            {
                ASSERT_EQ(setgroups(0, nullptr), 0);
                ASSERT_EQ(setgid(nobody), 0);
                ASSERT_EQ(setuid(nobody), 0);
            }
            body();
        });
}

void require(bool success)
{
    if (!success)
        throw std::system_error{errno, std::generic_category()};
}

void enter_namespaces(int further)
{
    const std::string user = "0 " + std::to_string(geteuid()) + " 1";
    const std::string group = "0 " + std::to_string(getegid()) + " 1";
    const bool ordinary = geteuid() != 0;
    require(unshare(CLONE_NEWNS | further | (ordinary ? CLONE_NEWUSER : 0)) == 0);
    if (ordinary)
    {
        std::ofstream{"/proc/self/setgroups"} << "deny";
        std::ofstream{"/proc/self/uid_map"} << user;
        std::ofstream{"/proc/self/gid_map"} << group;
    }
    require(mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0);
}

Held Held::now()
{
    Held held;
    for (const auto& entry : fs::directory_iterator{"/proc/self/fd"})
    {
        std::error_code gone;
        const fs::path target = fs::read_symlink(entry.path(), gone);
        // The iterator's own descriptor is among them.
        if (!gone && target != "/proc/" + std::to_string(getpid()) + "/fd")
            held.descriptors[std::stoi(entry.path().filename())] = target;
    }
    for (const auto& task : fs::directory_iterator{"/proc/self/task"})
    {
        std::istringstream list{read_file(task.path() / "children")};
        held.children.insert(std::istream_iterator<int>{list}, {});
    }
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    for (int number = 1; number < NSIG; ++number)
    {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) != 0)
            continue;
        // The C library marks an action that was set through it; a program cannot.
        constexpr int library_mark = 0x04000000;
        std::ostringstream text;
        text << number << ' ' << reinterpret_cast<const void*>(action.sa_handler) << ' '
             << (action.sa_flags & ~library_mark) << ' ' << sigismember(&mask, number);
        held.signals.push_back(text.str());
    }
    return held;
}

void PrintTo(const Held& held, std::ostream* out)
{
    *out << testing::PrintToString(std::tie(held.descriptors, held.children, held.signals));
}

Environment::Environment(const char* name, const char* value) : name_{name}
{
    if (const char* earlier = std::getenv(name))
        earlier_ = earlier;
    set(value);
}

Environment::~Environment()
{
    set(earlier_ ? earlier_->c_str() : nullptr);
}

void Environment::set(const char* value) const
{
    if (value == nullptr)
        unsetenv(name_.c_str());
    else
        setenv(name_.c_str(), value, 1);
}

Commands::Commands() : path_{"PATH", (scratch_.path() + ":" + std::getenv("PATH")).c_str()} {}

void Commands::add(const std::string& name, const std::string& script) const
{
    const std::string path = scratch_.file(name, "#!/bin/sh\n" + script + "\n");
    chmod(path.c_str(), 0755);
}

} // namespace test
