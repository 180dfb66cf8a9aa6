#pragma once

#include "bench/harness.h"

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <string>
#include <sys/mman.h>
#include <vector>

/// One side of the comparison with the neighbours: a program with a table of rows.
///
///     SIDE                              prints the names of its rows
///     SIDE ROW FOLDER SECONDS [MIB]     repeats the row for so long, but once at least, with so much
///                                       memory resident; prints the seconds of one run, and what
///                                       the row counted
namespace side
{

using bench::require;
using Folder = const std::string&;

inline const std::string command_true = "/bin/true";
inline const std::vector<std::string> command_echo = {"/bin/echo", "a"};
inline const std::vector<std::string> command_much = {"/usr/bin/seq", "1", "3000000"};

/// What is written to fill a file: 1 MiB of zeros for every side.
inline const std::string& block()
{
    static const std::string zeros(std::size_t{1} << 20U, '\0');
    return zeros;
}

/// A number that tools/neighbours hands to all sides.
inline long number(const char* name)
{
    const char* const text = std::getenv(name);
    require(text != nullptr, name);
    return std::atol(text);
}

/// MiB of the large file, number of the small ones.
inline long large_size()
{
    return number("NEIGHBOURS_LARGE");
}

/// Calls the function with source and copy of each small file.
inline long each_small(Folder folder,
                       const std::function<void(const std::string&, const std::string&)>& copy)
{
    const long files = number("NEIGHBOURS_SMALL");
    for (long file = 0; file < files; ++file)
        copy(folder + "/small/" + std::to_string(file), folder + "/copies/" + std::to_string(file));
    return files;
}

/// The process that the row on one process is about.
inline int subject()
{
    return static_cast<int>(number("NEIGHBOURS_PROCESS"));
}

inline bool is_text(const std::string& name)
{
    return name.ends_with(".txt");
}

struct Row
{
    const char* name;
    std::function<long(Folder)> run; ///< Returns what it counted.
};

inline int main(int argc, char** argv, std::initializer_list<Row> rows)
{
    if (argc < 4)
    {
        for (const Row& row : rows)
            std::puts(row.name);
        return 0;
    }
    if (argc > 4)
        require(mmap(nullptr, std::strtoul(argv[4], nullptr, 10) << 20U, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0) != MAP_FAILED,
                "memory");
    for (const Row& row : rows)
    {
        if (std::string{argv[1]} != row.name)
            continue;
        using Clock = std::chrono::steady_clock;
        const std::chrono::duration<double> wanted{std::atof(argv[3])};
        long counted = wanted.count() > 0 ? row.run(argv[2]) : 0;
        const auto start = Clock::now();
        std::chrono::duration<double> passed{};
        long runs = 0;
        do
        {
            counted = row.run(argv[2]);
            ++runs;
            passed = Clock::now() - start;
        } while (passed < wanted);
        std::printf("%.9f %ld\n", passed.count() / static_cast<double>(runs), counted);
        return 0;
    }
    return 2;
}

} // namespace side
