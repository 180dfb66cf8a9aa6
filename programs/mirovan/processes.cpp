#include "facts.h"

#include "commands.h"
#include "terminal.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fnmatch.h>
#include <map>
#include <thread>

namespace program
{

namespace
{

using json = nlohmann::ordered_json;
using mirovan::process::record;
using Clock = std::chrono::system_clock;

nanoseconds used_time(const record& process)
{
    return process.user_time.value_or(nanoseconds{0}) +
           process.system_time.value_or(nanoseconds{0});
}

struct Row
{
    record process;
    double load = 0; ///< Processors used: since the last look, at the first since the start.
};

/// The processes with their loads, look after look.
class Looks
{
public:
    std::vector<Row> look()
    {
        const auto now = Clock::now();
        std::vector<Row> rows;
        std::map<std::pair<int, mirovan::file::time_point>, nanoseconds> used;
        for (record& process : mirovan::process::processes())
        {
            const auto key =
                std::pair{process.id, process.start_time.value_or(mirovan::file::time_point{})};
            const nanoseconds time = used_time(process);
            const auto before = used_.find(key);
            const nanoseconds passed = before != used_.end() ? now - last_ : now - key.second;
            const nanoseconds worked = before != used_.end() ? time - before->second : time;
            const double load = passed.count() > 0 ? static_cast<double>(worked.count()) /
                                                         static_cast<double>(passed.count())
                                                   : 0;
            used.emplace(key, time);
            rows.push_back({std::move(process), load});
        }
        used_ = std::move(used);
        last_ = now;
        return rows;
    }

private:
    std::map<std::pair<int, mirovan::file::time_point>, nanoseconds> used_;
    Clock::time_point last_;
};

bool matches(const record& process, const std::string& pattern)
{
    const std::string name = process.name;
    return pattern.empty() || pattern == std::to_string(process.id) ||
           (pattern.find_first_of("*?[") == std::string::npos
                ? name.find(pattern) != std::string::npos
                : fnmatch(pattern.c_str(), name.c_str(), 0) == 0);
}

void sort(std::vector<Row>& rows, const std::string& by)
{
    const auto key = [&](const Row& row)
    {
        if (by == "memory")
            return static_cast<double>(row.process.resident_size.value_or(0));
        if (by == "start")
            return static_cast<double>(row.process.start_time.value_or(mirovan::file::time_point{})
                                           .time_since_epoch()
                                           .count());
        return by == "id" ? -static_cast<double>(row.process.id) : row.load;
    };
    std::stable_sort(rows.begin(), rows.end(),
                     [&](const Row& a, const Row& b) { return key(a) > key(b); });
}

/// Rows in the order of the tree, each with what stands in front of its name.
std::vector<std::pair<const Row*, std::string>> as_tree(const std::vector<Row>& rows)
{
    std::map<int, std::vector<const Row*>> children;
    std::map<int, const Row*> by_id;
    for (const Row& row : rows)
        by_id[row.process.id] = &row;
    for (const Row& row : rows)
    {
        const int parent = row.process.parent.value_or(0);
        children[parent != row.process.id && by_id.contains(parent) ? parent : -1].push_back(&row);
    }
    std::vector<std::pair<const Row*, std::string>> ordered;
    const auto add = [&](auto& self, int parent, const std::string& indent) -> void
    {
        const auto found = children.find(parent);
        if (found == children.end())
            return;
        for (const Row* row : found->second)
        {
            const bool is_last = row == found->second.back();
            const bool is_root = parent == -1;
            const char* branch = is_root ? "" : utf8_output ? (is_last ? "└─ " : "├─ ") : "|- ";
            const char* below = is_root ? "" : is_last ? "   " : utf8_output ? "│  " : "|  ";
            ordered.emplace_back(row, indent + branch);
            self(self, row->process.id, indent + below);
        }
    };
    add(add, -1, "");
    return ordered;
}

/// What matches, and in a tree what is above it.
void select(std::vector<Row>& rows, const ProcessesOptions& options)
{
    std::map<int, int> parents;
    std::map<int, bool> wanted;
    for (const Row& row : rows)
        parents[row.process.id] = row.process.parent.value_or(0);
    for (const Row& row : rows)
    {
        if (!matches(row.process, options.pattern))
            continue;
        wanted[row.process.id] = true;
        for (int id = parents[row.process.id]; options.tree && id > 0 && !wanted[id];
             id = parents.contains(id) ? parents[id] : 0)
            wanted[id] = true;
    }
    std::erase_if(rows, [&](const Row& row) { return !wanted[row.process.id]; });
    sort(rows, options.sort);
    if (options.count != 0 && rows.size() > options.count && !options.tree)
        rows.resize(options.count);
}

std::string table(const std::vector<Row>& rows, const ProcessesOptions& options,
                  const Screen& screen)
{
    const auto now = std::chrono::floor<std::chrono::seconds>(Clock::now());
    Table lines{{{"PID", true, 10},
                 {"USER", false, 5},
                 {"LOAD", true, 9},
                 {"MEMORY", true, 8},
                 {"S", false, 4},
                 {"THREADS", true, 2},
                 {"TIME", true, 3},
                 {"START", true, 4},
                 {"NAME", false, 10, true, options.tree ? 40U : 8U}}};
    const auto add = [&](const Row& row, const std::string& indent)
    {
        const record& process = row.process;
        lines.add({std::to_string(process.id),
                   process.user_id ? shortened(harmless(user_name(*process.user_id)), 12) : "?",
                   process.user_time ? human_percent(row.load) : "?",
                   process.resident_size ? human_bytes(*process.resident_size) : "?",
                   std::string(1, process.state.value_or('?')),
                   process.threads ? std::to_string(*process.threads) : "?",
                   process.user_time ? human_duration(used_time(process)) : "?",
                   process.start_time ? human_time(*process.start_time, now) : "?",
                   indent + harmless(process.name)});
    };
    if (options.tree)
        for (const auto& [row, indent] : as_tree(rows))
            add(*row, indent);
    else
        for (const Row& row : rows)
            add(row, "");
    return lines.lines(screen);
}

json to_json(const std::vector<Row>& rows)
{
    const auto seconds = [](const std::optional<nanoseconds>& time)
    { return time ? json(std::chrono::duration<double>(*time).count()) : json(); };
    json list = json::array();
    for (const auto& [process, load] : rows)
        list.push_back(
            {{"id", process.id},
             {"parent_id", fact(process.parent)},
             {"user_id", fact(process.user_id)},
             {"name", text_fact(process.name)},
             {"state", process.state ? json(std::string(1, *process.state)) : json()},
             {"nice", fact(process.nice)},
             {"start_time_seconds",
              process.start_time ? seconds(process.start_time->time_since_epoch()) : json()},
             {"threads", fact(process.threads)},
             {"load_ratio", process.user_time ? json(load) : json()},
             {"resident_bytes", fact(process.resident_size)},
             {"virtual_bytes", fact(process.virtual_size)},
             {"user_seconds", seconds(process.user_time)},
             {"system_seconds", seconds(process.system_time)},
             {"page_faults", fact(process.page_faults)}});
    return list;
}

std::string frame(std::vector<Row> rows, const ProcessesOptions& options,
                  const mirovan::system::load_sampler::sample& load, const Screen& screen)
{
    const std::size_t all = rows.size();
    select(rows, options);
    const std::string keys =
        "sorted by " + options.sort + "; l load, m memory, s start, t tree, q quit";
    const std::size_t width = screen.width();
    std::string text =
        shortened(std::to_string(all) + " processes, load " + human_percent(load.total) + " of " +
                      std::to_string(load.each.size()) + " processors",
                  width) +
        '\n' + screen.paint(Colour::dim, shortened(keys, width)) + '\n';
    text += table(rows, options, screen);
    // No more lines than the terminal has.
    std::size_t end = 0;
    for (std::size_t line = 0; line < screen.height() && end < text.size(); ++line)
        end = std::min(text.find('\n', end), text.size() - 1) + 1;
    return text.substr(0, end);
}

int watch_all(ProcessesOptions options, const Screen& screen)
{
    if (!screen.is_terminal())
        throw Usage("--watch needs a terminal");
    const auto interval = options.interval.count() > 0 ? options.interval : std::chrono::seconds{2};
    Looks looks;
    mirovan::system::load_sampler sampler;
    looks.look();
    Terminal terminal{true};
    // The first figures soon, for now.
    int event = terminal.wait(std::chrono::milliseconds{250});
    std::vector<Row> rows = looks.look();
    auto load = sampler.load();
    auto next = std::chrono::steady_clock::now() + interval;
    while (event != Terminal::quit && event != 'q' &&
           terminal.draw(frame(rows, options, load, screen)))
    {
        const auto rest =
            std::chrono::ceil<std::chrono::milliseconds>(next - std::chrono::steady_clock::now());
        event = terminal.wait(std::max(rest, std::chrono::milliseconds{0}));
        if (event == Terminal::tick)
        {
            rows = looks.look();
            load = sampler.load();
            next = std::chrono::steady_clock::now() + interval;
        }
        else if (event == 't')
            options.tree = !options.tree;
        else if (const char* order = event == 'l'   ? "load"
                                     : event == 'm' ? "memory"
                                     : event == 's' ? "start"
                                                    : nullptr)
            options.sort = order;
    }
    return terminal.signal() == 0 ? 0 : 128 + terminal.signal();
}

/// The process that a person means by an id or a name.
record the_process(const std::string& text)
{
    std::vector<record> found = mirovan::process::processes();
    std::erase_if(found, [&](const record& process)
                  { return text != std::to_string(process.id) && text != process.name; });
    if (found.empty())
        throw std::runtime_error("no process has the id or the name '" + harmless(text) + "'");
    if (found.size() == 1)
        return found.front();
    std::string ids;
    for (const record& process : found)
        ids += (ids.empty() ? "" : ", ") + std::to_string(process.id);
    throw std::runtime_error("several processes have that name: " + ids);
}

} // namespace

int processes(const ProcessesOptions& options)
{
    const Screen screen{stdout};
    if (options.watch)
        return watch_all(options, screen);
    Looks looks;
    std::vector<Row> rows = looks.look();
    if (options.interval.count() > 0)
    {
        std::this_thread::sleep_for(options.interval);
        rows = looks.look();
    }
    select(rows, options);
    put(options.json ? to_json(rows).dump(2) + '\n' : table(rows, options, screen));
    return rows.empty() ? 1 : 0;
}

int watch(const WatchOptions& options)
{
    const Screen screen{stdout};
    const record first = the_process(options.process);
    const std::string title = std::to_string(first.id) + ' ' + harmless(first.name);
    record last = first;
    auto at = Clock::now();
    std::uint64_t peak = 0;
    std::vector<double> loads;
    std::optional<Terminal> terminal;
    if (screen.is_terminal())
        terminal.emplace(false);
    const auto wait = [&]
    {
        if (!terminal)
        {
            std::this_thread::sleep_for(options.interval);
            return 0;
        }
        const auto end = std::chrono::steady_clock::now() + options.interval;
        int event = Terminal::resize;
        while (event != Terminal::tick && event != Terminal::quit && event != 'q')
            event = terminal->wait(std::max(std::chrono::ceil<std::chrono::milliseconds>(
                                                end - std::chrono::steady_clock::now()),
                                            std::chrono::milliseconds{0}));
        return event;
    };
    while (true)
    {
        const int event = wait();
        if (event != Terminal::tick)
            return terminal->signal() == 0 ? 0 : 128 + terminal->signal();
        std::error_code ec;
        const record now = mirovan::process::get_record(first.id, ec);
        if (ec || now.start_time != first.start_time || now.state == 'Z')
            break;
        const auto moment = Clock::now();
        loads.push_back(static_cast<double>((used_time(now) - used_time(last)).count()) /
                        static_cast<double>(nanoseconds{moment - at}.count()));
        last = now;
        at = moment;
        peak = std::max(peak, now.resident_size.value_or(0));
        const std::string figures = padded(human_percent(loads.back()), 6, true) + "  " +
                                    padded(human_bytes(now.resident_size.value_or(0)), 5, true);
        if (!terminal)
            put(human_duration(moment - first.start_time.value_or(mirovan::file::time_point{})) +
                "  " + figures + '\n');
        else
        {
            const std::size_t used = columns(title) + columns(figures) + 5;
            const std::size_t width = screen.width() > used + 8 ? screen.width() - used : 8;
            const double top = std::max(1.0, *std::max_element(loads.begin(), loads.end()));
            terminal->draw(shortened(title + "  " + figures + "  " + graph(loads, top, width),
                                     screen.width() - 1));
        }
        if (!terminal && std::fflush(stdout) != 0)
            return 0;
    }
    terminal.reset();
    put(title + " ended; it used " + human_duration(used_time(last)) +
        " of processor time and at most " + human_bytes(peak) + " of memory\n");
    return 0;
}

} // namespace program
