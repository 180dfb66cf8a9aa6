#include "platform/linux/commands/report.h"
#include "platform/linux/mount_tree.h"
#include "source/hardware/report.h"
#include "tests/support/machine.h"
#include "tests/support/support.h"

namespace
{

using namespace mirovan;

/// What the library makes of both reports.
std::string record_of(std::string_view hardware, std::string_view storage)
{
    WritableVolumes volumes;
    while (const auto line = platform::next_line(storage))
        volumes.take_line(std::string{*line} + "\n");
    tag_Mirovan_Cpu_Information processor = test::unfilled_processor;
    ProcessorLines lines{processor};
    while (const auto line = platform::next_line(hardware))
        lines.take_line(std::string{*line} + "\n");
    return test::report_record(volumes.names(), processor);
}

/// Every volume of the mount table, and whether it is local, read-only and behind a server.
std::string volumes_of(const std::string& table)
{
    const platform::MountTree tree{table};
    std::string volumes;
    for (const auto* mount : tree.volumes(platform::Volumes::all))
        volumes.append(mount->point)
            .append(" ")
            .append(mount->type)
            .append(platform::is_local(*mount) ? " local" : "")
            .append(platform::is_read_only(*mount) ? " read-only" : "")
            .append(tree.is_behind_server(*mount) ? " behind a server\n" : "\n");
    return volumes;
}

TEST(RecordedTrees, AreReportedAsRecorded)
{
    for (const std::string& machine : test::recorded_machines("trees"))
    {
        const test::Scratch scratch;
        test::plant_tree(test::parse_tree(test::read_file(machine)), scratch.path());
        const test::Environment root{"MIROVAN_SYSTEM_ROOT", scratch.path().c_str()};
        const auto system = commands::open_system();
        const commands::Machine facts = commands::read_machine(*system);
        const std::string hardware = commands::hardware_report(facts);
        const std::string storage = commands::storage_report(commands::read_volumes(*system));
        test::expect_as_recorded(machine,
                                 "$ system_profiler\n" + hardware + storage + "$ ioreg -l\n" +
                                     commands::registry_listing(facts, true) + "$ volumes\n" +
                                     volumes_of(system->read("/proc/self/mountinfo")) +
                                     "$ record\n" + record_of(hardware, storage));
    }
}

} // namespace
