// All operations at random on four threads for a time, one thread at a time with calls of its
// operation that fail. Fails when memory or descriptors grow, or an outcome is wrong.
//
//     fault_soak SECONDS [SEED]
#include "tests/faults/operations.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <malloc.h>
#include <mutex>
#include <random>
#include <thread>

namespace
{

using test::World;

constexpr int thread_count = 4;

std::atomic<bool> over{false};
std::atomic<long> calls{0};
std::atomic<long> failures{0};
std::atomic<long> faults_fired{0};
std::atomic<long> complaints{0};
std::mutex fault_token;

/// Whether an operation keeps to its own world. The name of a process is looked up in the table of
/// any of them, and what halts or ends is not for a test that runs for long.
bool fits(const test::Operation& operation)
{
    return !operation.name.starts_with("Stop.name") && operation.family != std::string{"shutdown"};
}

void soak(World& world, unsigned seed)
{
    std::mt19937 random{seed};
    while (!over)
    {
        const auto& operation = world.operations()[random() % world.operations().size()];
        if (!fits(operation))
            continue;
        world.prepare(operation);
        faults::Report report;
        const std::unique_lock<std::mutex> token{fault_token, std::try_to_lock};
        const bool with_fault = token.owns_lock() && random() % 4 != 0;
        if (with_fault)
            faults::faults_arm({static_cast<unsigned>(1 + random() % 25),
                                static_cast<unsigned>(random() % 4),
                                random() % 3 == 0 ? faults::Mode::same : faults::Mode::once});
        const test::Outcome outcome = test::call(operation);
        if (with_fault)
        {
            report = faults::faults_disarm();
            unsigned first = 0;
            faults::faults_forget_allocations(&first);
        }
        const std::string complaint = world.judge(operation, outcome, report, true, false);
        if (!complaint.empty() && ++complaints < 20)
            std::printf("%s: %s %d -> %s\n", operation.name.c_str(), report.function, report.error,
                        complaint.c_str());
        world.release(operation);
        faults_fired += report.fired;
        failures += !outcome.result;
        ++calls;
    }
}

struct Usage
{
    std::size_t heap;
    std::size_t descriptors;
};

Usage run_round(std::deque<World>& worlds, std::chrono::milliseconds time, unsigned seed)
{
    over = false;
    std::vector<std::thread> threads;
    for (World& world : worlds)
        threads.emplace_back([&world, seed = seed++] { soak(world, seed); });
    std::this_thread::sleep_for(time);
    over = true;
    for (auto& thread : threads)
        thread.join();
    malloc_trim(0);
    const Usage now{mallinfo2().uordblks, test::Held::now().descriptors.size()};
    std::printf("%zu KiB of heap, %zu descriptors; %ld calls, %ld failed, %ld faults\n",
                now.heap / 1024, now.descriptors, calls.load(), failures.load(),
                faults_fired.load());
    return now;
}

} // namespace

int main(int argc, char** argv)
{
    const long seconds = argc > 1 ? std::atol(argv[1]) : 60;
    auto seed = static_cast<unsigned>(argc > 2 ? std::atol(argv[2]) : 1);
    constexpr long rounds = 10;
    const std::chrono::milliseconds round_time{seconds * 1000 / rounds};
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    test::become_ordinary_user();
    std::deque<World> worlds(thread_count);

    // The first round fills what is filled once; growth is what comes after it.
    const Usage first = run_round(worlds, round_time, seed);
    Usage last = first;
    for (long round = 1; round < rounds; ++round)
        last = run_round(worlds, round_time, seed += thread_count);
    constexpr std::size_t tolerated_bytes = std::size_t{256} * 1024;
    const bool grew =
        last.heap > first.heap + tolerated_bytes || last.descriptors != first.descriptors;
    std::printf("%s\n", grew ? "grew" : complaints != 0 ? "wrong outcomes" : "no growth");
    while (!worlds.empty())
        worlds.pop_back();
    return grew || complaints != 0 ? 1 : 0;
}
