#pragma once

#include <cstddef>

/// What stands between the library and the system: it counts the calls that the library makes, and
/// makes one of them fail. It has to come before the C library in the order in which names are
/// looked up, by being linked first or preloaded.
///
/// It never hands on a call that could halt the machine, nor a signal for a process that is no
/// child of this one.
namespace faults
{

enum class Mode
{
    once, ///< One call fails.
    same, ///< That call fails, and from then on every call of the same function.
    all,  ///< From that call on everything fails.
};

struct Plan
{
    unsigned at = 0;  ///< Number of the call that is to fail, from 1; 0 for none.
    unsigned way = 0; ///< Which of the ways in which that function can fail.
    Mode mode = Mode::once;
};

/// Ways to fail that have no errno of their own.
enum Way : int
{
    partly = -1,  ///< Less is moved than was asked for.
    nothing = -2, ///< Nothing is moved or found.
};

struct Report
{
    unsigned calls = 0;        ///< How many were counted.
    unsigned fired = 0;        ///< How many of them failed.
    const char* function = ""; ///< The first that did,
    int error = 0;             ///< its errno or Way,
    unsigned ways = 0;         ///< and in how many ways it can.
};

/// From here on the calls of this thread count.
void faults_arm(const Plan& plan);
Report faults_disarm();

/// How many allocations that were made while calls counted have not been given back, and which
/// of these calls made the first one. They are forgotten.
std::size_t faults_forget_allocations(unsigned* first);

} // namespace faults
