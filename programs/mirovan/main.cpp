#include "commands.h"

#include <mirovan.hpp>

#include <CLI/CLI.hpp>

#include <clocale>
#include <csignal>
#include <cstring>
#include <functional>
#include <langinfo.h>

namespace
{

using namespace program;

constexpr int status_of_failure = 3;

/// Converts with a parser that says what is wrong.
template <class Value, class Parser>
void option(CLI::App& command, const std::string& name, Value& value, Parser parser,
            const std::string& help, const std::string& type)
{
    command
        .add_option_function<std::string>(
            name,
            [&value, parser, name](const std::string& text)
            {
                try
                {
                    value = parser(text);
                }
                catch (const std::invalid_argument& error)
                {
                    throw CLI::ValidationError(name, error.what());
                }
            },
            help)
        ->type_name(type);
}

/// A command, with examples under its help and the function that does it.
CLI::App& command(CLI::App& parent, const std::string& name, const std::string& what,
                  const std::string& examples, std::function<int()> function,
                  std::function<int()>& chosen)
{
    CLI::App& made = *parent.add_subcommand(name, what);
    made.footer("Examples:\n" + examples);
    made.callback([&chosen, function = std::move(function)] { chosen = function; });
    return made;
}

struct Options
{
    ReportOptions report;
    VolumesOptions volumes;
    ProcessesOptions processes;
    WatchOptions watch;
    RunOptions run;
    TreeOptions tree;
};

void add_report(CLI::App& app, Options& options, std::function<int()>& chosen)
{
    CLI::App& report_command = command(
        app, "report", "The machine at a glance: system, processors, memory, volumes, display",
        "  mirovan report\n"
        "  mirovan report --json | jq .memory.available_bytes\n"
        "  mirovan report --metrics > /var/lib/prometheus/node-exporter/mirovan.prom",
        [&options] { return report(options.report); }, chosen);
    auto* as_json = report_command.add_flag("--json", options.report.json, "JSON for programs");
    report_command.add_flag("--metrics", options.report.metrics, "OpenMetrics text for Prometheus")
        ->excludes(as_json);
    report_command.add_flag("--hardware", options.report.hardware,
                            "Name and model too, from a report that takes longer");
    report_command.add_flag("--identifiers", options.report.identifiers,
                            "Serial numbers too, from reports that take longer");
    option(report_command, "--interval", options.report.interval, parse_duration,
           "Measure the load for this time (on a terminal 200ms, else not at all)", "TIME");
}

void add_processes(CLI::App& app, Options& options, std::function<int()>& chosen)
{
    CLI::App& list = command(
        app, "processes", "The processes, those with the most load first",
        "  mirovan processes\n"
        "  mirovan processes --watch --sort memory\n"
        "  mirovan processes --tree 'ssh*'",
        [&options] { return processes(options.processes); }, chosen);
    ProcessesOptions& to = options.processes;
    list.add_option("PATTERN", to.pattern,
                    "Part of the name, a pattern such as 'ssh*' for all of it, or an id");
    list.add_option("--sort", to.sort, "By load, memory, start or id")
        ->check(CLI::IsMember({"load", "memory", "start", "id"}))
        ->type_name("KEY");
    list.add_option("--count", to.count, "Show so many at most")->type_name("N");
    option(list, "--interval", to.interval, parse_duration,
           "Measure the load for this time; without it, it is that since the start of each",
           "TIME");
    list.add_flag("--tree", to.tree, "Each below its parent");
    auto* as_json = list.add_flag("--json", to.json, "JSON for programs");
    list.add_flag("--watch", to.watch, "Show them again and again, until q")->excludes(as_json);
}

void add_run(CLI::App& app, Options& options, std::function<int()>& chosen)
{
    CLI::App& made = command(
        app, "run", "Run a command with limits; exit as it does",
        "  mirovan run --limit 2s -- make test\n"
        "  mirovan run --stats -- sort big.txt > sorted.txt\n"
        "  mirovan run --output-limit 1M -- ./chatty\n\n"
        "Exit status: that of the command, 128 + N when signal N ended it, 124 at a limit,\n"
        "126 when it cannot be run, 127 when it is not found.",
        [&options] { return run(options.run); }, chosen);
    RunOptions& to = options.run;
    option(made, "--limit", to.limit, parse_duration, "End it after this time", "TIME");
    option(made, "--grace", to.grace, parse_duration, "From SIGTERM to SIGKILL at a limit (100ms)",
           "TIME");
    option(
        made, "--output-limit", to.output_limit,
        [&to](const std::string& text)
        {
            to.has_output_limit = true;
            return parse_bytes(text);
        },
        "End it after so much output", "BYTES");
    made.add_flag("--input", to.input, "Pass standard input on, once its end has been read");
    made.add_flag("--stats", to.stats, "Show time and peak memory when it has ended");
    made.add_option("COMMAND", to.command, "The command and its arguments, after --")->required();
    made.positionals_at_end();
}

void add_tree(CLI::App& app, Options& options, std::function<int()>& chosen)
{
    CLI::App& tree = *app.add_subcommand("tree", "List, copy, empty or delete trees of folders");
    tree.require_subcommand(1);
    TreeOptions& to = options.tree;
    const auto add = [&](const char* name, const char* what, const char* examples,
                         int (*function)(const TreeOptions&)) -> CLI::App&
    {
        CLI::App& made = command(
            tree, name, what, examples, [&to, function] { return function(to); }, chosen);
        made.add_option("PATH", to.path, "The folder")->required();
        made.add_option("--glob", to.pattern, "Only names like this pattern")->type_name("PATTERN");
        made.add_option("--depth", to.depth, "Only so many levels")
            ->check(CLI::PositiveNumber)
            ->type_name("N");
        made.add_flag("--same-volume", to.same_volume, "Do not enter other volumes");
        return made;
    };
    CLI::App& list = add("list", "Show what is in a folder and below",
                         "  mirovan tree list --glob '*.log' /var/log\n"
                         "  mirovan tree list -0 . | xargs -0 touch",
                         tree_list);
    list.add_flag("-l,--long", to.long_form, "Kind, size and time too, and a sum");
    list.add_flag("-0,--null", to.null_ended, "Names as they are, each ended by a null character");
    CLI::App& biggest = add("biggest", "Show the files that take the most space",
                            "  mirovan tree biggest /var\n"
                            "  mirovan tree biggest --folders --count 20 ~",
                            tree_biggest);
    biggest.add_option("--count", to.count, "Show so many (10)")->type_name("N");
    biggest.add_flag("--folders", to.folders, "Folders with all that is in them instead");
    CLI::App& copy = add("copy", "Copy what is in a folder into another",
                         "  mirovan tree copy photos /media/backup/photos\n"
                         "  mirovan tree copy --glob '*.c' --dry-run . /tmp/sources",
                         tree_copy);
    copy.add_option("DESTINATION", to.destination, "The folder to copy to")->required();
    copy.add_flag("--replace", to.replace, "Replace files that exist");
    CLI::App& empty = add("empty", "Delete what is in a folder and keep it",
                          "  mirovan tree empty --dry-run ~/Downloads\n"
                          "  mirovan tree empty --glob '*.o' --yes build",
                          tree_empty);
    CLI::App& remove = add("delete", "Delete a folder and what is in it",
                           "  mirovan tree delete build\n"
                           "  mirovan tree delete --yes /tmp/scratch",
                           tree_delete);
    for (CLI::App* changing : {&copy, &empty, &remove})
        changing->add_flag("-n,--dry-run", to.dry_run, "Show what would be done, and do nothing");
    for (CLI::App* deleting : {&empty, &remove})
        deleting->add_flag("-y,--yes", to.yes, "Do not ask");
}

void add_others(CLI::App& app, Options& options, std::function<int()>& chosen)
{
    CLI::App& list = command(
        app, "volumes", "The volumes and how full they are",
        "  mirovan volumes\n"
        "  mirovan volumes --fuller-than 90% || mail -s 'disk is full' root",
        [&options] { return volumes(options.volumes); }, chosen);
    option(list, "--fuller-than", options.volumes.limit, parse_percent,
           "Show only those that are fuller; the exit status is 1 when there is one", "PERCENT");
    list.add_flag("--all", options.volumes.all, "Every mount, those of the kernel too");
    list.add_flag("--network", options.volumes.network,
                  "Ask network volumes for their sizes; a dead server blocks this");
    list.add_flag("--json", options.volumes.json, "JSON for programs");

    CLI::App& one = command(
        app, "watch", "Load and memory of a process until it ends",
        "  mirovan watch postgres\n"
        "  mirovan watch --interval 200ms 4711",
        [&options] { return watch(options.watch); }, chosen);
    one.add_option("PROCESS", options.watch.process, "Its id or its name")->required();
    option(one, "--interval", options.watch.interval, parse_duration, "Between two looks (1s)",
           "TIME");
}

bool is_no_command(const CLI::App& app, const std::string& name)
{
    return app.get_subcommands([&](const CLI::App* each) { return each->get_name() == name; })
        .empty();
}

/// One line, whatever is wrong.
int complain(int status, std::string message)
{
    for (char& character : message)
        if (character == '\n')
            character = ' ';
    std::fprintf(stderr, "mirovan: %s\n", message.c_str());
    return status;
}

} // namespace

int main(int argc, char** argv)
try
{
    std::setlocale(LC_CTYPE, "");
    utf8_output = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;

    CLI::App app{"System, process and file facts at the command line", "mirovan"};
    app.footer("'mirovan COMMAND --help' shows the options of a command, and examples.");
    app.set_version_flag("--version", std::string{"mirovan "} + Mirovan_GetVersion());
    app.require_subcommand(1);
    Options options;
    std::function<int()> chosen;
    add_report(app, options, chosen);
    add_processes(app, options, chosen);
    add_run(app, options, chosen);
    add_tree(app, options, chosen);
    add_others(app, options, chosen);
    if (argc > 1 && argv[1][0] != '-' && is_no_command(app, argv[1]))
        return complain(wrong_use,
                        "'" + harmless(argv[1]) + "' is not a command; see mirovan --help");
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        if (error.get_exit_code() == 0)
        {
            app.exit(error);
            return finish_output(0);
        }
        return complain(wrong_use, harmless(error.what()) + "; see mirovan --help");
    }
    return finish_output(chosen());
}
catch (const program::Usage& error)
{
    return complain(wrong_use, error.what());
}
catch (const std::exception& error)
{
    std::fflush(stdout);
    return complain(status_of_failure, program::harmless(error.what()));
}
