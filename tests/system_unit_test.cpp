#include "platform/command_line.h"
#include "platform/linux/display.h"
#include "platform/linux/host_counters.h"
#include "source/system/host_port.h"
#include "source/system/processors.h"
#include "source/system/uptime.h"
#include "tests/support/support.h"

#include <cerrno>
#include <sys/sysctl.h>

namespace
{

using namespace mirovan;
using namespace mirovan::platform;

TEST(CommandLine, ReachesTheLibrarysCommandsLastOnPath)
{
    for (const char* path : {"/usr/bin:/bin", "", static_cast<const char*>(nullptr)})
    {
        const test::Environment set{"PATH", path};
        const std::string seen = test::shell_output(own_command_line("echo \"$PATH\""));
        EXPECT_EQ(seen.rfind(path == nullptr ? "" : path, 0), 0U) << seen;
        EXPECT_NE(seen.find("/libexec/mirovan\n"), std::string::npos) << seen;
        EXPECT_NE(seen.front(), ':') << seen;
        EXPECT_EQ(seen.find("::"), std::string::npos) << seen;
    }
}

TEST(StartTime, DropsPartsOfASecondFirst)
{
    // 2 January 2025 12:00:00 less 25 h 1 min 1.5 s.
    EXPECT_EQ(start_time(1'735'819'200, 90'061'500), 1'735'819'200 - 90'061);
    EXPECT_EQ(start_time(1000, 999), 1000);
    EXPECT_EQ(start_time(1000, 2'000'000), -1000);
}

TEST(Processors, IdlePercentAddsUpIn64Bits)
{
    constexpr std::uint32_t half = 0x80000000U;
    constexpr std::uint32_t most = 0xFFFFFFFFU;
    // user, system, idle, nice of each processor
    const struct
    {
        std::vector<processor_cpu_load_info> loads;
        unsigned long percent;
    } cases[] = {{{}, 0},
                 {{{{0, 0, 0, 0}}}, 0},
                 {{{{1, 0, 2, 0}}}, 66},
                 {{{{0, 0, 5, 0}}}, 100},
                 {{{{1, 1, 0, 1}}}, 0},
                 {{{{1, 1, 5, 1}}, {{0, 0, 0, 0}}, {{1, 0, 0, 1}}}, 50},
                 {{{{half, 0, half, 0}}}, 50},
                 {{{{0x60000000U, 0, 0xF0000000U, 0}}}, 71},
                 {{{{0, 0, most, 0}}, {{0, 0, most, 0}}, {{most, 0, most, 0}}}, 75}};
    for (const auto& [loads, percent] : cases)
        EXPECT_EQ(idle_percent(sum_of(loads)), percent) << loads.size();
}

TEST(Processors, AreReadOneByOne)
{
    struct Load
    {
        std::uint64_t user, system, idle, nice;
    };
    const struct
    {
        const char* stat;
        std::vector<Load> loads;
    } cases[] = {
        {"cpu  9 9 9 9 9 9 9 9 9 9\ncpu0 10 20 30 40 5 6 7 8 9 10\ncpu1 1 2 3 4\nintr 1 2\n",
         {{10, 30 + 6 + 7 + 8, 45, 20}, {1, 3, 4, 2}}},
        {"cpu  1 1 1 1\ncpu2 5000000000 0 1 6000000000 4000000000\n", // two are offline
         {{0, 0, 0, 0}, {0, 0, 0, 0}, {5'000'000'000, 1, 10'000'000'000, 0}}},
        {"cpu0 1 2 3\ncpu1 1 2 x 4\ncpux 1 2 3 4\ncpu99999 1 1 1 1\nintr\ncpu0 1 1 1 1\n", {}},
        {"", {}}};
    for (const auto& [stat, expected] : cases)
    {
        const auto loads = processor_loads(stat);
        ASSERT_EQ(loads.size(), expected.size()) << stat;
        for (std::size_t i = 0; i < loads.size(); ++i)
        {
            EXPECT_EQ(loads[i].cpu_ticks[CPU_STATE_USER], expected[i].user) << stat;
            EXPECT_EQ(loads[i].cpu_ticks[CPU_STATE_SYSTEM], expected[i].system) << stat;
            EXPECT_EQ(loads[i].cpu_ticks[CPU_STATE_IDLE], expected[i].idle) << stat;
            EXPECT_EQ(loads[i].cpu_ticks[CPU_STATE_NICE], expected[i].nice) << stat;
        }
    }
    EXPECT_LE(
        idle_percent(sum_of(processor_loads("cpu0 6960 532 18446722036854775807 947 94 8 0 0\n"
                                            "cpu1 1 1 1 18446744073709551615 1\n"))),
        100U);
}

TEST(HostErrors, AreErrnos)
{
    EXPECT_EQ(errno_of(unix_err(EMFILE)), EMFILE);
    EXPECT_EQ(errno_of(KERN_INVALID_ARGUMENT), EINVAL);
    EXPECT_EQ(errno_of(KERN_RESOURCE_SHORTAGE), ENOMEM);
    EXPECT_EQ(errno_of(KERN_FAILURE), EIO);
}

TEST(Memory, CountersAreThoseOfTheKernelInBytes)
{
    constexpr std::uint64_t kib = 1024;
    const Memory memory = memory_counters(
        "MemTotal:       24684096 kB\nMemFree:        21929732 kB\nMemAvailable:   23832952 kB\n"
        "Buffers:           15668 kB\nCached:          2049980 kB\nSwapCached:            3 kB\n"
        "Unevictable:          40 kB\nSwapTotal:       1048576 kB\nSwapFree:         948576 kB\n"
        "Zswap:               128 kB\nSReclaimable:      86932 kB\nSUnreclaim:        22456 kB\n"
        "KernelStack:        2096 kB\nPageTables:         4872 kB\nPercpu:              696 kB\n");
    EXPECT_EQ(memory.total, 24'684'096U * kib);
    EXPECT_EQ(memory.free, 21'929'732U * kib);
    EXPECT_EQ(memory.available, 23'832'952U * kib);
    EXPECT_EQ(memory.cached, (15'668U + 2'049'980 + 86'932) * kib);
    EXPECT_EQ(memory.wired, (40U + 22'456 + 2096 + 4872 + 696) * kib);
    EXPECT_EQ(memory.compressed, 128U * kib);
    EXPECT_EQ(memory.swap_total, 1'048'576U * kib);
    EXPECT_EQ(memory.swap_used, 100'000U * kib);
    const Memory old =
        memory_counters("MemTotal: 99 kB\nMemFree: kB\nMemFreeX: 5 kB\nSwapTotal: 0 kB\n");
    EXPECT_EQ(old.total, 99U * kib);
    for (const auto& value : {old.free, old.available, old.cached, old.wired, old.compressed,
                              old.swap_used, old.process_limit})
        EXPECT_FALSE(value);
}

TEST(Sysctl, RefusesWhatItDoesNotKnow)
{
    int name[] = {CTL_HW, 12345};
    char room[8] = "";
    std::size_t size = sizeof room;
    EXPECT_EQ(sysctl(name, 2, room, &size, nullptr, 0), -1);
    EXPECT_EQ(errno, ENOENT);
    name[1] = HW_MEMSIZE;
    size = 4;
    EXPECT_EQ(sysctl(name, 2, room, &size, nullptr, 0), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(sysctl(name, 2, nullptr, &size, nullptr, 0), 0);
    EXPECT_EQ(size, 8U);
    EXPECT_EQ(sysctl(name, 2, room, &size, room, sizeof room), -1);
    EXPECT_EQ(errno, EPERM);
}

TEST(Display, IsTheFirstConnectedOutput)
{
    const test::Scratch root;
    EXPECT_FALSE(drm_display(root.path()));
    root.file("class/drm/version", "drm 1.1.0\n");
    root.file("class/drm/card0-DP-1/status", "disconnected\n");
    root.file("class/drm/card0-DP-1/modes", "640x480\n");
    root.file("class/drm/card0-eDP-1/status", "connected\n");
    root.file("class/drm/card0-eDP-1/modes", "");
    root.file("class/drm/card1-HDMI-A-1/status", "connected\n");
    root.file("class/drm/card1-HDMI-A-1/modes", "2560x1440\n1920x1080\n");
    root.file("class/drm/card1-HDMI-A-2/status", "connected\n");
    root.file("class/drm/card1-HDMI-A-2/modes", "800x600\n");
    EXPECT_EQ(drm_display(root.path()), (DisplaySize{2560, 1440}));
}

TEST(Display, IsTheFramebuffersMode)
{
    const struct
    {
        const char* mode;
        const char* size;
        DisplaySize expected;
    } cases[] = {{"U:1024x768p-60\n", "1024,1536\n", {1024, 768}},
                 {"", "1366,768\n", {1366, 768}},
                 {"\n", "x,768\n", {}},
                 {"U:1024\n", "1024", {}}};
    for (const auto& [mode, size, expected] : cases)
    {
        const test::Scratch root;
        root.file("class/graphics/fbcon/mode", "1x1");
        root.file("class/graphics/fb0/mode", mode);
        root.file("class/graphics/fb0/virtual_size", size);
        EXPECT_EQ(framebuffer_display(root.path()), expected) << mode << size;
    }
}

} // namespace
