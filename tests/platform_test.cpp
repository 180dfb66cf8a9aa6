#include "platform/copy.h"
#include "platform/linux/cgroup.h"
#include "platform/linux/commands/report.h"
#include "platform/linux/mount_tree.h"
#include "platform/linux/os_release.h"
#include "source/hardware/report.h"
#include "tests/support/machine.h"
#include "tests/support/support.h"

#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <thread>
#include <unistd.h>

namespace
{

using namespace mirovan;
using namespace mirovan::platform;

/// A pipe takes no copy of the kernel's: what comes out of it was read and written. It holds less
/// than the file, so that the file can be changed in the middle of the copy.
TEST(Copyfile, EndsAtTheSizeThatTheFileHad)
{
    const test::Scratch scratch;
    const std::string content(300'000, 'x');
    const std::string path = scratch.file("growing", content);
    const int source = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    bool whole = false;
    std::thread copier{[&]
                       {
                           whole = copy_content(source, ends[1]);
                           close(ends[1]);
                       }};
    pollfd output{ends[0], POLLIN, 0};
    EXPECT_EQ(poll(&output, 1, -1), 1);
    std::ofstream{path, std::ios::app} << std::string(1'000'000, 'y');
    EXPECT_EQ(test::read_file("/dev/fd/" + std::to_string(ends[0])), content);
    copier.join();
    EXPECT_TRUE(whole);
    close(ends[0]);
    close(source);
}

TEST(MountTable, LinesAreTakenApart)
{
    const auto mount = parse_mount_line("36 35 8:1 /sub /mnt/My\\040Disk rw,noatime shared:1 "
                                        "master:2 - fuse.sshfs me@host:/a\\011b ro,user_id=0");
    ASSERT_TRUE(mount);
    EXPECT_EQ(
        std::tie(mount->id, mount->parent, mount->device, mount->root, mount->options, mount->type,
                 mount->volume_options),
        std::tuple(36, 35, DeviceNumber{8, 1}, "/sub", "rw,noatime", "fuse.sshfs", "ro,user_id=0"));
    EXPECT_EQ(unescape_octal(mount->point), "/mnt/My Disk");
    EXPECT_EQ(unescape_octal(mount->source), "me@host:/a\tb");
    const auto nameless = parse_mount_line("1 0 0:5 / / rw - tmpfs  rw");
    ASSERT_TRUE(nameless);
    EXPECT_EQ(std::tie(nameless->source, nameless->volume_options), std::tuple("", "rw"));
    for (const char* bad : {"", " ", "x 1 0:1 / / rw - ext4 a rw", "1 1 0 / / rw - ext4 a rw",
                            "1 1 0:1 / / rw ext4 a rw", "1 1 0:1 / / rw -", "-1 1 0:1 / / rw - x"})
        EXPECT_FALSE(parse_mount_line(bad)) << bad;
    // Three octal digits are an escape, and nothing else.
    EXPECT_EQ(unescape_octal(R"(\134\043\303\274)"), "\\#\xC3\xBC");
    EXPECT_EQ(unescape_octal(R"(a\04)"), R"(a\04)");
    EXPECT_EQ(unescape_octal(R"(\08\777\)"), R"(\08\777\)");
}

TEST(MountTable, MountIsFoundByItsIdElseByItsDevice)
{
    const char* table = "20 1 8:1 / / rw - ext4 /dev/sda1 rw\nbroken\n"
                        "30 20 0:40 / /data rw - btrfs /dev/sdb rw\n"
                        "31 20 8:1 /a /b ro - xfs /dev/sda1 rw";
    EXPECT_EQ(find_mount(table, 30, {8, 1})->point, "/data");
    EXPECT_EQ(find_mount(table, 0, {8, 1})->point, "/b");
    EXPECT_FALSE(find_mount(table, 32, {8, 1}));
    EXPECT_FALSE(find_mount(table, 0, {0, 41}));
}

/// What the library makes of both reports.
std::string record_of(std::string_view hardware, std::string_view storage)
{
    WritableVolumes volumes;
    tag_Mirovan_Cpu_Information processor = test::unfilled_processor;
    ProcessorLines lines{processor};
    while (const auto line = next_line(storage))
        volumes.take_line(std::string{*line} + "\n");
    while (const auto line = next_line(hardware))
        lines.take_line(std::string{*line} + "\n");
    return test::report_record(volumes.names(), processor);
}

/// Every volume of the mount table, and whether it is local, read-only and behind a server.
std::string volumes_of(const std::string& table)
{
    const MountTree tree{table};
    std::string volumes;
    for (const auto* mount : tree.volumes(Volumes::all))
        volumes.append(mount->point)
            .append(" ")
            .append(mount->type)
            .append(is_local(*mount) ? " local" : "")
            .append(is_read_only(*mount) ? " read-only" : "")
            .append(tree.is_behind_server(*mount) ? " behind a server\n" : "\n");
    return volumes;
}

/// The lowest of the limits of the control groups around.
std::string limits_of(const std::string& root)
{
    std::optional<std::uint64_t> memory;
    std::optional<std::uint64_t> processors;
    EXPECT_TRUE(platform::read_memory_limit(root, memory)) << root;
    EXPECT_TRUE(platform::read_processor_quota(root, processors)) << root;
    const auto text = [](const auto& limit) { return limit ? std::to_string(*limit) : "none"; };
    return "memory " + text(memory) + "\nprocessors " + text(processors) + "\n";
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
        test::expect_as_recorded(
            machine, "$ system_profiler\n" + hardware + storage + "$ ioreg -l\n" +
                         commands::registry_listing(facts, true) + "$ volumes\n" +
                         volumes_of(system->read("/proc/self/mountinfo")) + "$ limits\n" +
                         limits_of(scratch.path()) + "$ record\n" + record_of(hardware, storage));
    }
}

TEST(HostLimits, ThatCannotBeReadAreNotNone)
{
    const test::Scratch root;
    test::plant_tree(
        test::parse_tree(
            "=== proc/self/mountinfo = 30 20 0:26 / /sys/fs/cgroup rw - cgroup2 c rw\\n\n"
            "=== proc/self/cgroup = 0::/\\n\n"),
        root.path());
    std::optional<std::uint64_t> limit;
    for (const char* file : {"memory.max", "cpu.max"})
        root.folder(std::string{"sys/fs/cgroup/"} + file);
    errno = 0;
    EXPECT_FALSE(platform::read_memory_limit(root.path(), limit) ||
                 platform::read_processor_quota(root.path(), limit));
    EXPECT_EQ(errno, EISDIR);
}

TEST(OsRelease, ValuesAreWordsOfTheShell)
{
    const struct
    {
        const char* text;
        const char* value;
    } cases[] = {
        {"NAME=Fedora\n", "Fedora"},
        {"# NAME=no\nPRETTY_NAME=\"no\"\nNAME=\"Debian GNU/Linux\"\nID=x", "Debian GNU/Linux"},
        {"NAME='a \"b\" \\c'", "a \"b\" \\c"},
        {"NAME=\"a \\\"b\\\" \\$c\\\\ 'd'\"\n", "a \"b\" $c\\ 'd'"},
        {"NAME=one\nNAME=two\n", "two"},
        {"NAME=", ""},
        {"NAMES=x\nNAME\n", ""},
        {"NAME=\"open\\", "open\\"},
        {"", ""}};
    for (const auto& [text, value] : cases)
        EXPECT_EQ(platform::os_release_value(text, "NAME"), value) << text;
}

} // namespace
