#pragma once

#include <string>
#include <vector>

namespace test
{

/// The path of the program of support/child.cpp.
std::string child_program();

/// Runs it with options until the end of the scope, when it is killed and reaped, unless someone
/// has done so. It has done what the options say, and sleeps unless it is busy, when the
/// constructor returns.
class Child
{
public:
    explicit Child(const std::vector<std::string>& options,
                   const std::string& program = child_program());
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    int pid() const { return pid_; }

    /// Whether it has not ended yet.
    bool runs() const;

    /// Sends a signal and waits until the child has stopped or ended by it; it is not reaped.
    void signal(int number) const;

private:
    int pid_ = -1;
};

} // namespace test
