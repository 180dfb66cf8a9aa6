#include "tests/support/support.h"

#include <climits>
#include <cmath>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/sysinfo.h>
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

TEST(SystemMemory, AgreesWithTheKernelInEveryUnit)
{
    struct sysinfo info = {};
    ASSERT_EQ(sysinfo(&info), 0);
    const uint64_t total = uint64_t{info.totalram} * info.mem_unit;
    const struct
    {
        int unit;
        unsigned shift;
    } cases[] = {{1, 0}, {2, 10}, {3, 20}, {4, 30}, {0, 0}, {5, 0}, {7, 0}, {-2, 0}};
    for (const auto& [unit, shift] : cases)
    {
        tag_Mirovan_Memory_Infomation memory{};
        memory.nReserved1 = memory.nReserved2 = memory.nReserved3 = memory.nReserved4 =
            memory.nReserved5 = (uint64_t{5} << 30U) + 4096;
        const uint64_t reserved = memory.nReserved3;
        EXPECT_SUCCEEDS(Mirovan_System_GetMemoryUsage(&memory, unit));
        const uint64_t free_bytes =
            std::stoull(shell_output("awk '/^MemFree:/ {print $2}' /proc/meminfo")) * 1024;
        EXPECT_EQ(memory.nTotalMemory, total >> shift) << unit;
        const auto tolerance = static_cast<double>((uint64_t{512} << 20U) >> shift) + 1;
        EXPECT_NEAR(static_cast<double>(memory.nFreeMemory),
                    static_cast<double>(free_bytes >> shift), tolerance);
        EXPECT_NEAR(
            memory.nFreePercent,
            std::floor(100.0 * static_cast<double>(free_bytes) / static_cast<double>(total)), 3);
        EXPECT_EQ(memory.nReserved3, reserved);
        for (const uint64_t field :
             {memory.nReserved1, memory.nReserved2, memory.nReserved4, memory.nReserved5})
            EXPECT_EQ(field, reserved >> shift) << unit;
    }
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

TEST(SystemProcessors, IdleShareAgreesWithTheCounters)
{
    unsigned long idle = 777;
    EXPECT_SUCCEEDS(Mirovan_System_GetSysIdleTime(idle));
    const double expected = std::stod(shell_output(
        "awk '/^cpu / {print 100 * ($5 + $6) / ($2+$3+$4+$5+$6+$7+$8+$9)}' /proc/stat"));
    EXPECT_NEAR(static_cast<double>(idle), expected, 2);
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
