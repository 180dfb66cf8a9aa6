#include "tests/support/machine.h"
#include "tests/support/support.h"

#include <sys/statvfs.h>

namespace
{

using test::Environment;
using test::quoted;
using test::Scratch;
using test::shell_output;

const std::string commands = quoted(MIROVAN_TEST_COMMANDS) + "/";

std::string output_of(const std::string& command)
{
    return shell_output(commands + command + " 2>&1; echo \"status $?\"");
}

TEST(LinuxCommands, SystemProfilerTakesTypes)
{
    const Scratch empty;
    const Environment root{"MIROVAN_SYSTEM_ROOT", empty.path().c_str()};
    const std::string hardware = "Hardware:\n\n    Hardware Overview:\n\n\n";
    const std::string storage = "Storage:\n\n";
    const std::pair<const char*, std::string> cases[] = {
        {"", hardware + storage},
        {" SPStorageDataType", storage},
        {" SPStorageDataType -detailLevel full SPHardwareDataType", storage + hardware},
        {" -listDataTypes", "Available Datatypes:\nSPHardwareDataType\nSPStorageDataType\n"},
    };
    for (const auto& [arguments, output] : cases)
        EXPECT_EQ(output_of("system_profiler" + std::string{arguments}), output + "status 0\n");
    for (const char* arguments : {" SPNoSuchDataType", " SPHardwareDataType -xml", " -detailLevel"})
    {
        const std::string output = output_of("system_profiler" + std::string{arguments});
        EXPECT_TRUE(output.starts_with("system_profiler: unknown data type or option: "));
        EXPECT_TRUE(output.ends_with("status 1\n")) << output;
    }
    EXPECT_EQ(output_of("ioreg -w 0"), "+-o Root  <class IORegistryEntry>\n"
                                       "  +-o Machine  <class IOPlatformExpertDevice>\nstatus 0\n");
    EXPECT_TRUE(output_of("ioreg -z").ends_with("status 1\n"));
    EXPECT_EQ(shell_output(commands + "ioreg -l 2>&1 >/dev/full; echo $?"),
              "ioreg: No space left on device\n1\n");
}

/// The value of the first line with a key, without what follows a blank.
std::string value_of(const std::string& report, const std::string& key)
{
    const std::size_t found = report.find(" " + key + ": ");
    if (found == std::string::npos)
        return {};
    const std::size_t start = found + key.size() + 3;
    return report.substr(start, report.find('\n', start) - start);
}

TEST(LinuxCommands, AgreeWithThisMachine)
{
    const std::string report = shell_output(commands + "system_profiler");
    struct statvfs root = {};
    ASSERT_EQ(statvfs("/", &root), 0);
    std::string total = std::to_string(root.f_blocks * root.f_frsize);
    for (std::size_t at = total.size(); at > 3;)
        total.insert(at -= 3, 1, ',');
    EXPECT_EQ(value_of(report, "Mount Point"), "/");
    EXPECT_NE(value_of(report, "Capacity").find(total + " bytes"), std::string::npos) << report;
    EXPECT_EQ(value_of(report, "Writable"), (root.f_flag & ST_RDONLY) == 0 ? "Yes" : "No");
    EXPECT_EQ(value_of(report, "File System") + "\n",
              shell_output("df --output=fstype / | tail -n 1"));
    const std::string cores = shell_output("lscpu -p=socket,core | grep -v '^#' | sort -u | wc -l");
    EXPECT_EQ(value_of(report, "Total Number of Cores") + "\n", cores);
    const std::string registry = shell_output(commands + "ioreg -l | grep -ic serial-number");
    EXPECT_EQ(registry, test::read_file("/etc/machine-id").empty() ? "0\n" : "1\n");
}

/// The library's record in another process, with what stands before it on the command line.
std::string record_in(const std::string& library_folder, const std::string& environment)
{
    return shell_output("env " + environment + " LD_LIBRARY_PATH=" + quoted(library_folder) + " " +
                        quoted(MIROVAN_TEST_MACHINE_RECORD));
}

TEST(LinuxCommands, AreFoundWhereverTheLibraryIs)
{
    const Scratch scratch;
    const std::string machine = MIROVAN_TEST_MACHINES "/trees/laptop-dmi.tree";
    test::plant_tree(test::parse_tree(test::read_file(machine)), scratch / "root");
    const Environment root{"MIROVAN_SYSTEM_ROOT", (scratch / "root").c_str()};
    const std::string recorded = test::read_file(machine + ".expected");
    const std::string reports = recorded.substr(recorded.find("$ record\n") + 9);
    const std::string record = reports +
                               "system serial \"PF3ABCDE\\x0a\"\n"
                               "hardware uuid \"A1B2C3D4-0F1E-11EB-80D9-902E16A1B2C3\\x0a\"\n"
                               "volume uuid \"9F3C1F8E-4B7D-4A5F-8A59-0C2B6F1A7E11\\x0a\"\n"
                               "platform serial \"PF3ABCDE\"\n";

    // A command of that name in the current folder must not be found.
    const std::string trap = scratch.file("system_profiler", "#!/bin/sh\necho trapped\n");
    std::filesystem::permissions(trap, std::filesystem::perms::all);
    shell_output("cmake --install " + quoted(MIROVAN_TEST_BUILD) + " --prefix " +
                 quoted(scratch / "first"));
    const std::string library = MIROVAN_TEST_LIBRARY_FOLDER;
    for (const std::string& folder : {std::string{MIROVAN_TEST_BUILD "/"} + library,
                                      scratch / "first/" + library, scratch / "moved/" + library})
    {
        if (folder.starts_with(scratch / "moved"))
            std::filesystem::rename(scratch / "first", scratch / "moved");
        const std::string head = "library " + folder + "/libmirovan.so.1\n";
        EXPECT_EQ(record_in(folder, "-C '" + scratch.path() + "' -u PATH"), head + record);
        EXPECT_EQ(record_in(folder, "-C '" + scratch.path() + "' PATH=/usr/bin:/bin"),
                  head + record);
        // Without the text tools the serial numbers cannot be had, but the reports can.
        EXPECT_TRUE(record_in(folder, "-C '" + scratch.path() + "' PATH= 2>/dev/null")
                        .starts_with(head + reports));
        EXPECT_EQ(record_in(folder, "PATH='" + scratch.path() + "':/usr/bin:/bin").find("disk"),
                  std::string::npos);
    }
}

} // namespace
