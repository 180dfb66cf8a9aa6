#include "tests/support/readings.h"
#include "tests/support/support.h"

#include <csignal>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

using test::Commands;
using test::Scratch;

/// A stand-in for the report command, which prints a text, whatever bytes it holds.
class Report : public testing::Test
{
protected:
    void print(const std::string& text) const
    {
        commands_.add("system_profiler", "cat '" + scratch_.file("report", text) + "'");
    }

    Commands commands_;
    Scratch scratch_;
};

using Numbers = std::vector<long long>;

long long number(uint64_t value)
{
    return static_cast<long long>(value);
}

void expect_as_df(const std::string& path)
{
    const auto read = [&]
    {
        struct statvfs sizes = {};
        EXPECT_EQ(statvfs(path.c_str(), &sizes), 0) << path;
        return Numbers{number(sizes.f_frsize * sizes.f_blocks),
                       number(sizes.f_frsize * sizes.f_bavail)};
    };
    const std::string type = test::shell_output("df --output=fstype '" + path + "' | tail -n 1");
    const auto answer = [&]
    {
        tag_Mirovan_Disk_Information disk{77, -1, 0, 0};
        EXPECT_SUCCEEDS(Mirovan_HardWare_GetDiskInfomation(path.c_str(), &disk, 1)) << path;
        EXPECT_EQ(disk.nFileSystem, type.starts_with("ext") ? 4 : 0) << path << ' ' << type;
        EXPECT_EQ(disk.nReserved, 77);
        return Numbers{number(disk.nDiskTotal), number(disk.nDiskFree)};
    };
    EXPECT_TRUE(test::between_readings(read, answer)) << path;
}

TEST(Disk, AgreesWithDf)
{
    const Scratch scratch;
    std::filesystem::create_symlink("/dev/shm", scratch / "link");
    for (const std::string& path : {std::string{"/"}, std::string{"."}, scratch.file("file"),
                                    scratch / "link", std::string{"/dev/null"}})
        expect_as_df(path);
}

TEST(Disk, IsTheVolumeThatHoldsThePath)
{
    const Scratch scratch;
    scratch.file("lower/file", "x");
    for (const char* folder : {"ram disk", "bound", "upper"})
        scratch.folder(folder);
    test::in_child(
        [&]
        {
            test::enter_namespaces();
            const std::string ram = scratch / "ram disk";
            ASSERT_EQ(mount("none", ram.c_str(), "tmpfs", 0, "size=1m,nr_blocks=100"), 0);
            std::filesystem::create_directories(ram + "/up");
            std::filesystem::create_directories(ram + "/work");
            ASSERT_EQ(mount((scratch / "lower").c_str(), (scratch / "bound").c_str(), "none",
                            MS_BIND, nullptr),
                      0);
            const std::string layers = "lowerdir=" + (scratch / "lower") + ",upperdir=" + ram +
                                       "/up,workdir=" + ram + "/work";
            ASSERT_EQ(mount("none", (scratch / "upper").c_str(), "overlay", 0, layers.c_str()), 0);
            for (const std::string& path :
                 {ram, ram + "/up", scratch / "bound/file", scratch / "upper/file"})
                expect_as_df(path);
        });
}

TEST(Disk, UnitsDropTheRemainder)
{
    tag_Mirovan_Disk_Information bytes{};
    EXPECT_SUCCEEDS(Mirovan_HardWare_GetDiskInfomation("/proc/self/../..", &bytes, 1));
    tag_Mirovan_Disk_Information disk{};
    for (int unit = 2; unit <= 4; ++unit)
    {
        EXPECT_SUCCEEDS(Mirovan_HardWare_GetDiskInfomation("/", &disk, unit));
        EXPECT_EQ(disk.nDiskTotal, bytes.nDiskTotal >> (10 * (unit - 1)));
    }
    const struct
    {
        const char* path;
        int unit;
        uint64_t code;
        int reason;
    } cases[] = {{"/", 0, ERROR_MIROVAN_HARDWARE_DISK_UNIT, EINVAL},
                 {"/", 5, ERROR_MIROVAN_HARDWARE_DISK_UNIT, EINVAL},
                 {"/", INT32_MIN, ERROR_MIROVAN_HARDWARE_DISK_UNIT, EINVAL},
                 {"/nonexistent-mirovan", 0, ERROR_MIROVAN_HARDWARE_DISK_STATFS, ENOENT},
                 {"/etc/passwd/x", 1, ERROR_MIROVAN_HARDWARE_DISK_STATFS, ENOTDIR}};
    for (const auto& [path, unit, code, reason] : cases)
    {
        disk = {1, 2, 3, 4};
        EXPECT_FAILS(Mirovan_HardWare_GetDiskInfomation(path, &disk, unit), code, reason);
        // A unit that there is not leaves bytes.
        const bool is_unit = code == ERROR_MIROVAN_HARDWARE_DISK_UNIT;
        EXPECT_EQ(disk.nDiskTotal, is_unit ? bytes.nDiskTotal : 3) << path << unit;
    }
}

using VolumeRows = std::multimap<std::string, MIROVAN_VOLUME>;

VolumeRows volumes(uint32_t flags)
{
    VolumeRows rows;
    EXPECT_SUCCEEDS(Mirovan_HardWare_ListVolumes(
        flags,
        [](const MIROVAN_VOLUME* volume, void* list)
        {
            EXPECT_EQ(volume->nSize, sizeof *volume);
            static_cast<VolumeRows*>(list)->emplace(volume->tszMountPoint, *volume);
            return true;
        },
        &rows));
    return rows;
}

constexpr uint32_t sizes_known =
    MIROVAN_VOLUME_KNOWN_TOTAL | MIROVAN_VOLUME_KNOWN_FREE | MIROVAN_VOLUME_KNOWN_AVAILABLE;

TEST(Volumes, TheRootIsOneOfThem)
{
    const auto read = []
    {
        struct statvfs sizes = {};
        EXPECT_EQ(statvfs("/", &sizes), 0);
        return Numbers{number(sizes.f_frsize * sizes.f_blocks),
                       number(sizes.f_frsize * sizes.f_bfree),
                       number(sizes.f_frsize * sizes.f_bavail),
                       (sizes.f_flag & ST_RDONLY) != 0,
                       1,
                       sizes_known};
    };
    const auto answer = []
    {
        const VolumeRows rows = volumes(0);
        EXPECT_EQ(rows.count("/"), 1U);
        const MIROVAN_VOLUME root = rows.find("/")->second;
        return Numbers{number(root.nTotal), number(root.nFree), number(root.nAvailable),
                       root.bReadOnly,      root.bLocal,        root.nKnown & sizes_known};
    };
    EXPECT_TRUE(test::between_readings(read, answer));
    const MIROVAN_VOLUME root = volumes(0).find("/")->second;
    EXPECT_EQ(root.tszDevice + std::string{" "} + root.tszType + "\n",
              test::shell_output("findmnt -no SOURCE,FSTYPE / | sed 's/  */ /'"));
    const auto stop = [](const MIROVAN_VOLUME* /*volume*/, void* calls)
    { return ++*static_cast<int*>(calls), false; };
    int calls = 0;
    EXPECT_SUCCEEDS(Mirovan_HardWare_ListVolumes(MIROVAN_VOLUMES_ALL_MOUNTS, stop, &calls));
    EXPECT_EQ(calls, 1);
}

TEST(Volumes, MountsThatAreNoVolumesAndServersThatDoNotAnswer)
{
    const Scratch scratch;
    const std::string memory = scratch.folder("me mory");
    const std::string bound = scratch.folder("bound");
    const std::string dead = scratch.folder("dead");
    const std::string behind = scratch.folder("behind");
    test::in_child(
        [&]
        {
            alarm(60);
            test::enter_namespaces();
            const std::size_t before = volumes(0).size();
            const std::size_t mounts = volumes(MIROVAN_VOLUMES_ALL_MOUNTS).size();
            ASSERT_EQ(mount("disk", memory.c_str(), "tmpfs", MS_RDONLY, "size=1m"), 0);
            ASSERT_EQ(mount("/usr", bound.c_str(), nullptr, MS_BIND, nullptr), 0);
            // Nobody answers what the kernel asks of this one.
            const int server = open("/dev/fuse", O_RDWR | O_CLOEXEC);
            const std::string options =
                "fd=" + std::to_string(server) + ",rootmode=40000,user_id=0,group_id=0";
            const bool has_server =
                server >= 0 && mount("host:/x", dead.c_str(), "fuse.dead", 0, options.c_str()) == 0;
            for (int i = 0; i < 100; ++i)
            {
                const std::string folder = scratch.folder("behind/" + std::to_string(i));
                ASSERT_EQ(mount("many", folder.c_str(), "tmpfs", 0, "size=4k"), 0);
            }
            VolumeRows rows = volumes(0);
            EXPECT_EQ(rows.size(), before + (has_server ? 1 : 0));
            if (has_server)
            {
                ASSERT_EQ(rows.count(dead), 1U);
                const MIROVAN_VOLUME& row = rows.find(dead)->second;
                EXPECT_STREQ(row.tszDevice, "host:/x");
                EXPECT_STREQ(row.tszType, "fuse.dead");
                EXPECT_EQ(row.nKnown & sizes_known, 0U);
                EXPECT_FALSE(row.bLocal);
                // With this flag it is asked, and this thread waits.
                const pid_t asking = fork();
                if (asking == 0)
                {
                    alarm(1);
                    volumes(MIROVAN_VOLUMES_NETWORK_SIZES);
                    _exit(0);
                }
                int status = 0;
                waitpid(asking, &status, 0);
                EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM);
            }
            rows = volumes(MIROVAN_VOLUMES_ALL_MOUNTS);
            EXPECT_EQ(rows.size(), mounts + 102 + (has_server ? 1 : 0));
            ASSERT_EQ(rows.count(memory), 1U);
            const MIROVAN_VOLUME& row = rows.find(memory)->second;
            EXPECT_EQ(row.nTotal, 1U << 20U);
            EXPECT_EQ(row.nAvailable, 1U << 20U);
            EXPECT_TRUE(row.bReadOnly);
            EXPECT_STREQ(row.tszDevice, "disk");
            EXPECT_EQ(rows.count(bound), 1U);
            EXPECT_FALSE(rows.find(scratch / "behind/99")->second.bReadOnly);
        });
}

TEST_F(Report, DiskListCountsWithoutATable)
{
    print("    A:\n      Writable: Yes\n    A:\n      Writable: Yes\n");
    int count = -1;
    EXPECT_SUCCEEDS(Mirovan_HardWare_GetDiskNumber(nullptr, &count));
    EXPECT_EQ(count, 2);
}

TEST_F(Report, ProcessorSpeedsAreCutToMegahertz)
{
    const std::map<std::string, int> speeds{
        {"3.06 GHz", 3060}, {"fast GHz", 0}, {"-1e300 GHz", INT32_MIN}, {"inf GHz", INT32_MAX},
        {"nan GHz", 0},     {"2.3", 0},      {"-0.5 GHz", -500},        {"1e-9 GHz", 0}};
    for (const auto& [text, speed] : speeds)
    {
        print("      Processor Speed: " + text + "\n");
        tag_Mirovan_Cpu_Information cpu{"kept", "kept", -5, -5, 0};
        EXPECT_SUCCEEDS(Mirovan_HardWare_GetCpuInfomation(&cpu));
        EXPECT_EQ(cpu.nProcessorSpeed, speed) << text;
        EXPECT_STREQ(cpu.tszProcessorName, "kept");
        EXPECT_STREQ(cpu.tszModelIdentifier, "kept");
        EXPECT_EQ(cpu.nProcessorOnline, sysconf(_SC_NPROCESSORS_ONLN));
        EXPECT_EQ(cpu.nHardwareThreads, std::thread::hardware_concurrency());
    }
}

TEST_F(Report, SerialsAreAppendedAsFarAsTheyFit)
{
    commands_.add("system_profiler",
                  "if [ \"$1\" = SPHardwareDataType ]; then echo '      Serial "
                  "Number (system): " +
                      std::string(5000, 's') +
                      "'; echo '      Hardware UUID: H'; else echo '      Volume "
                      "UUID: " +
                      std::string(61, 'v') + "\xC3\xBC'; fi");
    commands_.add("ioreg", "[ \"$*\" = -l ] && echo '\"serial-number\" = <41>'");
    struct
    {
        char before[8] = "guarded";
        tag_Mirovan_SdkSerial_Information serials{"kept ", "kept ", "", "kept "};
        char after[8] = "guarded";
    } record;
    EXPECT_SUCCEEDS(Mirovan_HardWare_GetSerial(&record.serials));
    EXPECT_EQ(record.serials.tszSystemSerial, "kept " + std::string(58, 's'));
    EXPECT_STREQ(record.serials.tszHardwareUUID, "kept H\n");
    EXPECT_EQ(record.serials.tszVolumeUUID, std::string(61, 'v') + "\xC3\xBC");
    EXPECT_STREQ(record.serials.tszPlatformSerial, "kept A");
    EXPECT_STREQ(record.before, "guarded");
    EXPECT_STREQ(record.after, "guarded");
    commands_.add("ioreg", "exit 1");
    commands_.add("xxd", "exit 127");
    EXPECT_SUCCEEDS(Mirovan_HardWare_GetSerial(&record.serials));
    EXPECT_STREQ(record.serials.tszPlatformSerial, "kept A");
}

} // namespace
