#include "bench/harness.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench
{
namespace
{

namespace fs = std::filesystem;

/// The value of a "key : value" line of a file of /proc.
std::string proc_line(const std::string& file, const std::string& key)
{
    std::ifstream lines{file};
    for (std::string line; std::getline(lines, line);)
        if (line.compare(0, key.size(), key) == 0)
        {
            const std::size_t value = line.find_first_not_of(" \t", line.find(':') + 1);
            return value == std::string::npos ? "" : line.substr(value);
        }
    return "?";
}

std::string load()
{
    std::ifstream file{"/proc/loadavg"};
    std::string minute;
    file >> minute;
    return minute;
}

/// Runs a measurement in a child of its own, so that neither side finds the heap as the other left
/// it, and hands its figure over.
double in_child(const std::function<double()>& measurement)
{
    int ends[2];
    require(pipe2(ends, O_CLOEXEC) == 0, "pipe");
    static_cast<void>(std::fflush(nullptr));
    const pid_t child = fork();
    require(child >= 0, "fork");
    if (child == 0)
    {
        const double figure = measurement();
        _exit(write(ends[1], &figure, sizeof figure) == sizeof figure ? 0 : 1);
    }
    close(ends[1]);
    double figure = 0;
    require(read(ends[0], &figure, sizeof figure) == sizeof figure, "a measurement failed");
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return figure;
}

using Clock = double (*)();

double elapsed_seconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

/// What this process computed: the measure of something that waits for nothing.
double processor_seconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

double seconds_of(const Side& side, Clock clock)
{
    if (side.prepare)
        side.prepare();
    return in_child(
        [&]
        {
            const double start = clock();
            side.run();
            return clock() - start;
        });
}

double median(std::vector<double> figures)
{
    const auto middle = figures.begin() + static_cast<std::ptrdiff_t>(figures.size() / 2);
    std::nth_element(figures.begin(), middle, figures.end());
    return *middle;
}

/// Fills the figures of both sides, which take turns at going first.
void measure(int turns, Clock clock, const Side& ours, const Side& reference,
             std::vector<double>& our_figures, std::vector<double>& reference_figures)
{
    for (int turn = 0; turn < turns; ++turn)
    {
        if (turn % 2 == 0)
            our_figures.push_back(seconds_of(ours, clock));
        reference_figures.push_back(seconds_of(reference, clock));
        if (turn % 2 != 0)
            our_figures.push_back(seconds_of(ours, clock));
    }
}

const char* format_of(Unit unit)
{
    switch (unit)
    {
    case Unit::seconds:
        return "%10.4f s  %10.4f s ";
    case Unit::microseconds:
        return "%10.2f us %10.2f us";
    case Unit::nanoseconds_per_call:
        return "%10.1f ns %10.1f ns";
    case Unit::mebibytes:
        break;
    }
    return "%10.2f MiB%10.2f MiB";
}

} // namespace

Table::Table(const std::string& title)
{
    utsname system{};
    uname(&system);
    std::printf(
        "%s\n%s, %u processors, %s, %s %s; load %s\nmedians of %d runs or more, taken in turn\n\n",
        title.c_str(), proc_line("/proc/cpuinfo", "model name").c_str(),
        std::thread::hardware_concurrency(), proc_line("/proc/meminfo", "MemTotal").c_str(),
        system.sysname, system.release, load().c_str(), rounds);
    std::printf("%-46s %12s %12s %7s %8s\n", "", "ours", "reference", "ratio", "limit");
}

void Table::compare(const std::string& name, double limit, const Side& ours, const Side& reference,
                    int turns)
{
    std::vector<double> our_times;
    std::vector<double> reference_times;
    measure(turns, elapsed_seconds, ours, reference, our_times, reference_times);
    compare_figures(name, limit, Unit::seconds, std::move(our_times), std::move(reference_times));
}

void Table::compare_short(const std::string& name, double limit, const std::function<void()>& ours,
                          const std::function<void()>& reference)
{
    const auto microseconds_of = [](const std::function<void()>& call, int calls)
    {
        const double start = elapsed_seconds();
        for (int i = 0; i < calls; ++i)
            call();
        return (elapsed_seconds() - start) / calls * 1e6;
    };
    constexpr double microseconds_per_turn = 20'000;
    constexpr int turns = 31;
    const double once = std::max(microseconds_of(ours, 1), 0.01);
    const int calls = static_cast<int>(std::max(1.0, microseconds_per_turn / once));
    std::vector<double> our_times;
    std::vector<double> reference_times;
    for (int turn = 0; turn < turns; ++turn)
    {
        our_times.push_back(microseconds_of(ours, calls));
        reference_times.push_back(microseconds_of(reference, calls));
    }
    compare_figures(name, limit, Unit::microseconds, std::move(our_times),
                    std::move(reference_times));
}

void Table::compare_calls(const std::string& name, double limit_ns, long calls,
                          const std::function<void()>& ours, const std::function<void()>& reference)
{
    const auto repeated = [calls](const std::function<void()>& call)
    {
        return [calls, &call]
        {
            for (long i = 0; i < calls; ++i)
                call();
        };
    };
    std::vector<double> our_times;
    std::vector<double> reference_times;
    measure(rounds, processor_seconds, {repeated(ours)}, {repeated(reference)}, our_times,
            reference_times);
    const double scale = 1e9 / static_cast<double>(calls);
    const double our_time = median(our_times) * scale;
    print(name, Unit::nanoseconds_per_call, our_time, median(reference_times) * scale, our_time,
          limit_ns);
}

void Table::compare_figures(const std::string& name, double limit, Unit unit,
                            std::vector<double> ours, std::vector<double> reference)
{
    const double our_median = median(std::move(ours));
    const double reference_median = median(std::move(reference));
    print(name, unit, our_median, reference_median, our_median / reference_median, limit);
}

void Table::print(const std::string& name, Unit unit, double ours, double reference, double bounded,
                  double limit)
{
    const bool kept = bounded <= limit;
    over_ += kept ? 0 : 1;
    std::printf("%-46s ", name.c_str());
    std::printf(format_of(unit), ours, reference);
    const char* limit_unit = unit == Unit::nanoseconds_per_call ? " ns" : "   ";
    std::printf(" %6.2f %5.4g%s%s\n", ours / reference, limit, limit_unit, kept ? "" : " OVER");
    static_cast<void>(std::fflush(stdout));
}

void run_command(const std::vector<std::string>& words)
{
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const auto& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = 0;
    const bool done =
        posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0 &&
        waitpid(child, &status, 0) == child && status == 0;
    posix_spawn_file_actions_destroy(&actions);
    require(done, words[0]);
}

double memory_of(const std::function<void()>& body)
{
    return in_child(
        [&]
        {
            // What the parent has freed must not be used again uncounted.
            malloc_trim(0);
            const auto kibibytes = [](const char* key)
            { return std::stod(proc_line("/proc/self/status", key)); };
            const double before = kibibytes("VmRSS");
            body();
            return (kibibytes("VmHWM") - before) / 1024;
        });
}

void make_tree(const std::string& top, int folders)
{
    for (int folder = 0; folder < folders; ++folder)
    {
        const std::string path =
            top + "/group_" + std::to_string(folder / 100) + "/folder_" + std::to_string(folder);
        fs::create_directories(path);
        const int descriptor = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (int file = 0; file < files_in_a_folder; ++file)
        {
            const std::string name =
                "document_" + std::to_string(file) + (file % 4 == 0 ? ".txt" : ".dat");
            require(mknodat(descriptor, name.c_str(), S_IFREG | 0644, 0) == 0, name);
        }
        close(descriptor);
    }
}

void require(bool condition, const std::string& what)
{
    if (condition)
        return;
    std::perror(what.c_str());
    std::exit(2);
}

Scratch::Scratch()
{
    std::string pattern = fs::temp_directory_path() / "mirovan-bench-XXXXXX";
    require(mkdtemp(pattern.data()) != nullptr, pattern);
    path_ = pattern;
}

Scratch::~Scratch()
{
    std::error_code left_behind;
    fs::remove_all(path_, left_behind);
}

} // namespace bench
