/// The commands: what their options are, and the function of each, which returns the exit status.
#pragma once

#include "screen.h"

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace program
{

/// Exit statuses beyond 0 and 1.
enum Status
{
    wrong_use = 2,
    ended_at_limit = 124,
    cannot_start = 126,
    not_found = 127
};

/// Wrong use that shows only when a command is at work: one line and the status wrong_use.
class Usage : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

struct ReportOptions
{
    bool json = false;
    bool metrics = false;
    bool hardware = false;
    bool identifiers = false;
    std::chrono::milliseconds interval{-1}; ///< Below 0: what suits the output.
};
int report(const ReportOptions& options);

struct VolumesOptions
{
    double limit = -1; ///< A ratio; below 0: none.
    bool all = false;
    bool network = false;
    bool json = false;
};
int volumes(const VolumesOptions& options);

struct ProcessesOptions
{
    std::string pattern;
    std::string sort = "load";
    bool tree = false;
    bool watch = false;
    bool json = false;
    std::chrono::milliseconds interval{0};
    std::size_t count = 0; ///< 0: all.
};
int processes(const ProcessesOptions& options);

struct WatchOptions
{
    std::string process;
    std::chrono::milliseconds interval{1000};
};
int watch(const WatchOptions& options);

struct RunOptions
{
    std::chrono::milliseconds limit{0};
    std::chrono::milliseconds grace{0};
    std::uint64_t output_limit = 0;
    bool has_output_limit = false;
    bool input = false;
    bool stats = false;
    std::vector<std::string> command;
};
int run(const RunOptions& options);

struct TreeOptions
{
    std::string path;
    std::string destination;
    std::string pattern;
    int depth = 0;
    bool same_volume = false;
    bool long_form = false;
    bool null_ended = false;
    bool folders = false;
    bool replace = false;
    bool dry_run = false;
    bool yes = false;
    std::size_t count = 10;
};
int tree_list(const TreeOptions& options);
int tree_biggest(const TreeOptions& options);
int tree_copy(const TreeOptions& options);
int tree_empty(const TreeOptions& options);
int tree_delete(const TreeOptions& options);

} // namespace program
