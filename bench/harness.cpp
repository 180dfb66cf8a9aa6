#include "bench/harness.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace
{

bool exceeded = false;

double seconds(const std::function<void()>& body)
{
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

void compare(const char* name, double limit, const std::function<void()>& ours,
             const std::function<void()>& reference)
{
    constexpr int rounds = 31;
    std::vector<double> our_times;
    std::vector<double> reference_times;
    for (int round = 0; round < rounds; ++round)
    {
        // In turn, so that whatever else the machine does meets both.
        our_times.push_back(seconds(ours));
        reference_times.push_back(seconds(reference));
    }
    const double our_time = median(our_times);
    const double reference_time = median(reference_times);
    const double ratio = our_time / reference_time;
    exceeded = exceeded || ratio > limit;
    std::printf("%-40s %10.3f ms against %10.3f ms: %.2f, limit %.2f\n", name, our_time * 1e3,
                reference_time * 1e3, ratio, limit);
}

int bench_status()
{
    return exceeded ? 1 : 0;
}
