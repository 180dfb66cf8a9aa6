#include "platform/command_line.h"
#include "platform/linux/display.h"
#include "platform/linux/host_counters.h"
#include "source/system/host_port.h"
#include "source/system/processors.h"
#include "source/system/uptime.h"
#include "tests/support/support.h"

#include <array>
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

TEST(Processors, AreReadOneByOneAndAddedUpIn64Bits)
{
    // user, system, idle, nice of each processor
    const struct
    {
        const char* stat;
        std::vector<std::array<std::uint64_t, 4>> loads;
        unsigned long idle_percent;
    } cases[] = {
        {"cpu  9 9 9 9 9 9 9 9 9 9\ncpu0 10 20 30 40 5 6 7 8 9 10\ncpu1 1 2 3 4\nintr 1 2\n",
         {{10, 30 + 6 + 7 + 8, 45, 20}, {1, 3, 4, 2}},
         36},
        {"cpu  1 1 1 1\ncpu2 5000000000 0 1 6000000000 4000000000\n", // two are offline
         {{0, 0, 0, 0}, {0, 0, 0, 0}, {5'000'000'000, 1, 10'000'000'000, 0}},
         66},
        {"cpu0 1 2 3\ncpu1 1 2 x 4\ncpux 1 2 3 4\ncpu99999 1 1 1 1\nintr\ncpu0 1 1 1 1\n", {}, 0},
        {"", {}, 0},
        {"cpu0 0 0 0 0\n", {{0, 0, 0, 0}}, 0},
        {"cpu0 0 0 0 5\n", {{0, 0, 5, 0}}, 100},
        {"cpu0 1 1 1 0\n", {{1, 1, 0, 1}}, 0},
        {"cpu0 2147483648 0 0 2147483648\n", {{0x80000000U, 0, 0x80000000U, 0}}, 50},
        {"cpu0 0 0 0 4294967295\ncpu1 2 0 0 1\n", {{0, 0, 0xFFFFFFFFU, 0}, {2, 0, 1, 0}}, 99}};
    for (const auto& [stat, expected, percent] : cases)
    {
        const auto loads = processor_loads(stat);
        ASSERT_EQ(loads.size(), expected.size()) << stat;
        for (std::size_t i = 0; i < loads.size(); ++i)
            for (std::size_t state = 0; state < 4; ++state)
                EXPECT_EQ(loads[i].cpu_ticks[state], expected[i][state]) << stat;
        EXPECT_EQ(idle_percent(sum_of(loads)), percent) << stat;
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
    char room[8] = "";
    const struct
    {
        int name, size;
        void* to;
        void* from;
        int reason;
    } cases[] = {{12345, 8, room, nullptr, ENOENT},
                 {HW_MEMSIZE, 4, room, nullptr, ENOMEM},
                 {HW_MEMSIZE, 8, room, room, EPERM},
                 {HW_MEMSIZE, 4, nullptr, nullptr, 0}};
    for (const auto& [key, room_size, to, from, reason] : cases)
    {
        int name[] = {CTL_HW, key};
        auto size = static_cast<std::size_t>(room_size);
        errno = 0;
        EXPECT_EQ(sysctl(name, 2, to, &size, from, from == nullptr ? 0 : 8), reason == 0 ? 0 : -1);
        EXPECT_EQ(errno, reason);
        EXPECT_EQ(size, reason == 0 ? 8 : static_cast<std::size_t>(room_size));
    }
}

TEST(Display, IsTheFirstConnectedOutput)
{
    const test::Scratch root;
    EXPECT_FALSE(drm_display(root.path()));
    root.file("class/drm/version", "drm 1.1.0\n");
    for (const auto& [name, status, modes] :
         {std::array{"card0-DP-1", "disconnected\n", "640x480\n"},
          {"card0-eDP-1", "connected\n", ""},
          {"card1-HDMI-A-1", "connected\n", "2560x1440\n1920x1080\n"},
          {"card1-HDMI-A-2", "connected\n", "800x600\n"}})
    {
        root.file(std::string{"class/drm/"} + name + "/status", status);
        root.file(std::string{"class/drm/"} + name + "/modes", modes);
    }
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
