#pragma once

#include "mirovan.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <set>
#include <signal.h>
#include <string>
#include <vector>

namespace test
{

/// A folder of the test's own, gone when the test ends. Every user may enter it.
class Scratch
{
public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::string operator/(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }

    /// Makes a file, and the folders above it, and returns its path.
    std::string file(const std::string& name, const std::string& content = "") const;
    std::string folder(const std::string& name) const;

private:
    std::string path_;
};

std::string read_file(const std::string& path);
std::wstring widened(const std::string& text);

/// A text as one word of a shell.
std::string quoted(const std::string& text);

/// What /bin/sh prints for a command line, read independently of the library.
std::string shell_output(const std::string& command_line);

/// Runs the body in a child process; its expectations count in the parent.
void in_child(const std::function<void()>& body);

/// The same as an ordinary user, also when the tests run as the superuser.
void as_ordinary_user(const std::function<void()>& body);

/// Throws errno unless a call that the test itself depends on succeeded.
void require(bool success);

/// Gives the process, which must have one thread, a mount table of its own, in which an ordinary
/// user may mount too; further namespaces are those of unshare(). Throws what makes that fail.
void enter_namespaces(int further = 0);

/// What a process holds that a call must give back: descriptors and what they stand for, children,
/// signal actions and the signal mask. Two snapshots are equal when nothing was left behind.
struct Held
{
    std::map<int, std::string> descriptors;
    std::set<int> children;
    std::vector<std::string> signals;

    static Held now();
    bool operator==(const Held&) const = default;
};
void PrintTo(const Held& held, std::ostream* out);

/// Sets an environment variable, or unsets it with a null value, until the end of the scope.
class Environment
{
public:
    Environment(const char* name, const char* value);
    ~Environment();
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    void set(const char* value) const;

    std::string name_;
    std::optional<std::string> earlier_;
};

/// Stand-in commands, first on PATH until the end of the scope: each is a shell script.
class Commands
{
public:
    Commands();
    void add(const std::string& name, const std::string& script) const;
    std::string folder() const { return scratch_.path(); }

private:
    Scratch scratch_;
    Environment path_;
};

/// A test of both string forms; the parameter says whether they are wide. Its scratch folder is the
/// current one.
class InBothForms : public testing::TestWithParam<bool>
{
protected:
    InBothForms() { std::filesystem::current_path(scratch_.path()); }
    ~InBothForms() override { std::filesystem::current_path("/"); }

    Scratch scratch_;
};
#define IN_BOTH_FORMS(suite)                                                                       \
    INSTANTIATE_TEST_SUITE_P(Forms, suite, testing::Bool(),                                        \
                             [](const auto& form) { return form.param ? "Wide" : "Narrow"; })

/// Of two functions whose first argument is a path, the one of the form that is tested.
template <class Narrow, class Wide>
auto twins(Narrow narrow, Wide wide)
{
    return [=](const std::string& path, auto... further)
    {
        return InBothForms::GetParam() ? wide(widened(path).c_str(), further...)
                                       : narrow(path.c_str(), further...);
    };
}

/// A record that begins with its size.
template <class Record>
Record sized()
{
    Record record{};
    record.nSize = sizeof record;
    return record;
}

/// Whether a call failed as the convention says: false, flag, code (for the process and for the
/// thread), and errno unless it is 0.
testing::AssertionResult failed_with(bool result, uint64_t code, int system_errno = 0);

/// Whether a call succeeded and left the flag clear.
testing::AssertionResult succeeded(bool result);

} // namespace test

/// EXPECT_FAILS(call, code[, errno]): errno is cleared first, so that it cannot be a stale one.
#define EXPECT_FAILS(call, ...)                                                                    \
    EXPECT_TRUE((errno = 0, ::test::failed_with((call), __VA_ARGS__))) << #call
#define EXPECT_SUCCEEDS(call) EXPECT_TRUE(::test::succeeded((call))) << #call
