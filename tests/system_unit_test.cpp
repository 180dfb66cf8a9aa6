#include "platform/command_line.h"
#include "platform/linux/display.h"
#include "platform/linux/host_figures.h"
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

TEST(IdlePercent, IsCutOffAndNeedsTicks)
{
    EXPECT_EQ(idle_percent({{0, 0, 0, 0}}), 0U);
    EXPECT_EQ(idle_percent({{1, 0, 2, 0}}), 66U);
    EXPECT_EQ(idle_percent({{0, 0, 5, 0}}), 100U);
    EXPECT_EQ(idle_percent({{1, 1, 0, 1}}), 0U);
    EXPECT_EQ(idle_percent({{0x40000000, 0x3FFFFFFF, 0x40000000, 0x40000000}}), 25U);
}

TEST(ProcessorLoad, AddsWhatBelongsTogether)
{
    const auto load = processor_load("cpu  10 20 30 40 5 6 7 8 9 10\ncpu0 1 1 1 1\n");
    ASSERT_TRUE(load);
    EXPECT_EQ(load->cpu_ticks[CPU_STATE_USER], 10U);
    EXPECT_EQ(load->cpu_ticks[CPU_STATE_NICE], 20U);
    EXPECT_EQ(load->cpu_ticks[CPU_STATE_SYSTEM], 30U + 6 + 7 + 8);
    EXPECT_EQ(load->cpu_ticks[CPU_STATE_IDLE], 45U);
    EXPECT_TRUE(processor_load("cpu  1 2 3 4\n"));
    for (const char* bad : {"", "cpu", "cpu  1 2 3\n", "cpu  1 2 x 4\n", "intr 1 2 3 4\n"})
        EXPECT_FALSE(processor_load(bad)) << bad;
}

TEST(ProcessorLoad, IsScaledUntilTheSumFits)
{
    const auto load = processor_load("cpu  4000000000 0 4000000000 24000000000 0 0 0 0 0 0\n");
    ASSERT_TRUE(load);
    natural_t sum = 0;
    std::uint64_t wide_sum = 0;
    for (const natural_t ticks : load->cpu_ticks)
    {
        sum += ticks;
        wide_sum += ticks;
    }
    EXPECT_EQ(sum, wide_sum);
    EXPECT_GT(sum, 0x70000000U);
    EXPECT_EQ(idle_percent(*load), 75U);
}

TEST(ProcessorLoad, OfCountersNearTheirEndDoesNotWrap)
{
    const auto load =
        processor_load("cpu  6960 532 18446722036854775807 94783563202560 94 8 0 0\n");
    ASSERT_TRUE(load);
    EXPECT_LE(idle_percent(*load), 1U);
    const auto idle = processor_load("cpu  1 1 1 18446744073709551615 18446744073709551615\n");
    ASSERT_TRUE(idle);
    EXPECT_GE(idle_percent(*idle), 99U);
}

TEST(MemoryStatistics, AreInPages)
{
    const auto statistics = memory_statistics(
        "MemTotal: 99 kB\nMemFree:   400 kB\nActive:  80 kB\nActive(anon): 1 kB\nInactive: 40 kB\n"
        "Unevictable: 4 kB\nSUnreclaim: 8 kB\nKernelStack: 12 kB\nPageTables: 16 kB\n",
        "pgpgin 4096\npgpgout 8192\npgfault 5000000000\npgactivate 3\npgfaultx 9\n", 4096);
    ASSERT_TRUE(statistics);
    EXPECT_EQ(statistics->free_count, 100U);
    EXPECT_EQ(statistics->active_count, 20U);
    EXPECT_EQ(statistics->inactive_count, 10U);
    EXPECT_EQ(statistics->wire_count, 10U);
    EXPECT_EQ(statistics->pageins, 1024U);
    EXPECT_EQ(statistics->pageouts, 2048U);
    EXPECT_EQ(statistics->faults, static_cast<natural_t>(5'000'000'000));
    EXPECT_EQ(statistics->reactivations, 3U);
    EXPECT_FALSE(memory_statistics("MemTotal: 99 kB\n", "", 4096));
    EXPECT_FALSE(memory_statistics("MemFree: kB", "", 4096));
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
