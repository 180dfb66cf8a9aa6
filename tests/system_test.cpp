#include "tests/support/support.h"

#include <climits>
#include <cmath>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <pwd.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

// What a caller in C passes for the reference.
extern "C" bool idle_time_at_null(void);

namespace
{

using test::Environment;
using test::shell_output;

TEST(SystemIdentity, NameAndReleaseAreThoseOfUname)
{
    utsname system{};
    ASSERT_EQ(uname(&system), 0);
    char name[256];
    char version[256];
    char code[8];
    char release[256];
    unsigned long type = 0;
    EXPECT_SUCCEEDS(Mirovan_System_GetSystemVer(name, version, code, &type, release));
    EXPECT_STREQ(name, system.sysname);
    EXPECT_STREQ(version, system.release);
    EXPECT_STREQ(release, system.release);
    EXPECT_STREQ(code, "ventura");
    EXPECT_EQ(type, 2U);
    EXPECT_SUCCEEDS(Mirovan_System_GetSystemVer(name, version, code, &type, nullptr));
}

TEST(SystemIdentity, NullsAreRefusedAndNothingIsWritten)
{
    char text[256] = "kept";
    unsigned long number = 7;
    char* const texts[] = {text, text, text};
    for (int missing = 0; missing < 4; ++missing)
    {
        const auto pick = [&](int at) { return at == missing ? nullptr : texts[at]; };
        EXPECT_FAILS(Mirovan_System_GetSystemVer(pick(0), pick(1), pick(2),
                                                 missing == 3 ? nullptr : &number, text),
                     ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    }
    int size = 7;
    EXPECT_FAILS(Mirovan_System_GetScreen(nullptr, &size), ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_System_GetScreen(&size, nullptr), ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_System_GetLanguage(nullptr), ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_System_GetMemoryUsage(nullptr, 1), ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_System_GetCpuUsage(nullptr), ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_System_GetUpTime(nullptr), ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_System_GetProcessCount(nullptr), ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_System_SystemEx(nullptr, 1), ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    EXPECT_FAILS(idle_time_at_null(), ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    MIROVAN_PROCESS_INFO** table = nullptr;
    EXPECT_FAILS(Mirovan_System_GetProcessList(nullptr, &size), ERROR_MIROVAN_SYSTEM_PARAMETER);
    EXPECT_FAILS(Mirovan_System_GetProcessList(&table, nullptr), ERROR_MIROVAN_SYSTEM_PARAMETER);
    EXPECT_STREQ(text, "kept");
    EXPECT_EQ(number, 7U);
    EXPECT_EQ(size, 7);
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
    char language[8192] = "?";
    const std::string longest(8000, 'x');
    for (const char* value : {"de_DE.UTF-8@euro", "", longest.c_str()})
    {
        const Environment set{"LANG", value};
        EXPECT_SUCCEEDS(Mirovan_System_GetLanguage(language));
        EXPECT_STREQ(language, value);
    }
    const Environment unset{"LANG", nullptr};
    EXPECT_SUCCEEDS(Mirovan_System_GetLanguage(language));
    EXPECT_STREQ(language, "");
}

TEST(SystemIdentity, QueryDoesNothing)
{
    char result[] = "kept";
    Mirovan_File_GetFileAttrA(nullptr, nullptr);
    EXPECT_SUCCEEDS(Mirovan_System_WMIQuery(nullptr, nullptr, nullptr, 0));
    EXPECT_SUCCEEDS(Mirovan_System_WMIQuery("select", "key", result, sizeof result));
    EXPECT_STREQ(result, "kept");
}

/// An X server of the test's own, on a display number that it chooses itself.
class XServer
{
public:
    explicit XServer(const std::string& screen)
    {
        int ready[2];
        if (pipe(ready) != 0)
            throw std::runtime_error("pipe");
        pid_ = fork();
        if (pid_ == 0)
        {
            const std::string report_to = std::to_string(ready[1]);
            const int quiet = open("/dev/null", O_WRONLY);
            dup2(quiet, STDERR_FILENO);
            execlp("Xvfb", "Xvfb", "-displayfd", report_to.c_str(), "-screen", "0", screen.c_str(),
                   "-nolisten", "tcp", nullptr);
            _exit(127);
        }
        close(ready[1]);
        char number[16] = "";
        const ssize_t got = read(ready[0], number, sizeof number - 1);
        close(ready[0]);
        if (got > 0)
            display_ = ":" + std::string(number, std::strcspn(number, "\n"));
    }
    ~XServer()
    {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }
    const char* display() const { return display_.c_str(); }

private:
    pid_t pid_;
    std::string display_;
};

TEST(SystemScreen, IsTheXServersOwn)
{
    for (const auto& [width, height] : {std::pair{1280, 720}, std::pair{803, 601}})
    {
        const XServer server{std::to_string(width) + "x" + std::to_string(height) + "x24"};
        ASSERT_STRNE(server.display(), "") << "Xvfb did not start";
        const Environment set{"DISPLAY", server.display()};
        const auto held = test::Held::now();
        int found[2] = {-1, -1};
        EXPECT_SUCCEEDS(Mirovan_System_GetScreen(&found[0], &found[1]));
        EXPECT_EQ(found[0], width);
        EXPECT_EQ(found[1], height);
        EXPECT_EQ(test::Held::now(), held);
    }
}

TEST(SystemScreen, WithoutAnXServerItIsTheKernelsOrNone)
{
    for (const char* display : {static_cast<const char*>(nullptr), "", ":59999", "nonsense"})
    {
        const Environment set{"DISPLAY", display};
        int width = -1;
        int height = -1;
        EXPECT_SUCCEEDS(Mirovan_System_GetScreen(&width, &height));
        EXPECT_GE(width, 0);
        EXPECT_EQ(width == 0, height == 0);
    }
}

/// The sum of lines of /proc/meminfo, in bytes.
uint64_t meminfo(const std::string& keys)
{
    return std::stoull(shell_output("awk '/^" + keys +
                                    ":/ {sum += $2} END {printf \"%.0f\", sum * 1024}'"
                                    " /proc/meminfo"));
}

/// Whether an answer lies between two readings of the same, one before it and one after it. What
/// changes all the time may go back and forth: it is asked more than once.
template <class Read, class Answer>
testing::AssertionResult between_readings(const Read& read, const Answer& answer)
{
    constexpr int tries = 50;
    uint64_t found = 0;
    uint64_t before = 0;
    uint64_t after = 0;
    for (int i = 0; i < tries; ++i)
    {
        before = read();
        found = answer();
        after = read();
        if (found >= std::min(before, after) && found <= std::max(before, after))
            return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << found << ", read " << before << " and " << after;
}

TEST(SystemMemory, AgreesWithTheKernelInEveryUnit)
{
    const uint64_t total = meminfo("MemTotal");
    const struct
    {
        int unit;
        unsigned shift;
    } cases[] = {{MIROVAN_UNIT_BYTE, 0},
                 {MIROVAN_UNIT_KIB, 10},
                 {MIROVAN_UNIT_MIB, 20},
                 {MIROVAN_UNIT_GIB, 30},
                 {0, 0},
                 {5, 0},
                 {7, 0},
                 {-2, 0}};
    for (const auto& wanted : cases)
    {
        // By value: a lambda cannot take a structured binding with every compiler.
        const int unit = wanted.unit;
        const unsigned shift = wanted.shift;
        tag_Mirovan_Memory_Infomation memory{};
        const uint64_t reserved = (uint64_t{5} << 30U) + 4096;
        EXPECT_TRUE(between_readings([shift = shift] { return meminfo("MemFree") >> shift; },
                                     [&, unit = unit]
                                     {
                                         memory.nReserved1 = memory.nReserved2 = memory.nReserved3 =
                                             memory.nReserved4 = memory.nReserved5 = reserved;
                                         EXPECT_SUCCEEDS(
                                             Mirovan_System_GetMemoryUsage(&memory, unit));
                                         return memory.nFreeMemory;
                                     }))
            << unit;
        EXPECT_EQ(memory.nTotalMemory, total >> shift) << unit;
        const auto percent = static_cast<int>((memory.nFreeMemory << shift) * 100 / total);
        EXPECT_TRUE(memory.nFreePercent == percent || (shift > 20 && memory.nFreePercent <= 100));
        EXPECT_EQ(memory.nReserved3, reserved);
        for (const uint64_t field :
             {memory.nReserved1, memory.nReserved2, memory.nReserved4, memory.nReserved5})
            EXPECT_EQ(field, reserved >> shift) << unit;
    }
}

TEST(SystemMemory, RecordAgreesWithTheKernel)
{
    using Record = MIROVAN_MEMORY_RECORD;
    const struct
    {
        uint32_t bit;
        uint64_t Record::*field;
        const char* sum; ///< of lines of /proc/meminfo
    } cases[] = {{MIROVAN_MEMORY_KNOWN_TOTAL, &Record::nTotal, "MemTotal"},
                 {MIROVAN_MEMORY_KNOWN_AVAILABLE, &Record::nAvailable, "MemAvailable"},
                 {MIROVAN_MEMORY_KNOWN_FREE, &Record::nFree, "MemFree"},
                 {MIROVAN_MEMORY_KNOWN_WIRED, &Record::nWired,
                  "(Unevictable|SUnreclaim|KernelStack|PageTables|Percpu)"},
                 {MIROVAN_MEMORY_KNOWN_COMPRESSED, &Record::nCompressed, "Zswap"},
                 {MIROVAN_MEMORY_KNOWN_CACHED, &Record::nCached, "(Cached|Buffers|SReclaimable)"},
                 {MIROVAN_MEMORY_KNOWN_SWAP_TOTAL, &Record::nSwapTotal, "SwapTotal"}};
    for (const auto& [bit, field, sum] : cases)
    {
        const bool is_known =
            shell_output("grep -cE '^" + std::string{sum} + ":' /proc/meminfo") != "0\n";
        EXPECT_TRUE(between_readings([sum = sum] { return meminfo(sum); },
                                     [&, bit = bit, field = field]
                                     {
                                         Record record{};
                                         record.nSize = sizeof record;
                                         EXPECT_SUCCEEDS(Mirovan_System_GetMemoryRecord(&record));
                                         EXPECT_EQ((record.nKnown & bit) != 0, is_known);
                                         return record.*field;
                                     }))
            << sum;
    }
    Record record{};
    record.nSize = sizeof record;
    EXPECT_SUCCEEDS(Mirovan_System_GetMemoryRecord(&record));
    EXPECT_NEAR(static_cast<double>(record.nSwapUsed),
                static_cast<double>(meminfo("SwapTotal") - meminfo("SwapFree")), 1 << 28);
}

TEST(SystemIdentity, RecordAgreesWithTheCommands)
{
    MIROVAN_IDENTITY identity{};
    identity.nSize = sizeof identity;
    EXPECT_SUCCEEDS(Mirovan_System_GetIdentity(&identity));
    EXPECT_EQ(identity.nKnown, 0x7FFU);
    const struct
    {
        std::string found;
        const char* command;
    } cases[] = {
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
    test::in_child(
        [&]
        {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(sched_getcpu(), &one);
            test::require(sched_setaffinity(0, sizeof one, &one) == 0);
            EXPECT_SUCCEEDS(Mirovan_System_GetIdentity(&identity));
            EXPECT_EQ(identity.nProcessorsUsable, 1U);
            EXPECT_EQ(std::to_string(identity.nProcessorsOnline) + "\n",
                      shell_output("getconf _NPROCESSORS_ONLN"));
        });
}

/// What records with a size promise: too small a size is rejected, and a larger one than the
/// library knows has zeros behind the known fields.
template <class Record>
void expect_sized(bool (*get)(Record*))
{
    struct
    {
        Record record;
        unsigned char later[16];
        unsigned char behind;
    } room;
    EXPECT_FAILS(get(nullptr), ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    for (const std::size_t size : {std::size_t{0}, sizeof(Record) - 1})
    {
        std::memset(&room, 0x5A, sizeof room);
        room.record.nSize = static_cast<uint32_t>(size);
        EXPECT_FAILS(get(&room.record), ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
        EXPECT_EQ(room.record.nKnown, 0x5A5A5A5AU);
    }
    room.record.nSize = sizeof room.record + sizeof room.later;
    EXPECT_SUCCEEDS(get(&room.record));
    EXPECT_EQ(room.record.nSize, sizeof room.record + sizeof room.later);
    EXPECT_NE(room.record.nKnown, 0x5A5A5A5AU);
    EXPECT_EQ(std::count(room.later, room.later + sizeof room.later, 0), 16);
    EXPECT_EQ(room.behind, 0x5A);
}

TEST(SystemRecords, KeepToTheSizeThatTheCallerSets)
{
    expect_sized(Mirovan_System_GetMemoryRecord);
    expect_sized(Mirovan_System_GetIdentity);
}

TEST(SystemLoad, IsTheSumOfTheProcessListCutOff)
{
    const test::Commands commands;
    const struct
    {
        const char* script;
        int expected;
    } cases[] = {{"printf '99.9\\n 138.0\\n0.0\\n'", 237},
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

TEST(SystemLoad, OfThisMachine)
{
    int load = -1;
    EXPECT_SUCCEEDS(Mirovan_System_GetCpuUsage(&load));
    EXPECT_GE(load, 0);
    test::as_ordinary_user(
        []
        {
            const rlimit none = {0, 0};
            ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
            int untouched = 77;
            EXPECT_FAILS(Mirovan_System_GetCpuUsage(&untouched), ERROR_MIROVAN_PROCESS_ACCESS);
            EXPECT_EQ(untouched, 77);
        });
}

std::time_t seconds_of(const TARVELO_LIBTIME& calendar)
{
    std::tm local{};
    local.tm_year = calendar.nYear - 1900;
    local.tm_mon = calendar.nMonth - 1;
    local.tm_mday = calendar.nDay;
    local.tm_hour = calendar.nHour;
    local.tm_min = calendar.nMinute;
    local.tm_sec = calendar.nSecond;
    local.tm_isdst = -1;
    return std::mktime(&local);
}

TEST(SystemUptime, IsTheStartOfTheSystemInAnyTimeZone)
{
    const double uptime = std::stod(test::read_file("/proc/uptime"));
    const auto expected = static_cast<double>(std::time(nullptr)) - std::floor(uptime);
    for (const char* zone : {"UTC", "Asia/Kathmandu", "America/New_York", "<+1245>-12:45"})
    {
        const Environment set{"TZ", zone};
        TARVELO_LIBTIME first{};
        TARVELO_LIBTIME second{};
        EXPECT_SUCCEEDS(Mirovan_System_GetUpTime(&first));
        EXPECT_SUCCEEDS(Mirovan_System_GetUpTime(&second));
        tzset();
        EXPECT_NEAR(static_cast<double>(seconds_of(first)), expected, 2) << zone;
        EXPECT_LE(std::abs(seconds_of(first) - seconds_of(second)), 1);
    }
    tzset();
}

TEST(SystemProcessors, AgreeWithGetconf)
{
    int count = 0;
    EXPECT_SUCCEEDS(Mirovan_System_GetProcessCount(&count));
    EXPECT_EQ(std::to_string(count) + "\n", shell_output("getconf _NPROCESSORS_ONLN"));
}

TEST(SystemProcessors, IdleAgreesWithTheCounters)
{
    const auto read = []
    {
        return std::stoull(
            shell_output("awk '/^cpu[0-9]/ {idle += $5 + $6; all += $2+$3+$4+$5+$6+$7+$8+$9}"
                         " END {print int(100 * idle / all)}' /proc/stat"));
    };
    EXPECT_TRUE(between_readings(read,
                                 []
                                 {
                                     unsigned long idle = 777;
                                     EXPECT_SUCCEEDS(Mirovan_System_GetSysIdleTime(idle));
                                     return uint64_t{idle};
                                 }));
}

TEST(SystemProcessors, TimesAgreeWithTheCounters)
{
    using Times = MIROVAN_PROCESSOR_TIMES;
    const auto get = []
    {
        std::vector<Times> list;
        const auto append = [](const Times* times, void* to)
        {
            static_cast<std::vector<Times>*>(to)->push_back(*times);
            return true;
        };
        EXPECT_SUCCEEDS(Mirovan_System_GetProcessorTimes(append, &list));
        return list;
    };
    const std::vector<Times> list = get();
    ASSERT_EQ(std::to_string(list.size() - 1) + "\n",
              shell_output("grep -c '^cpu[0-9]' /proc/stat"));
    Times sum{};
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        EXPECT_EQ(list[i].nSize, sizeof(Times));
        EXPECT_EQ(list[i].nKnown, 0xFU);
        EXPECT_EQ(list[i].nProcessor, static_cast<int>(i) - 1);
        for (uint64_t Times::*field :
             {&Times::nUser, &Times::nNice, &Times::nSystem, &Times::nIdle})
            sum.*field += i == 0 ? 0 : list[i].*field;
    }
    const struct
    {
        uint64_t Times::*field;
        const char* columns;
    } cases[] = {{&Times::nUser, "$2"},
                 {&Times::nNice, "$3"},
                 {&Times::nSystem, "$4 + $7 + $8 + $9"},
                 {&Times::nIdle, "$5 + $6"}};
    const std::string tick = shell_output("getconf CLK_TCK");
    for (const auto& [field, columns] : cases)
    {
        EXPECT_EQ(list[0].*field, sum.*field) << columns;
        EXPECT_TRUE(between_readings(
            [&, columns = columns]
            {
                return std::stoull(shell_output(
                    "awk '/^cpu[0-9]/ {last = (" + std::string{columns} + ") * 1e9 / " +
                    tick.substr(0, tick.size() - 1) + "} END {printf \"%.0f\", last}' /proc/stat"));
            },
            [&, field = field] { return get().back().*field; }))
            << columns;
    }
    int calls = 0;
    const auto stop = [](const Times* /*times*/, void* count)
    { return ++*static_cast<int*>(count), false; };
    EXPECT_SUCCEEDS(Mirovan_System_GetProcessorTimes(stop, &calls));
    EXPECT_EQ(calls, 1);
    EXPECT_FAILS(Mirovan_System_GetProcessorTimes(nullptr, &calls), ERROR_MIROVAN_SYSTEM_PARAMETER,
                 EINVAL);
}

TEST(SystemProcesses, TheTableHasNoRows)
{
    MIROVAN_PROCESS_INFO* something = nullptr;
    MIROVAN_PROCESS_INFO** table = &something;
    int count = 7;
    EXPECT_SUCCEEDS(Mirovan_System_GetProcessList(&table, &count));
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_TRUE(Fundix_Memory_Free(reinterpret_cast<void***>(&table), count));
}

} // namespace
