#include "facts.h"

#include "commands.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <thread>

namespace program
{

namespace
{

using json = nlohmann::ordered_json;
using std::chrono::milliseconds;

constexpr milliseconds interval_on_terminal{200}; // long enough for the kernel's clock ticks
constexpr std::size_t bar_columns = 20;

struct Machine
{
    mirovan::system::identity_record identity;
    mirovan::system::memory_details_record memory;
    std::vector<mirovan::system::processor_times_record> times;
    std::optional<mirovan::system::load_sampler::sample> load;
    std::vector<mirovan::hardware::volume_details> volumes;
    mirovan::system::screen_size display;
    std::string user;
    std::optional<mirovan::hardware::processor_record> processor;
    std::optional<mirovan::hardware::serial_record> serials;
    std::chrono::sys_time<nanoseconds> now;
};

Machine examine(const ReportOptions& options, milliseconds interval)
{
    Machine machine;
    std::optional<mirovan::system::load_sampler> sampler;
    if (interval.count() > 0)
        sampler.emplace();
    const auto start = std::chrono::steady_clock::now();
    machine.now = std::chrono::system_clock::now();
    machine.identity = mirovan::system::identity();
    machine.memory = mirovan::system::memory_details();
    machine.volumes = mirovan::hardware::volumes();
    std::erase_if(machine.volumes, [](const auto& volume) { return volume.total == 0; });
    machine.display = mirovan::system::screen();
    machine.user = mirovan::system::user_name();
    // These two run commands of the system.
    if (options.hardware)
        machine.processor = mirovan::hardware::processor();
    if (options.identifiers)
        machine.serials = mirovan::hardware::serials();
    if (sampler)
    {
        std::this_thread::sleep_until(start + interval);
        machine.load = sampler->load();
    }
    machine.times = mirovan::system::processor_times();
    return machine;
}

double seconds(nanoseconds time)
{
    return std::chrono::duration<double>(time).count();
}

/// Numbers that are 0 when they are unknown.
template <class Number>
std::optional<Number> known(Number number)
{
    return number != 0 ? std::optional{number} : std::nullopt;
}

std::optional<double> start_seconds(const Machine& machine)
{
    return known(seconds(machine.identity.start_time.time_since_epoch()));
}

json processors_json(const Machine& machine)
{
    json each = json::array();
    for (const auto& times : machine.times)
        if (times.processor >= 0)
        {
            const auto at = static_cast<std::size_t>(times.processor);
            const bool is_measured = machine.load && at < machine.load->each.size();
            each.push_back({{"processor", times.processor},
                            {"load_ratio", is_measured ? json(machine.load->each[at]) : json()},
                            {"user_seconds", seconds(times.user)},
                            {"nice_seconds", seconds(times.nice)},
                            {"system_seconds", seconds(times.system)},
                            {"idle_seconds", seconds(times.idle)}});
        }
    json all = {{"count", fact(known(machine.identity.processors))},
                {"online", fact(known(machine.identity.processors_online))},
                {"usable", fact(known(machine.identity.processors_usable))},
                {"load_ratio", machine.load ? json(machine.load->total) : json()},
                {"each", std::move(each)}};
    if (machine.processor)
        all.update({{"name", text_fact(machine.processor->name)},
                    {"model", text_fact(machine.processor->model)},
                    {"speed_megahertz", machine.processor->megahertz},
                    {"hardware_threads", machine.processor->threads}});
    return all;
}

json report_json(const Machine& machine)
{
    const auto& identity = machine.identity;
    const auto& memory = machine.memory;
    json volumes = json::array();
    for (const auto& volume : machine.volumes)
        volumes.push_back(volume_json(volume));
    json report = {{"mirovan_version", Mirovan_GetVersion()},
                   {"time_seconds", seconds(machine.now.time_since_epoch())},
                   {"system",
                    {{"name", text_fact(identity.name)},
                     {"version", text_fact(identity.version)},
                     {"kernel_name", text_fact(identity.kernel)},
                     {"kernel_version", text_fact(identity.kernel_version)},
                     {"architecture", text_fact(identity.architecture)},
                     {"host_name", text_fact(identity.host)},
                     {"user_name", text_fact(machine.user)},
                     {"start_time_seconds", fact(start_seconds(machine))},
                     {"page_size_bytes", fact(known(identity.page_size))}}},
                   {"processors", processors_json(machine)},
                   {"memory",
                    {{"total_bytes", fact(memory.total)},
                     {"available_bytes", fact(memory.available)},
                     {"free_bytes", fact(memory.free)},
                     {"wired_bytes", fact(memory.wired)},
                     {"compressed_bytes", fact(memory.compressed)},
                     {"cached_bytes", fact(memory.cached)},
                     {"swap_total_bytes", fact(memory.swap_total)},
                     {"swap_used_bytes", fact(memory.swap_used)},
                     {"process_limit_bytes", fact(memory.process_limit)}}},
                   {"volumes", std::move(volumes)},
                   {"display", nullptr}};
    if (machine.display.width > 0)
        report["display"] = {{"width", machine.display.width}, {"height", machine.display.height}};
    if (machine.serials)
        report["identifiers"] = {{"platform_serial", text_fact(machine.serials->platform)},
                                 {"system_serial", text_fact(machine.serials->system)},
                                 {"volume_uuid", text_fact(machine.serials->volume_uuid)},
                                 {"hardware_uuid", text_fact(machine.serials->hardware_uuid)}};
    return report;
}

/// OpenMetrics text that readers of the older Prometheus text format take too. The two disagree on
/// the names of counters, so everything is a gauge.
class Metrics
{
public:
    using Labels = std::vector<std::pair<std::string_view, std::string>>;

    void family(const std::string& name, const std::string& help)
    {
        name_ = "mirovan_" + name;
        text_ += "# HELP " + name_ + ' ' + help + "\n# TYPE " + name_ + " gauge\n";
    }
    template <class Value>
    void sample(const std::optional<Value>& value, const Labels& labels = {})
    {
        if (!value)
            return;
        text_ += name_;
        for (std::size_t at = 0; at < labels.size(); ++at)
            text_ += (at == 0 ? "{" : ",") + std::string{labels[at].first} + "=\"" +
                     escaped(labels[at].second) + '"';
        // JSON's numbers are those of the format, whatever the locale.
        text_ += (labels.empty() ? " " : "} ") + json(*value).dump() + '\n';
    }
    [[nodiscard]] std::string text() const { return text_ + "# EOF\n"; }

private:
    static std::string escaped(const std::string& value)
    {
        std::string result;
        for (const char character : valid_utf8(value))
            if (character == '\n')
                result += "\\n";
            else
                (character == '"' || character == '\\' ? result += '\\' : result) += character;
        return result;
    }

    std::string name_;
    std::string text_;
};

std::string to_metrics(const Machine& machine)
{
    Metrics metrics;
    const auto& identity = machine.identity;
    metrics.family("system_info", "What this system is; always 1.");
    metrics.sample(std::optional{1}, {{"name", identity.name},
                                      {"version", identity.version},
                                      {"kernel", identity.kernel},
                                      {"kernel_version", identity.kernel_version},
                                      {"architecture", identity.architecture},
                                      {"host", identity.host}});
    metrics.family("system_start_time_seconds", "Start of the system since 1970 UTC.");
    metrics.sample(start_seconds(machine));
    metrics.family("report_time_seconds", "When this report was made, since 1970 UTC.");
    metrics.sample(std::optional{seconds(machine.now.time_since_epoch())});

    metrics.family("processors", "Number of processors.");
    metrics.sample(known(identity.processors), {{"state", "all"}});
    metrics.sample(known(identity.processors_online), {{"state", "online"}});
    metrics.sample(known(identity.processors_usable), {{"state", "usable"}});
    metrics.family("processor_time_seconds",
                   "Time since the start of the system; its rate is the load.");
    for (const auto& times : machine.times)
        if (times.processor >= 0)
        {
            const std::string number = std::to_string(times.processor);
            const std::pair<const char*, nanoseconds> modes[] = {{"user", times.user},
                                                                 {"nice", times.nice},
                                                                 {"system", times.system},
                                                                 {"idle", times.idle}};
            for (const auto& [mode, time] : modes)
                metrics.sample(std::optional{seconds(time)},
                               {{"processor", number}, {"mode", mode}});
        }
    if (machine.load)
    {
        metrics.family("processor_load_ratio", "Load of all processors during the report.");
        metrics.sample(std::optional{machine.load->total});
    }

    metrics.family("memory_bytes", "Physical memory and swap space by kind.");
    const auto& memory = machine.memory;
    const std::pair<const char*, std::optional<std::uint64_t>> kinds[] = {
        {"total", memory.total},
        {"available", memory.available},
        {"free", memory.free},
        {"wired", memory.wired},
        {"compressed", memory.compressed},
        {"cached", memory.cached},
        {"swap_total", memory.swap_total},
        {"swap_used", memory.swap_used}};
    for (const auto& [kind, bytes] : kinds)
        metrics.sample(bytes, {{"kind", kind}});

    const auto of_volumes = [&](const char* name, const char* help, auto value)
    {
        metrics.family(name, help);
        for (const auto& volume : machine.volumes)
            metrics.sample(value(volume), {{"volume", volume.mount_point.native()},
                                           {"device", volume.device},
                                           {"type", volume.type}});
    };
    of_volumes("volume_size_bytes", "Size of a volume.", [](auto& volume) { return volume.total; });
    of_volumes("volume_free_bytes", "Free space of a volume.",
               [](auto& volume) { return volume.free; });
    of_volumes("volume_available_bytes", "What users other than root may still write to a volume.",
               [](auto& volume) { return volume.available; });
    of_volumes("volume_used_ratio", "How full a volume is for users other than root, from 0 to 1.",
               used_ratio);
    return metrics.text();
}

/// The page for a person: titles, and facts under them.
class Page
{
public:
    explicit Page(const Screen& screen) : screen_{screen} {}

    void title(const std::string& text)
    {
        text_ += (text_.empty() ? "" : "\n") + screen_.paint(Colour::bold, text) + '\n';
    }
    /// A value that is already harmless, and what is shown behind it where there is room.
    void line(const std::string& name, const std::string& value, const std::string& more = {})
    {
        if (value.empty())
            return;
        const std::size_t room = screen_.width() > margin ? screen_.width() - margin : 1;
        const bool fits = columns(value) + 2 + columns(more) <= room;
        text_ += "  " + padded(name, margin - 2, false) +
                 (columns(value) <= room ? value : shortened(value, room)) +
                 (more.empty() || !fits ? "" : "  " + more) + '\n';
    }
    void meter(const std::string& name, double ratio, const std::string& more)
    {
        const std::string percent = padded(human_percent(ratio), 6, true);
        line(name,
             screen_.width() < margin + bar_columns + columns(percent) + 2
                 ? percent
                 : screen_.paint(colour_of(ratio), bar(ratio, bar_columns)) + ' ' + percent,
             more);
    }
    [[nodiscard]] const std::string& text() const { return text_; }

private:
    static constexpr std::size_t margin = 16;
    const Screen& screen_;
    std::string text_;
};

std::string joined(const std::string& first, const std::string& second)
{
    return harmless(first + (first.empty() || second.empty() ? "" : " ") + second);
}

std::string of(const std::optional<std::uint64_t>& part, const std::optional<std::uint64_t>& whole)
{
    return part && whole ? human_bytes(*part) + " of " + human_bytes(*whole) : "";
}

void show_processors(Page& page, const Machine& machine)
{
    const auto& identity = machine.identity;
    page.title("Processors");
    if (machine.processor)
    {
        page.line("Name", harmless(machine.processor->name));
        page.line("Model", harmless(machine.processor->model));
        if (machine.processor->megahertz > 0)
            page.line("Speed", std::to_string(machine.processor->megahertz) + " MHz");
    }
    const auto count = [](unsigned number) { return number != 0 ? std::to_string(number) : "?"; };
    page.line("Number", count(identity.processors) + ", " + count(identity.processors_online) +
                            " online, " + count(identity.processors_usable) + " usable");
    if (!machine.load)
        return;
    page.meter("Load now", machine.load->total, "");
    if (machine.load->each.size() > 1)
        page.line("Each", graph(machine.load->each, 1, machine.load->each.size()));
}

std::string to_page(const Machine& machine, const Screen& screen)
{
    Page page{screen};
    const auto& identity = machine.identity;
    page.title("System");
    page.line("Name", joined(identity.name, identity.version));
    page.line("Kernel", joined(identity.kernel, identity.kernel_version),
              harmless(identity.architecture));
    page.line("Host", harmless(identity.host));
    page.line("User", harmless(machine.user));
    if (start_seconds(machine))
        page.line("Up", human_duration(machine.now - identity.start_time));

    show_processors(page, machine);

    page.title("Memory");
    const auto& memory = machine.memory;
    if (memory.total && memory.available && *memory.total > 0)
    {
        const std::uint64_t used = *memory.total - std::min(*memory.available, *memory.total);
        page.meter("Used", static_cast<double>(used) / static_cast<double>(*memory.total),
                   of(used, memory.total));
    }
    if (memory.swap_total.value_or(0) > 0 && memory.swap_used)
        page.meter("Swap",
                   static_cast<double>(*memory.swap_used) / static_cast<double>(*memory.swap_total),
                   of(memory.swap_used, memory.swap_total));
    if (memory.process_limit)
        page.line("Limit", human_bytes(*memory.process_limit));

    page.title("Volumes");
    for (const auto& volume : machine.volumes)
    {
        const std::string name = shortened(harmless(volume.mount_point.native()), 13);
        const auto ratio = used_ratio(volume);
        if (ratio)
            page.meter(name, *ratio,
                       human_bytes(*volume.available) + " available of " +
                           human_bytes(*volume.total));
        else
            page.line(name, "size unknown", harmless(volume.type));
    }

    page.title("Display");
    page.line("Size", machine.display.width > 0 ? std::to_string(machine.display.width) + " x " +
                                                      std::to_string(machine.display.height)
                                                : "none");
    if (machine.serials)
    {
        page.title("Identifiers");
        page.line("Platform", harmless(machine.serials->platform));
        page.line("System", harmless(machine.serials->system));
        page.line("Hardware", harmless(machine.serials->hardware_uuid));
        page.line("Volume", harmless(machine.serials->volume_uuid));
    }
    return page.text();
}

} // namespace

int report(const ReportOptions& options)
{
    const Screen screen{stdout};
    milliseconds interval = options.interval;
    if (interval.count() < 0)
        interval = screen.is_terminal() && !options.json && !options.metrics ? interval_on_terminal
                                                                             : milliseconds{0};
    const Machine machine = examine(options, interval);
    if (options.json)
        put(report_json(machine).dump(2) + '\n');
    else if (options.metrics)
        put(to_metrics(machine));
    else
        put(to_page(machine, screen));
    return 0;
}

} // namespace program
