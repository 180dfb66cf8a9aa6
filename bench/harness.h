#pragma once

#include <functional>
#include <string>
#include <vector>

/// Measures one thing beside another: both take turns in one run, so that what else the machine
/// does falls on both alike.
namespace bench
{

/// How often each side is run, unless a comparison asks for more turns.
inline constexpr int rounds = 5;

/// One side of a comparison. Every turn runs in a child process; what prepares it runs before,
/// here, and is not timed.
struct Side
{
    std::function<void()> run;
    std::function<void()> prepare = {};
};

/// What a comparison is measured and printed in.
enum class Unit
{
    seconds,
    microseconds,
    nanoseconds_per_call,
    mebibytes
};

/// A table of comparisons, begun with a description of the machine.
class Table
{
public:
    explicit Table(const std::string& title);

    /// Times both sides in turn, and prints the medians, their ratio and the limit on it.
    void compare(const std::string& name, double limit, const Side& ours, const Side& reference,
                 int turns = rounds);

    /// The same for what takes microseconds, or needs this process: both sides run here, many times
    /// in many short turns.
    void compare_short(const std::string& name, double limit, const std::function<void()>& ours,
                       const std::function<void()>& reference);

    /// The same for something that hardly takes time, called `calls` times in a row; the limit is
    /// on our own time for one call, in nanoseconds.
    void compare_calls(const std::string& name, double limit_ns, long calls,
                       const std::function<void()>& ours, const std::function<void()>& reference);

    /// Prints two figures that were measured in another way, once or more often.
    void compare_figures(const std::string& name, double limit, Unit unit, std::vector<double> ours,
                         std::vector<double> reference);

    /// 0 when every line kept its limit: what main() returns.
    int result() const { return over_ == 0 ? 0 : 1; }

private:
    void print(const std::string& name, Unit unit, double ours, double reference, double bounded,
               double limit);

    int over_ = 0;
};

/// Runs a program found on PATH, its output thrown away; ends the benchmark when it fails.
void run_command(const std::vector<std::string>& words);

/// Runs the body in a child, and tells by how many mebibytes its memory grew at most.
double memory_of(const std::function<void()>& body);

/// Makes a tree of folders with 200 empty files each; one file in four is a .txt.
void make_tree(const std::string& top, int folders);

/// How many files each of its folders has.
inline constexpr int files_in_a_folder = 200;

/// Ends the benchmark with a message unless the condition holds: a measured operation that failed
/// has no time.
void require(bool condition, const std::string& what);

/// A folder of the benchmark's own, below TMPDIR or /tmp; it is gone when the benchmark ends.
class Scratch
{
public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

} // namespace bench
