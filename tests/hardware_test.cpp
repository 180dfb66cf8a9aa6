#include "tests/support/support.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

using test::Commands;
using test::Scratch;

std::vector<std::string> disk_list()
{
    char** table = nullptr;
    int count = -1;
    EXPECT_SUCCEEDS(Mirovan_HardWare_GetDiskNumber(&table, &count));
    std::vector<std::string> names;
    for (int row = 0; row < count; ++row)
        names.emplace_back(table[row]);
    Fundix_Memory_Free(reinterpret_cast<void***>(&table), count);
    EXPECT_EQ(table, nullptr);
    return names;
}

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

/// The sizes that statvfs() tells, which are those of df.
std::pair<uint64_t, uint64_t> sizes_of(const std::string& path)
{
    struct statvfs sizes = {};
    EXPECT_EQ(statvfs(path.c_str(), &sizes), 0) << path;
    return {sizes.f_frsize * sizes.f_blocks, sizes.f_frsize * sizes.f_bavail};
}

void expect_as_df(const std::string& path)
{
    tag_Mirovan_Disk_Information disk{77, -1, 0, 0};
    std::pair<uint64_t, uint64_t> before;
    std::pair<uint64_t, uint64_t> after;
    // Others write to the volume at the same time: some attempt finds it at rest.
    bool agrees = false;
    for (int attempt = 0; attempt < 10'000 && !agrees; ++attempt)
    {
        before = sizes_of(path);
        EXPECT_SUCCEEDS(Mirovan_HardWare_GetDiskInfomation(path.c_str(), &disk, 1)) << path;
        after = sizes_of(path);
        agrees = before == after && disk.nDiskFree == after.second;
    }
    EXPECT_EQ(disk.nDiskTotal, after.first) << path;
    EXPECT_EQ(disk.nDiskFree, after.second) << path;
    const std::string type =
        test::shell_output("df --output=fstype '" + path + "' | tail -n 1 | tr -d '\\n'");
    EXPECT_EQ(disk.nFileSystem, type.starts_with("ext") ? 4 : 0) << path << ' ' << type;
    EXPECT_EQ(disk.nReserved, 77);
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
    const test::Held before = test::Held::now();
    tag_Mirovan_Disk_Information bytes{};
    EXPECT_SUCCEEDS(Mirovan_HardWare_GetDiskInfomation("/proc/self/../..", &bytes, 1));
    for (int unit = 2; unit <= 4; ++unit)
    {
        tag_Mirovan_Disk_Information disk{};
        EXPECT_SUCCEEDS(Mirovan_HardWare_GetDiskInfomation("/", &disk, unit));
        EXPECT_EQ(disk.nDiskTotal, bytes.nDiskTotal >> (10 * (unit - 1)));
    }
    for (const int unit : {0, 5, -1, INT32_MIN, INT32_MAX})
    {
        tag_Mirovan_Disk_Information disk{};
        EXPECT_FAILS(Mirovan_HardWare_GetDiskInfomation("/", &disk, unit),
                     ERROR_MIROVAN_HARDWARE_DISK_UNIT, EINVAL);
        EXPECT_EQ(disk.nDiskTotal, bytes.nDiskTotal);
        EXPECT_EQ(disk.nFileSystem, bytes.nFileSystem);
    }
    EXPECT_EQ(test::Held::now(), before);
}

TEST(Disk, FailuresLeaveTheRecordAlone)
{
    tag_Mirovan_Disk_Information disk{1, 2, 3, 4};
    EXPECT_FAILS(Mirovan_HardWare_GetDiskInfomation(nullptr, &disk, 1),
                 ERROR_MIROVAN_HARDWARE_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_HardWare_GetDiskInfomation("/", nullptr, 1),
                 ERROR_MIROVAN_HARDWARE_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_HardWare_GetDiskInfomation("/nonexistent-mirovan", &disk, 0),
                 ERROR_MIROVAN_HARDWARE_DISK_STATFS, ENOENT);
    EXPECT_FAILS(Mirovan_HardWare_GetDiskInfomation("/etc/passwd/x", &disk, 1),
                 ERROR_MIROVAN_HARDWARE_DISK_STATFS, ENOTDIR);
    const tag_Mirovan_Disk_Information untouched{1, 2, 3, 4};
    EXPECT_EQ(std::memcmp(&disk, &untouched, sizeof disk), 0);
}

std::string blanks_and(const char* text)
{
    return std::string(6, ' ') + text + "\n";
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
    bool agrees = false;
    MIROVAN_VOLUME root{};
    for (int attempt = 0; attempt < 1000 && !agrees; ++attempt)
    {
        struct statvfs sizes = {};
        EXPECT_EQ(statvfs("/", &sizes), 0);
        const VolumeRows rows = volumes(0);
        ASSERT_EQ(rows.count("/"), 1U);
        root = rows.find("/")->second;
        EXPECT_EQ(root.nTotal, sizes.f_frsize * sizes.f_blocks);
        EXPECT_EQ(root.bReadOnly, (sizes.f_flag & ST_RDONLY) != 0);
        agrees = root.nFree == sizes.f_frsize * sizes.f_bfree &&
                 root.nAvailable == sizes.f_frsize * sizes.f_bavail;
    }
    EXPECT_TRUE(agrees) << root.nFree << ' ' << root.nAvailable;
    EXPECT_EQ(root.nKnown & sizes_known, sizes_known);
    EXPECT_EQ(root.tszDevice + std::string{" "} + root.tszType + "\n",
              test::shell_output("findmnt -no SOURCE,FSTYPE / | sed 's/  */ /'"));
    EXPECT_TRUE(root.bLocal);
}

TEST(Volumes, ArgumentsAndTheEndOfTheListing)
{
    const auto stop = [](const MIROVAN_VOLUME* /*volume*/, void* calls)
    { return ++*static_cast<int*>(calls), false; };
    int calls = 0;
    EXPECT_SUCCEEDS(Mirovan_HardWare_ListVolumes(MIROVAN_VOLUMES_ALL_MOUNTS, stop, &calls));
    EXPECT_EQ(calls, 1);
    EXPECT_FAILS(Mirovan_HardWare_ListVolumes(0, nullptr, &calls), ERROR_MIROVAN_HARDWARE_PARAMETER,
                 EINVAL);
    EXPECT_FAILS(Mirovan_HardWare_ListVolumes(4, stop, &calls), ERROR_MIROVAN_HARDWARE_PARAMETER,
                 EINVAL);
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
            for (int i = 0; i < 1000; ++i)
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
            EXPECT_EQ(rows.size(), mounts + 1002 + (has_server ? 1 : 0));
            ASSERT_EQ(rows.count(memory), 1U);
            const MIROVAN_VOLUME& row = rows.find(memory)->second;
            EXPECT_EQ(row.nTotal, 1U << 20U);
            EXPECT_EQ(row.nAvailable, 1U << 20U);
            EXPECT_TRUE(row.bReadOnly);
            EXPECT_STREQ(row.tszDevice, "disk");
            EXPECT_EQ(rows.count(bound), 1U);
            EXPECT_FALSE(rows.find(scratch / "behind/999")->second.bReadOnly);
        });
}

TEST_F(Report, HeadingsAndTheirWritableLines)
{
    const std::string yes = blanks_and("Writable: Yes");
    std::string fifteen;
    for (int line = 0; line < 15; ++line)
        fifteen += blanks_and("Property: x");
    const struct
    {
        std::string report;
        std::vector<std::string> names;
    } cases[] = {
        {"", {}},
        {"no heading\n" + yes, {}},
        {"    Main - Data:\n" + yes + "    Main:\n" + blanks_and("Writable: No"), {"Main"}},
        {"    Backup:\n" + yes, {"Backup:"}},
        {"    Time-Machine:\n" + yes, {"Tim"}},
        {"    A:\n" + fifteen + yes, {"A:"}},
        {"    A:\n" + fifteen + "\n" + yes, {}},
        {"    A:\n" + fifteen + "    Swallowed:\n    B:\n" + yes, {"B:"}},
        {"    A:\n    B:\n" + yes + yes, {"A:"}},
        {"    A:\n" + yes + "    A:\n" + yes, {"A:", "A:"}},
        {"    A:\n" + blanks_and("wRITABLE: yES, and more"), {"A:"}},
        {"    A:\n" + blanks_and("Writable: No") + "      Writable: Yes", {"A:"}},
        {"    A:\r\n" + yes, {"A:\r"}},
        {"    \n" + yes, {""}},
        {"    -A:\n" + yes, {""}},
        {"    \xC3\xBC\xFF:\n" + yes, {"\xC3\xBC\xFF:"}},
        {std::string("    A\0B:\n", 9) + yes, {""}},
        {"     five:\n   three:\n\t   tab:\n" + yes, {}},
        {"    " + std::string(1018, 'n') + "\n" + yes, {std::string(1018, 'n')}},
        {"    " + std::string(5000, 'n') + "\n" + yes, {std::string(1018, 'n')}},
    };
    for (const auto& [report, names] : cases)
    {
        print(report);
        EXPECT_EQ(disk_list(), names) << report;
    }
}

TEST_F(Report, DiskListCountsWithoutATableAndRefusesWithoutACount)
{
    print("    A:\n" + blanks_and("Writable: Yes"));
    int count = -1;
    EXPECT_SUCCEEDS(Mirovan_HardWare_GetDiskNumber(nullptr, &count));
    EXPECT_EQ(count, 1);
    char** table = nullptr;
    EXPECT_FAILS(Mirovan_HardWare_GetDiskNumber(&table, nullptr), ERROR_MIROVAN_HARDWARE_PARAMETER,
                 EINVAL);
    EXPECT_EQ(table, nullptr);
}

TEST_F(Report, WithoutDescriptorsOrProcessesNothingIsWritten)
{
    print("    A:\n" + blanks_and("Writable: Yes"));
    test::in_child(
        []
        {
            const rlimit none{3, 3};
            ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
            char** table = reinterpret_cast<char**>(&table);
            int count = -1;
            EXPECT_FAILS(Mirovan_HardWare_GetDiskNumber(&table, &count),
                         ERROR_MIROVAN_HARDWARE_PARAMETER, EMFILE);
            EXPECT_EQ(table, reinterpret_cast<char**>(&table));
            EXPECT_EQ(count, -1);
            tag_Mirovan_Cpu_Information cpu{"kept", "", 1, 0, 0};
            EXPECT_FAILS(Mirovan_HardWare_GetCpuInfomation(&cpu), ERROR_MIROVAN_HARDWARE_PARAMETER,
                         EMFILE);
            EXPECT_EQ(cpu.nProcessorOnline, sysconf(_SC_NPROCESSORS_ONLN));
            EXPECT_STREQ(cpu.tszProcessorName, "kept");
            tag_Mirovan_SdkSerial_Information serials{"", "kept", "", ""};
            errno = 0;
            EXPECT_TRUE(Mirovan_HardWare_GetSerial(&serials));
            EXPECT_TRUE(test::failed_with(false, ERROR_MIROVAN_PROCESS_ACCESS, EMFILE));
            EXPECT_STREQ(serials.tszSystemSerial, "kept");
        });
}

TEST_F(Report, ProcessorValues)
{
    const struct
    {
        std::string report;
        std::string name;
        std::string model;
        int speed;
    } cases[] = {
        {"", "kept", "kept", -5},
        {blanks_and("Processor Name: Quad-Core i7") + blanks_and("Model Identifier: iMac19,1"),
         "Quad-Core i7", "iMac19,1", -5},
        {blanks_and("processor name: a") + blanks_and("MODEL IDENTIFIER: b") +
             blanks_and("Processor SPEED: 2.3 GHz"),
         "a", "b", 2300},
        {blanks_and("Processor Name: first") + blanks_and("Processor Name: last"), "last", "kept",
         -5},
        {blanks_and("Processor Name: ") + "      Model Identifier: ", "", "", -5},
        {"      Processor Name: abc", "ab", "kept", -5},
        {"      Processor Name:\n     Processor Name: x\n       Processor Name: x\n", "kept",
         "kept", -5},
        {blanks_and(("Processor Name: " + std::string(5000, 'p')).c_str()), std::string(127, 'p'),
         "kept", -5},
        {blanks_and(("Model Identifier: " + std::string(62, 'm') + "\xC3\xBC").c_str()), "kept",
         std::string(62, 'm'), -5},
        {blanks_and("Chip: Apple M3"), "Apple M3", "kept", -5},
        {blanks_and("Chip: a") + blanks_and("Processor Name: b") + blanks_and("Chip: c"), "b",
         "kept", -5},
        {blanks_and("Processor Speed: 3.06 GHz"), "kept", "kept", 3060},
        {blanks_and("Processor Speed: 800 MHz"), "kept", "kept", 800000},
        {blanks_and("Processor Speed: fast GHz"), "kept", "kept", 0},
        {blanks_and("Processor Speed: 2,3 GHz"), "kept", "kept", 2300},
        {blanks_and("Processor Speed: -1e300 GHz"), "kept", "kept", INT32_MIN},
        {blanks_and("Processor Speed: inf GHz"), "kept", "kept", INT32_MAX},
        {blanks_and("Processor Speed: nan GHz"), "kept", "kept", 0},
        {blanks_and("Processor Speed: 2.3"), "kept", "kept", 0},
    };
    for (const auto& [report, name, model, speed] : cases)
    {
        print(report);
        tag_Mirovan_Cpu_Information cpu{"kept", "kept", -5, -5, 0};
        EXPECT_SUCCEEDS(Mirovan_HardWare_GetCpuInfomation(&cpu));
        EXPECT_EQ(cpu.tszProcessorName, name) << report;
        EXPECT_EQ(cpu.tszModelIdentifier, model) << report;
        EXPECT_EQ(cpu.nProcessorSpeed, speed) << report;
        EXPECT_EQ(cpu.nProcessorOnline, sysconf(_SC_NPROCESSORS_ONLN));
        EXPECT_EQ(cpu.nHardwareThreads, std::thread::hardware_concurrency());
    }
    EXPECT_FAILS(Mirovan_HardWare_GetCpuInfomation(nullptr), ERROR_MIROVAN_HARDWARE_PARAMETER,
                 EINVAL);
}

/// Prints the reports that the four pipelines read.
void add_serials(const Commands& commands, const std::string& system, const std::string& hardware,
                 const std::string& volume, const std::string& platform_hex)
{
    commands.add("system_profiler", "if [ \"$1\" = SPHardwareDataType ]; then echo '      Serial "
                                    "Number (system): " +
                                        system + "'; echo '      Hardware UUID: " + hardware +
                                        "'; else echo '      Volume UUID: " + volume +
                                        "'; echo '      Volume UUID: second'; fi");
    commands.add("ioreg", "[ \"$*\" = -l ] && echo '  | \"Serial-Number\" = <" + platform_hex +
                              ">' && echo '\"serial-number\" = <41>'");
}

TEST_F(Report, Serials)
{
    const std::string uuid = "564D0A5C-99B4-4E1B-9E0B-3F0C3B1A2D77";
    const struct
    {
        const char *system, *hardware, *volume, *platform;
        std::vector<std::string> fields;
    } cases[] = {
        {"C02XK0AAJG5H",
         uuid.c_str(),
         "V-1",
         "43303258000041",
         {"C02XK0AAJG5H\n", uuid + "\n", "V-1\n", "C02X"}},
        {"None", "None", "V", "6e756c6c", {"", "None\n", "V\n", "null"}},
        {"S", "H", "NULLABLE", "4e4f4e4521", {"S\n", "H\n", "NULLABLE\n", ""}},
        {"S", "nOnE", "Nul", "", {"S\n", "", "Nul\n", ""}},
        {"", "", "", "zz", {"\n", "\n", "\n", ""}},
    };
    const test::Held before = test::Held::now();
    for (const auto& [system, hardware, volume, platform, fields] : cases)
    {
        add_serials(commands_, system, hardware, volume, platform);
        tag_Mirovan_SdkSerial_Information serials{};
        EXPECT_SUCCEEDS(Mirovan_HardWare_GetSerial(&serials));
        EXPECT_EQ((std::vector<std::string>{serials.tszSystemSerial, serials.tszHardwareUUID,
                                            serials.tszVolumeUUID, serials.tszPlatformSerial}),
                  fields);
    }
    EXPECT_EQ(test::Held::now(), before);
    EXPECT_FAILS(Mirovan_HardWare_GetSerial(nullptr), ERROR_MIROVAN_HARDWARE_PARAMETER, EINVAL);
}

TEST_F(Report, SerialsAreAppendedAsFarAsTheyFit)
{
    add_serials(commands_, std::string(5000, 's'), "H", std::string(61, 'v') + "\xC3\xBC", "41");
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
