#include "bench/harness.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

double seconds_of(const std::function<void()>& work, int calls)
{
    const auto start = Clock::now();
    for (int call = 0; call < calls; ++call)
        work();
    return std::chrono::duration<double>(Clock::now() - start).count() / calls;
}

double median(std::vector<double> times)
{
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

} // namespace

void compare(const char* name, double limit, const std::function<void()>& ours,
             const std::function<void()>& reference)
{
    constexpr double seconds_per_turn = 0.02;
    constexpr int turns = 31;
    const double once = std::max(seconds_of(ours, 1), 1e-8);
    const int calls = static_cast<int>(std::max(1.0, seconds_per_turn / once));
    std::vector<double> our_times;
    std::vector<double> reference_times;
    for (int turn = 0; turn < turns; ++turn)
    {
        our_times.push_back(seconds_of(ours, calls));
        reference_times.push_back(seconds_of(reference, calls));
    }
    const double ratio = median(our_times) / median(reference_times);
    std::printf("%-44s %10.2f us %10.2f us  ratio %.2f of %.2f%s\n", name, median(our_times) * 1e6,
                median(reference_times) * 1e6, ratio, limit, ratio > limit ? "  OVER" : "");
    std::fflush(stdout);
}
