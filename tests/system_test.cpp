#include "tests/support/readings.h"
#include "tests/support/support.h"

#include <climits>
#include <csignal>
#include <ctime>
#include <fstream>
#include <pwd.h>
#include <sched.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <thread>
#include <unistd.h>

namespace
{

using test::Environment;
using test::shell_output;
using Numbers = std::vector<long long>;

long long number(uint64_t value)
{
    return static_cast<long long>(value);
}

TEST(SystemIdentity, NameAndReleaseAreThoseOfUname)
{
    utsname system{};
    ASSERT_EQ(uname(&system), 0);
    char name[256], version[256], code[8], release[256];
    unsigned long type = 0;
    EXPECT_SUCCEEDS(Mirovan_System_GetSystemVer(name, version, code, &type, release));
    EXPECT_STREQ(name, system.sysname);
    EXPECT_STREQ(version, system.release);
    EXPECT_STREQ(release, system.release);
    EXPECT_STREQ(code, "ventura");
    EXPECT_EQ(type, 2U);
    EXPECT_SUCCEEDS(Mirovan_System_GetSystemVer(name, version, code, &type, nullptr));
}

TEST(SystemIdentity, UserAndHost)
{
    char user[256] = "?";
    char host[1024] = "?";
    EXPECT_SUCCEEDS(Mirovan_System_GetSysName(user, nullptr));
    EXPECT_SUCCEEDS(Mirovan_System_GetSysName(nullptr, host));
    EXPECT_EQ(user + std::string{"\n"}, shell_output("id -un"));
    EXPECT_EQ(host + std::string{"\n"}, shell_output("uname -n"));
    EXPECT_SUCCEEDS(Mirovan_System_GetSysName(nullptr, nullptr));
    if (geteuid() == 0)
        test::in_child(
            [&]
            {
                constexpr uid_t without_account = 54321;
                ASSERT_EQ(getpwuid(without_account), nullptr);
                ASSERT_EQ(seteuid(without_account), 0);
                EXPECT_SUCCEEDS(Mirovan_System_GetSysName(user, host));
                EXPECT_STREQ(user, "");
            });
}

TEST(SystemIdentity, LanguageIsTheVariableUnchanged)
{
    char language[8192];
    const std::string longest(8000, 'x');
    for (const char* value :
         {"de_DE.UTF-8@euro", "", longest.c_str(), static_cast<const char*>(nullptr)})
    {
        const Environment set{"LANG", value};
        EXPECT_SUCCEEDS(Mirovan_System_GetLanguage(language));
        EXPECT_STREQ(language, value == nullptr ? "" : value);
    }
}

std::pair<int, int> screen(const char* display)
{
    const Environment set{"DISPLAY", display};
    std::pair<int, int> size{-1, -1};
    EXPECT_SUCCEEDS(Mirovan_System_GetScreen(&size.first, &size.second));
    return size;
}

TEST(SystemScreen, IsTheXServersOwn)
{
    for (const auto& size : {std::pair{1280, 720}, std::pair{803, 601}})
    {
        // A server of the test's own, on a display number that it chooses itself.
        const test::Scratch scratch;
        const std::string chosen = scratch.file("display");
        const std::string server =
            shell_output("Xvfb -displayfd 3 -screen 0 " + std::to_string(size.first) + "x" +
                         std::to_string(size.second) + "x24 -nolisten tcp 3>'" + chosen +
                         "' >/dev/null 2>&1 & echo $!");
        std::string display;
        for (int round = 0; round < 3000 && !display.ends_with('\n'); ++round)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds{10});
            display = test::read_file(chosen);
        }
        ASSERT_NE(display, "") << "Xvfb did not start";
        display.pop_back();
        const auto held = test::Held::now();
        EXPECT_EQ(screen((":" + display).c_str()), size);
        EXPECT_EQ(test::Held::now(), held);
        kill(std::stoi(server), SIGTERM);
    }
}

TEST(SystemScreen, WithoutAnXServerItIsTheKernelsOrNone)
{
    for (const char* display : {static_cast<const char*>(nullptr), "", ":59999", "nonsense"})
    {
        const auto [width, height] = screen(display);
        EXPECT_GE(width, 0);
        EXPECT_EQ(width == 0, height == 0);
    }
}

/// The lines of /proc/meminfo, in bytes.
std::map<std::string, long long> meminfo()
{
    std::map<std::string, long long> values;
    std::ifstream lines{"/proc/meminfo"};
    std::string key, unit;
    for (long long kib = 0; lines >> key >> kib && std::getline(lines, unit);)
        values[key] = kib * 1024;
    return values;
}

TEST(SystemMemory, AgreesWithTheKernelInEveryUnit)
{
    constexpr long long reserved = (5LL << 30U) + 4096;
    for (const auto& [unit, shift] : std::map<int, int>{{MIROVAN_UNIT_BYTE, 0},
                                                        {MIROVAN_UNIT_KIB, 10},
                                                        {MIROVAN_UNIT_MIB, 20},
                                                        {MIROVAN_UNIT_GIB, 30},
                                                        {0, 0},
                                                        {5, 0},
                                                        {-2, 0}})
    {
        const auto read = [shift = shift]
        {
            auto kernel = meminfo();
            const long long free = kernel["MemFree:"];
            const long long total = kernel["MemTotal:"];
            const long long shifted = reserved >> shift;
            return Numbers{free >> shift, total >> shift, free * 100 / total,
                           shifted,       shifted,        reserved,
                           shifted,       shifted};
        };
        const auto answer = [unit = unit]
        {
            tag_Mirovan_Memory_Infomation memory{};
            memory.nReserved1 = memory.nReserved2 = memory.nReserved3 = memory.nReserved4 =
                memory.nReserved5 = reserved;
            EXPECT_SUCCEEDS(Mirovan_System_GetMemoryUsage(&memory, unit));
            return Numbers{number(memory.nFreeMemory), number(memory.nTotalMemory),
                           memory.nFreePercent,        number(memory.nReserved1),
                           number(memory.nReserved2),  number(memory.nReserved3),
                           number(memory.nReserved4),  number(memory.nReserved5)};
        };
        EXPECT_TRUE(test::between_readings(read, answer)) << unit;
    }
}

TEST(SystemMemory, RecordAgreesWithTheKernel)
{
    using Record = MIROVAN_MEMORY_RECORD;
    const struct
    {
        uint32_t bit;
        uint64_t Record::*field;
        std::vector<const char*> added;
        const char* less = "";
    } cases[] = {
        {MIROVAN_MEMORY_KNOWN_TOTAL, &Record::nTotal, {"MemTotal:"}},
        {MIROVAN_MEMORY_KNOWN_AVAILABLE, &Record::nAvailable, {"MemAvailable:"}},
        {MIROVAN_MEMORY_KNOWN_FREE, &Record::nFree, {"MemFree:"}},
        {MIROVAN_MEMORY_KNOWN_WIRED,
         &Record::nWired,
         {"Unevictable:", "SUnreclaim:", "KernelStack:", "PageTables:", "Percpu:"}},
        {MIROVAN_MEMORY_KNOWN_COMPRESSED, &Record::nCompressed, {"Zswap:"}},
        {MIROVAN_MEMORY_KNOWN_CACHED, &Record::nCached, {"Cached:", "Buffers:", "SReclaimable:"}},
        {MIROVAN_MEMORY_KNOWN_SWAP_TOTAL, &Record::nSwapTotal, {"SwapTotal:"}},
        {MIROVAN_MEMORY_KNOWN_SWAP_USED, &Record::nSwapUsed, {"SwapTotal:"}, "SwapFree:"}};
    for (const auto& known : cases)
    {
        const auto read = [&]
        {
            auto kernel = meminfo();
            const bool is_known = kernel.contains(known.added.front());
            long long sum = -kernel[known.less];
            for (const char* key : known.added)
                sum += kernel[key];
            return Numbers{is_known, sum};
        };
        const auto answer = [&]
        {
            auto record = test::sized<Record>();
            EXPECT_SUCCEEDS(Mirovan_System_GetMemoryRecord(&record));
            return Numbers{(record.nKnown & known.bit) != 0, number(record.*known.field)};
        };
        EXPECT_TRUE(test::between_readings(read, answer)) << known.added.front();
    }
}

TEST(SystemIdentity, RecordAgreesWithTheCommands)
{
    auto identity = test::sized<MIROVAN_IDENTITY>();
    EXPECT_SUCCEEDS(Mirovan_System_GetIdentity(&identity));
    EXPECT_EQ(identity.nKnown, 0x7FFU);
    const std::pair<std::string, const char*> cases[] = {
        {identity.tszSystemName, ". /etc/os-release; echo \"$NAME\""},
        {identity.tszSystemVersion, ". /etc/os-release; echo \"${VERSION_ID:-$VERSION}\""},
        {identity.tszKernelName, "uname -s"},
        {identity.tszKernelVersion, "uname -r"},
        {identity.tszArchitecture, "uname -m"},
        {identity.tszHostName, "uname -n"},
        {std::to_string(identity.nStartTime), "awk '/^btime/ {print $2 \"000000000\"}' /proc/stat"},
        {std::to_string(identity.nPageSize), "getconf PAGESIZE"},
        {std::to_string(identity.nProcessors), "getconf _NPROCESSORS_CONF"},
        {std::to_string(identity.nProcessorsOnline), "getconf _NPROCESSORS_ONLN"},
        {std::to_string(identity.nProcessorsUsable), "nproc"}};
    for (const auto& [found, command] : cases)
        EXPECT_EQ(found + "\n", shell_output(command)) << command;
    int count = 0;
    EXPECT_SUCCEEDS(Mirovan_System_GetProcessCount(&count));
    EXPECT_EQ(count, sysconf(_SC_NPROCESSORS_ONLN));
    test::in_child(
        [&]
        {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(sched_getcpu(), &one);
            test::require(sched_setaffinity(0, sizeof one, &one) == 0);
            const auto online = identity.nProcessorsOnline;
            EXPECT_SUCCEEDS(Mirovan_System_GetIdentity(&identity));
            EXPECT_EQ(identity.nProcessorsUsable, 1U);
            EXPECT_EQ(identity.nProcessorsOnline, online);
        });
}

TEST(SystemLoad, IsTheSumOfTheProcessListCutOff)
{
    const test::Commands commands;
    const std::pair<const char*, int> cases[] = {{"printf '99.9\\n 138.0\\n0.0\\n'", 237},
                                                 {"printf '0.4\\n0.5\\n'", 0},
                                                 {"true", 0},
                                                 {"printf '800.0\\n'", 800},
                                                 {"exec >&-; exit 1", 0},
                                                 {"[ \"$LC_ALL\" = C ] && echo 42", 42},
                                                 {"[ \"$*\" = '-A -o %cpu=' ] && echo 7", 7}};
    for (const auto& [script, expected] : cases)
    {
        commands.add("ps", script);
        int load = -1;
        EXPECT_SUCCEEDS(Mirovan_System_GetCpuUsage(&load));
        EXPECT_EQ(load, expected) << script;
    }
}

TEST(SystemUptime, IsTheStartOfTheSystemInAnyTimeZone)
{
    for (const char* zone : {"UTC", "Asia/Kathmandu", "America/New_York", "<+1245>-12:45"})
    {
        const Environment set{"TZ", zone};
        const auto read = []
        {
            const double uptime = std::stod(test::read_file("/proc/uptime"));
            return Numbers{std::time(nullptr) - static_cast<long long>(uptime)};
        };
        const auto answer = []
        {
            TARVELO_LIBTIME start{};
            EXPECT_SUCCEEDS(Mirovan_System_GetUpTime(&start));
            std::tm local{};
            local.tm_year = start.nYear - 1900;
            local.tm_mon = start.nMonth - 1;
            local.tm_mday = start.nDay;
            local.tm_hour = start.nHour;
            local.tm_min = start.nMinute;
            local.tm_sec = start.nSecond;
            local.tm_isdst = -1;
            return Numbers{std::mktime(&local)};
        };
        EXPECT_TRUE(test::between_readings(read, answer)) << zone;
    }
    tzset();
}

/// User, nice, system and idle time of the processors in nanoseconds, first of all together.
Numbers processor_times()
{
    Numbers times(4);
    std::ifstream lines{"/proc/stat"};
    for (std::string line; std::getline(lines, line);)
    {
        if (!line.starts_with("cpu") || line[3] == ' ')
            continue;
        std::istringstream text{line.substr(line.find(' '))};
        Numbers ticks{std::istream_iterator<long long>{text}, {}};
        for (const long long value :
             {ticks[0], ticks[1], ticks[2] + ticks[5] + ticks[6] + ticks[7], ticks[3] + ticks[4]})
            times.push_back(value * (1'000'000'000 / sysconf(_SC_CLK_TCK)));
    }
    for (std::size_t i = 4; i < times.size(); ++i)
        times[i % 4] += times[i];
    return times;
}

TEST(SystemProcessors, TimesAgreeWithTheCounters)
{
    using Times = MIROVAN_PROCESSOR_TIMES;
    const auto answer = []
    {
        Numbers times;
        const auto append = [](const Times* one, void* to)
        {
            auto& list = *static_cast<Numbers*>(to);
            EXPECT_EQ(one->nSize, sizeof(Times));
            EXPECT_EQ(one->nKnown, 0xFU);
            EXPECT_EQ(one->nProcessor, number(list.size() / 4) - 1);
            for (const uint64_t time : {one->nUser, one->nNice, one->nSystem, one->nIdle})
                list.push_back(number(time));
            return true;
        };
        EXPECT_SUCCEEDS(Mirovan_System_GetProcessorTimes(append, &times));
        EXPECT_EQ(times.size(), processor_times().size());
        return times;
    };
    EXPECT_TRUE(test::between_readings(processor_times, answer));
    const auto idle_share = []
    {
        const Numbers times = processor_times();
        return Numbers{100 * times[3] / (times[0] + times[1] + times[2] + times[3])};
    };
    const auto idle = []
    {
        unsigned long percent = 777;
        EXPECT_SUCCEEDS(Mirovan_System_GetSysIdleTime(percent));
        return Numbers{number(percent)};
    };
    EXPECT_TRUE(test::between_readings(idle_share, idle));
    int calls = 0;
    const auto stop = [](const Times* /*times*/, void* count)
    { return ++*static_cast<int*>(count), false; };
    EXPECT_SUCCEEDS(Mirovan_System_GetProcessorTimes(stop, &calls));
    EXPECT_EQ(calls, 1);
}

} // namespace
