#include "tests/support/child.h"
#include "tests/support/readings.h"
#include "tests/support/support.h"

#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <iterator>
#include <linux/sched.h>
#include <map>
#include <memory>
#include <sched.h>
#include <semaphore>
#include <spawn.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

using test::Child;
using test::require;

constexpr int no_such_process = INT_MAX;

/// What ps says of a process, by the names of its columns.
std::string ps(const std::string& column, int pid)
{
    std::string text =
        test::shell_output("LC_ALL=C ps -ww -o " + column + "= -p " + std::to_string(pid));
    text.erase(text.find_last_not_of(" \n") + 1);
    return text.erase(0, text.find_first_not_of(' '));
}

tag_Mirovan_Process_Infomation info(int pid)
{
    tag_Mirovan_Process_Infomation record{};
    EXPECT_SUCCEEDS(Mirovan_Process_GetProcessInfo(&record, nullptr, pid));
    EXPECT_EQ(record.nProcessId, pid);
    return record;
}

TEST(ProcessInfo, AgreesWithPs)
{
    const Child child{{"threads=7", "touch=64"}};
    const auto record = info(child.pid());
    EXPECT_EQ(record.nThreadCount, 7);
    EXPECT_STREQ(record.tszProcessName, "test_child");
    EXPECT_EQ(record.tszUserName, ps("user:40", child.pid()));
    EXPECT_EQ(record.nState, 3);
    EXPECT_EQ(record.nVirtualSize, std::stoull(ps("vsz", child.pid())) * 1024 / 4 % (1ULL << 32U));
    EXPECT_NEAR(record.nResidentSize, std::stod(ps("rss", child.pid())) * 1024 / 4, 1 << 18);
    EXPECT_GE(record.nResidentSize, (64U << 20U) / 4);
    EXPECT_EQ(record.nPageIns, std::stoi(ps("maj_flt", child.pid())) / 4);
}

/// What /proc says of a process; times in ticks.
struct Counters
{
    double major_faults;
    double used;
    double age;
};

Counters counters(pid_t pid)
{
    const std::string stat = test::read_file("/proc/" + std::to_string(pid) + "/stat");
    const double uptime = std::stod(test::read_file("/proc/uptime"));
    // Behind the name and the state; the first is the fourth field.
    std::istringstream fields{stat.substr(stat.rfind(')') + 4)};
    const std::vector<double> values{std::istream_iterator<double>{fields}, {}};
    const auto field = [&](std::size_t number) { return values.at(number - 4); };
    return {field(12), field(14) + field(15),
            uptime * static_cast<double>(sysconf(_SC_CLK_TCK)) - field(22)};
}

TEST(ProcessInfo, PageInsAreAQuarterOfTheMajorFaults)
{
    constexpr std::size_t size = 64 * 4096;
    const test::Scratch scratch;
    const int file = open(scratch.file("pages", std::string(size, 'x')).c_str(), O_RDONLY);
    fsync(file);
    posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
    void* const pages = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    madvise(pages, size, MADV_RANDOM);
    for (std::size_t at = 0; at < size; at += 4096)
        EXPECT_EQ(static_cast<const volatile char*>(pages)[at], 'x');
    munmap(pages, size);
    close(file);
    const Counters before = counters(getpid());
    const auto record = info(getpid());
    const Counters after = counters(getpid());
    if (before.major_faults < 8)
        GTEST_SKIP() << "the folder for tests is in memory";
    EXPECT_GE(record.nPageIns, static_cast<int>(before.major_faults) / 4);
    EXPECT_LE(record.nPageIns, static_cast<int>(after.major_faults) / 4);
}

TEST(ProcessInfo, OfEveryProcess)
{
    for (const auto& entry : std::filesystem::directory_iterator{"/proc"})
    {
        const int pid = std::atoi(entry.path().filename().c_str());
        tag_Mirovan_Process_Infomation record{};
        if (pid == 0)
            continue;
        if (Mirovan_Process_GetProcessInfo(&record, nullptr, pid))
            EXPECT_GE(record.nThreadCount, 1);
        else
            EXPECT_EQ(errno, ESRCH) << pid << " is gone, or there was another reason";
    }
}

TEST(ProcessInfo, NamesMayHoldAnything)
{
    for (const char* name : {"a b", "a) S 1 (b", ")", "((", "a\nState:\tR\nb", "", " ", "back\\n",
                             "n\xC3\xA4me", "fifteen letters"})
    {
        const Child child{{std::string{"name="} + name}};
        const auto record = info(child.pid());
        EXPECT_STREQ(record.tszProcessName, name);
        EXPECT_EQ(record.nState, 3) << name;
    }
}

TEST(ProcessInfo, ACallersNameIsCutAtACharacter)
{
    tag_Mirovan_Process_Infomation record{};
    EXPECT_SUCCEEDS(Mirovan_Process_GetProcessInfo(&record, "mine", getpid()));
    EXPECT_STREQ(record.tszProcessName, "mine");
    const std::string fits(1022, 'x');
    EXPECT_SUCCEEDS(Mirovan_Process_GetProcessInfo(&record, (fits + "\xC3\xA4").c_str(), getpid()));
    EXPECT_EQ(record.tszProcessName, fits);
}

TEST(ProcessInfo, States)
{
    const Child busy{{"busy"}};
    EXPECT_EQ(info(busy.pid()).nState, 0);
    const Child child{{"threads=2", "touch=1"}};
    child.signal(SIGSTOP);
    EXPECT_EQ(info(child.pid()).nState, 3);
    EXPECT_EQ(ps("state", child.pid()), "T");
    child.signal(SIGKILL);
    const auto zombie = info(child.pid());
    EXPECT_EQ(zombie.nState, 3);
    EXPECT_EQ(zombie.nVirtualSize + zombie.nResidentSize, 0U);
    EXPECT_EQ(zombie.tszUserName, ps("user:40", child.pid()));
}

TEST(ProcessInfo, FailuresWriteTheIdOnly)
{
    tag_Mirovan_Process_Infomation untouched;
    std::memset(&untouched, 0x5A, sizeof untouched);
    std::binary_semaphore ended{0};
    std::atomic<int> thread_id = 0;
    std::thread thread{[&]
                       {
                           thread_id = gettid();
                           thread_id.notify_one();
                           ended.acquire();
                       }};
    thread_id.wait(0);
    for (const int pid : {no_such_process, 0, -1, INT_MIN, thread_id.load()})
    {
        auto record = untouched;
        EXPECT_FAILS(Mirovan_Process_GetProcessInfo(&record, "name", pid),
                     ERROR_MIROVAN_PROCESS_INFO_FAILED, ESRCH);
        EXPECT_EQ(record.nProcessId, pid);
        record.nProcessId = untouched.nProcessId;
        EXPECT_EQ(std::memcmp(&record, &untouched, sizeof record), 0) << pid;
    }
    ended.release();
    thread.join();
    EXPECT_FAILS(Mirovan_Process_GetProcessInfo(nullptr, "name", getpid()),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
}

TEST(ProcessInfo, OfAUserWithoutAccount)
{
    test::in_child(
        []
        {
            const bool can_be_nobody_known = geteuid() == 0;
            tag_Mirovan_Process_Infomation record{};
            if (can_be_nobody_known)
            {
                ASSERT_EQ(seteuid(4'000'000'001U), 0);
                EXPECT_FAILS(Mirovan_Process_GetProcessInfo(&record, nullptr, getpid()),
                             ERROR_MIROVAN_PROCESS_INFO_FAILED, ENOENT);
                EXPECT_STREQ(record.tszUserName, "");
            }
            else
                EXPECT_SUCCEEDS(Mirovan_Process_GetProcessInfo(&record, nullptr, getpid()));
            EXPECT_GE(record.nThreadCount, 1);
        });
}

TEST(ProcessInfo, IsWholeOrNothingWhileAProcessEnds)
{
    const auto before = test::Held::now();
    char program[] = "/bin/true";
    char* arguments[] = {program, nullptr};
    for (int round = 0; round < 100; ++round)
    {
        int pid = 0;
        ASSERT_EQ(posix_spawn(&pid, program, nullptr, nullptr, arguments, nullptr), 0);
        std::thread reaper{[pid] { waitpid(pid, nullptr, 0); }};
        tag_Mirovan_Process_Infomation record{};
        while (Mirovan_Process_GetProcessInfo(&record, nullptr, pid))
        {
            EXPECT_EQ(record.nThreadCount, 1);
            EXPECT_STRNE(record.tszUserName, "");
            EXPECT_EQ(record.nVirtualSize == 0, record.nResidentSize == 0);
        }
        EXPECT_EQ(errno, ESRCH);
        reaper.join();
    }
    EXPECT_EQ(before, test::Held::now());
}

constexpr int reused_id = 300;
constexpr std::size_t much_memory = std::size_t{1} << 30U;

/// Starts processes of this id one after the other, for ever: in turn one of the name "small" and
/// one of the name "large", with much memory. Each takes both over from its parent, and so has them
/// from its first moment to its last.
void make_processes()
{
    pid_t id = reused_id;
    clone_args settings{};
    settings.exit_signal = SIGCHLD;
    settings.set_tid = reinterpret_cast<std::uintptr_t>(&id);
    settings.set_tid_size = 1;
    void* memory = nullptr;
    for (bool large = false;; large = !large)
    {
        require(prctl(PR_SET_NAME, large ? "large" : "small") == 0);
        if (large)
            memory = mmap(nullptr, much_memory, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        const long child = syscall(SYS_clone3, &settings, sizeof settings);
        if (child == 0)
            _exit(0);
        require(child == id && memory != MAP_FAILED && waitpid(id, nullptr, 0) == id);
        if (large)
            munmap(memory, much_memory);
    }
}

TEST(ProcessInfo, IsOfOneProcessWhenAnIdIsGivenAnew)
{
    const auto read_while_ids_are_given_anew = []
    {
        // Processes that are left end with this first one of their namespace.
        require(mount("proc", "/proc", "proc", 0, nullptr) == 0);
        if (fork() == 0)
            make_processes();
        const auto usual_size = info(getpid()).nVirtualSize;
        std::map<std::string, int> records;
        while (records["small"] < 5000 || records["large"] < 5000)
        {
            ASSERT_EQ(waitpid(-1, nullptr, WNOHANG), 0) << "nothing makes processes any more";
            tag_Mirovan_Process_Infomation record{};
            if (!Mirovan_Process_GetProcessInfo(&record, nullptr, reused_id))
                continue;
            const std::string name = record.tszProcessName;
            ++records[name];
            // Both have none once they ended. In units of four bytes, of which 32 bits are kept.
            const auto more = static_cast<std::int32_t>(record.nVirtualSize - usual_size);
            if (record.nVirtualSize != 0)
            {
                ASSERT_EQ(more >= static_cast<std::int32_t>(much_memory / 8), name == "large");
            }
        }
    };
    test::in_child(
        [&]
        {
            test::enter_namespaces(CLONE_NEWPID);
            test::in_child(read_while_ids_are_given_anew);
        });
}

TEST(ProcessStart, AgreesWithPsInEveryTimeZone)
{
    for (const char* zone : {"UTC", "Asia/Kathmandu", "America/St_Johns", "XXX-23:59:59"})
    {
        const test::Environment environment{"TZ", zone};
        for (const int pid : {getpid(), 1, 0})
        {
            TARVELO_LIBTIME start{};
            EXPECT_SUCCEEDS(Mirovan_Process_GetUpTime(&start, pid));
            std::tm expected{};
            const auto text = ps("lstart", pid == 0 ? getpid() : pid);
            ASSERT_NE(strptime(text.c_str(), "%a %b %d %H:%M:%S %Y", &expected), nullptr) << text;
            EXPECT_EQ(start.nYear, expected.tm_year + 1900) << text;
            EXPECT_EQ(start.nMonth, expected.tm_mon + 1) << text;
            EXPECT_EQ(start.nDay, expected.tm_mday) << text;
            EXPECT_EQ(start.nHour, expected.tm_hour) << text;
            EXPECT_EQ(start.nMinute, expected.tm_min) << text;
            EXPECT_EQ(start.nSecond, expected.tm_sec) << text;
        }
    }
    TARVELO_LIBTIME start{};
    EXPECT_FAILS(Mirovan_Process_GetUpTime(nullptr, 0), ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_Process_GetUpTime(&start, no_such_process), ERROR_MIROVAN_PROCESS_ACCESS,
                 ESRCH);
}

constexpr uint32_t every_field = 1023;

MIROVAN_PROCESS_RECORD record_of(int pid)
{
    auto record = test::sized<MIROVAN_PROCESS_RECORD>();
    EXPECT_SUCCEEDS(Mirovan_Process_GetRecord(pid, &record));
    return record;
}

using Numbers = std::vector<long long>;

/// What ps says of a process, and /proc of the part of a second in which it started.
Numbers numbers_by_ps(int pid)
{
    const std::string id = std::to_string(pid);
    std::istringstream text{test::shell_output(
        "LC_ALL=C; export LC_ALL; p=" + id +
        "; ps -o ppid=,euid=,nice=,nlwp=,vsz=,rss=,times=,min_flt=,maj_flt= -p $p; "
        "printf '%d ' \"'$(ps -o state= -p $p)\"; date -d \"$(ps -o lstart= -p $p)\" +%s")};
    Numbers numbers{std::istream_iterator<long long>{text}, {}};
    numbers.at(7) += numbers.at(8);
    const std::string stat = test::read_file("/proc/" + id + "/stat");
    std::istringstream fields{stat.substr(stat.rfind(')') + 4)};
    const Numbers values{std::istream_iterator<long long>{fields}, {}};
    const long rate = sysconf(_SC_CLK_TCK);
    numbers.at(8) = values.at(22 - 4) % rate * (1'000'000'000 / rate);
    return numbers;
}

Numbers numbers_of_record(int pid)
{
    const auto record = record_of(pid);
    EXPECT_EQ(record.nKnown, every_field) << pid;
    EXPECT_EQ(record.nProcessId, pid);
    constexpr long long second = 1'000'000'000;
    return {record.nParentId,
            record.nUserId,
            record.nNice,
            record.nThreadCount,
            static_cast<long long>(record.nVirtualSize / 1024),
            static_cast<long long>(record.nResidentSize / 1024),
            static_cast<long long>(record.nUserTime + record.nSystemTime) / second,
            static_cast<long long>(record.nPageFaults),
            record.nStartTime % second,
            pid == getpid() && record.cState == 'R' ? 'S' : record.cState, // ps sees it wait
            record.nStartTime / second};
}

TEST(ProcessRecord, AgreesWithPs)
{
    const Child idle{{"threads=7", "touch=64", "name=a) b\n("}};
    const Child busy{{"busy"}};
    const Child stopped{{}};
    stopped.signal(SIGSTOP);
    const Child zombie{{}};
    zombie.signal(SIGKILL);
    // Some of them live a life of their own, and ps takes its time.
    for (const int pid : {idle.pid(), busy.pid(), stopped.pid(), zombie.pid(), getpid(), 1, 2})
        EXPECT_TRUE(test::between_readings([=] { return numbers_by_ps(pid); },
                                           [=] { return numbers_of_record(pid); }))
            << pid;
    EXPECT_STREQ(record_of(idle.pid()).tszName, "a) b\n(");
    EXPECT_EQ(record_of(0).nProcessId, getpid());
}

TEST(ProcessRecord, OfOlderAndNewerCallersAndOfNoProcess)
{
    auto record = test::sized<MIROVAN_PROCESS_RECORD>();
    for (const int pid : {no_such_process, -1})
        EXPECT_FAILS(Mirovan_Process_GetRecord(pid, &record), ERROR_MIROVAN_PROCESS_RECORD_FAILED,
                     ESRCH);
    EXPECT_EQ(record.nKnown, 0U);
    EXPECT_FAILS(Mirovan_Process_GetRecord(0, nullptr), ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    struct
    {
        MIROVAN_PROCESS_RECORD record;
        char later[8];
    } newer = {{}, "later"};
    for (const uint32_t size : {0U, uint32_t{sizeof record - 1}, uint32_t{sizeof newer}})
    {
        newer.record.nSize = size;
        if (size > sizeof record)
            EXPECT_SUCCEEDS(Mirovan_Process_GetRecord(0, &newer.record));
        else
            EXPECT_FAILS(Mirovan_Process_GetRecord(0, &newer.record),
                         ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
        EXPECT_EQ(newer.record.nSize, size);
    }
    EXPECT_STREQ(newer.later, "") << "fields that this library does not know";
}

TEST(ProcessList, HasEveryProcessAndEndsWhenAsked)
{
    using Ids = std::set<int>;
    const auto list = []
    {
        const auto take = [](const MIROVAN_PROCESS_RECORD* record, void* ids)
        {
            EXPECT_EQ(record->nSize, sizeof *record);
            EXPECT_EQ(record->nKnown, every_field) << record->nProcessId;
            EXPECT_TRUE(static_cast<Ids*>(ids)->insert(record->nProcessId).second);
            EXPECT_FALSE(Mirovan_Process_GetPath(nullptr, 0)); // which must not be seen afterwards
            return true;
        };
        Ids ids;
        EXPECT_SUCCEEDS(Mirovan_Process_List(take, &ids));
        return ids;
    };
    std::vector<std::unique_ptr<Child>> children;
    for (int count = 0; count < 20; ++count)
        children.push_back(std::make_unique<Child>(std::vector<std::string>{}));
    const auto held = test::Held::now();
    for (const bool ordinary : {false, true})
    {
        const auto check = [&]
        {
            Ids expected;
            for (const auto& entry : std::filesystem::directory_iterator{"/proc"})
                if (const int pid = std::atoi(entry.path().filename().c_str()); pid != 0)
                    expected.insert(pid);
            const Ids found = list();
            for (const auto& child : children)
                EXPECT_TRUE(found.contains(child->pid()));
            EXPECT_TRUE(found.contains(1));
            for (const int pid : expected)
                if (!found.contains(pid) && kill(pid, 0) == 0)
                    ADD_FAILURE() << pid << " is missing";
        };
        ordinary ? test::as_ordinary_user(check) : check();
    }
    EXPECT_EQ(test::Held::now(), held);
    int calls = 0;
    const auto stop = [](const MIROVAN_PROCESS_RECORD*, void* count)
    { return ++*static_cast<int*>(count) < 3; };
    EXPECT_SUCCEEDS(Mirovan_Process_List(stop, &calls));
    EXPECT_EQ(calls, 3);
    EXPECT_FAILS(Mirovan_Process_List(nullptr, nullptr), ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
}

TEST(ProcessUsage, AgreesWithPs)
{
    const Child busy{{"busy"}};
    const Child idle{{}};
    std::this_thread::sleep_for(std::chrono::milliseconds{500});
    int usage = -1;
    const Counters before = counters(busy.pid());
    EXPECT_SUCCEEDS(Mirovan_Process_GetProcessCpuUsage(&usage, busy.pid()));
    const Counters after = counters(busy.pid());
    EXPECT_GE(usage, static_cast<int>(1000 * before.used / (after.age + 1)) - 1);
    EXPECT_LE(usage, static_cast<int>(1000 * after.used / (before.age - 1)) + 1);
    EXPECT_GT(usage, 0);
    int idle_usage = -1;
    EXPECT_SUCCEEDS(Mirovan_Process_GetProcessCpuUsage(&idle_usage, idle.pid()));
    EXPECT_LT(idle_usage, usage);
    EXPECT_SUCCEEDS(Mirovan_Process_GetProcessCpuUsage(&usage, 0));
    EXPECT_FAILS(Mirovan_Process_GetProcessCpuUsage(&usage, no_such_process),
                 ERROR_MIROVAN_PROCESS_ACCESS, ESRCH);
    EXPECT_FAILS(Mirovan_Process_GetProcessCpuUsage(nullptr, 0), ERROR_MIROVAN_PROCESS_PARAMETER,
                 EINVAL);
}

TEST(ProcessPath, IsThatOfTheProgram)
{
    const test::Scratch scratch;
    char path[MIROVAN_PATH_SIZE] = "";
    EXPECT_SUCCEEDS(Mirovan_Process_GetPath(path, 0));
    EXPECT_EQ(path, std::filesystem::read_symlink("/proc/self/exe").string());

    // Also of a program that was deleted, or whose name looks as if it were.
    for (const char* name : {"gone", "kept (deleted)"})
    {
        std::filesystem::copy_file(test::child_program(), scratch / name);
        const Child child{{}, scratch / name};
        if (std::strcmp(name, "gone") == 0)
            std::filesystem::remove(scratch / name);
        EXPECT_SUCCEEDS(Mirovan_Process_GetPath(path, child.pid()));
        EXPECT_EQ(path, scratch / name);
    }
}

TEST(ProcessPath, IsRefusedWhenItCannotBeToldWhole)
{
    const test::Scratch scratch;
    const std::string room(MIROVAN_PATH_SIZE - 1, '#');
    char path[MIROVAN_PATH_SIZE];
    std::strcpy(path, room.c_str());
    std::string deep = scratch.path();
    while (deep.size() < 1024)
        std::filesystem::create_directory(deep += "/" + std::string(100, 'd'));
    std::filesystem::copy_file(test::child_program(), deep + "/test_child");
    const Child child{{}, deep + "/test_child"};
    EXPECT_FAILS(Mirovan_Process_GetPath(path, child.pid()), ERROR_MIROVAN_PROCESS_GET_FAILED,
                 ENAMETOOLONG);
    EXPECT_FAILS(Mirovan_Process_GetPath(path, no_such_process), ERROR_MIROVAN_PROCESS_GET_FAILED,
                 ENOENT);
    test::as_ordinary_user(
        [&] {
            EXPECT_FAILS(Mirovan_Process_GetPath(path, 1), ERROR_MIROVAN_PROCESS_GET_FAILED,
                         EACCES);
        });
    EXPECT_EQ(path, room);
    EXPECT_FAILS(Mirovan_Process_GetPath(nullptr, 0), ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
}

TEST(ProcessAdmin, AnswersAndClearsTheFlag)
{
    EXPECT_FALSE(Mirovan_Process_GetPath(nullptr, 0));
    EXPECT_EQ(Mirovan_Process_IsAdmin(), geteuid() == 0);
    EXPECT_FALSE(Mirovan_IsErrorOccur);
    test::as_ordinary_user([] { EXPECT_FALSE(Mirovan_Process_IsAdmin()); });
}

TEST(ProcessPriority, IsSetForTheWholeProcess)
{
    const Child child{{"threads=3"}};
    for (const int pid : {0, child.pid()})
        test::in_child(
            [pid]
            {
                int priority = 99;
                EXPECT_SUCCEEDS(Mirovan_Process_SetPriority(5, pid));
                EXPECT_SUCCEEDS(Mirovan_Process_GetPriority(&priority, pid));
                EXPECT_EQ(priority, 5);
                EXPECT_SUCCEEDS(Mirovan_Process_SetPriority(20, pid));
                EXPECT_SUCCEEDS(Mirovan_Process_GetPriority(&priority, pid));
                EXPECT_EQ(priority, getpriority(PRIO_PROCESS, static_cast<id_t>(pid)));
                for (const int refused : {-21, 21, INT_MIN, INT_MAX})
                    EXPECT_FAILS(Mirovan_Process_SetPriority(refused, pid),
                                 ERROR_MIROVAN_PROCESS_SETPRIORITY_RANGE, EINVAL);
                if (geteuid() != 0)
                    return;
                EXPECT_SUCCEEDS(Mirovan_Process_SetPriority(-1, pid));
                EXPECT_SUCCEEDS(Mirovan_Process_GetPriority(&priority, pid));
                EXPECT_EQ(priority, -1);
            });
    const int reached = getpriority(PRIO_PROCESS, static_cast<id_t>(child.pid()));
    for (const auto& task :
         std::filesystem::directory_iterator{"/proc/" + std::to_string(child.pid()) + "/task"})
        EXPECT_EQ(getpriority(PRIO_PROCESS,
                              static_cast<id_t>(std::stoi(task.path().filename().string()))),
                  reached);
}

TEST(ProcessPriority, Failures)
{
    int priority = 99;
    EXPECT_FAILS(Mirovan_Process_GetPriority(&priority, no_such_process),
                 ERROR_MIROVAN_PROCESS_GETPRIORITY_FAILED, ESRCH);
    EXPECT_EQ(priority, 99);
    EXPECT_FAILS(Mirovan_Process_GetPriority(nullptr, 0), ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_Process_SetPriority(0, no_such_process),
                 ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED, ESRCH);
    test::as_ordinary_user(
        []
        {
            EXPECT_FAILS(Mirovan_Process_SetPriority(-20, 0),
                         ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED, EACCES);
            EXPECT_FAILS(Mirovan_Process_SetPriority(1, 1),
                         ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED, EPERM);
        });
}

unsigned long tag_of(pthread_t thread)
{
    unsigned long tag = 12345;
    EXPECT_TRUE(Mirovan_Process_GetProcessForCpu(thread, &tag));
    return tag;
}

TEST(ProcessAffinity, BelongsToAThreadAndIsReadFromAny)
{
    for (const unsigned long tag : {7UL, 0xFFFF'FFFF'8000'0000UL, ~0UL, 0UL})
    {
        EXPECT_TRUE(Mirovan_Process_SetProcessForCpu(pthread_self(), tag));
        EXPECT_EQ(tag_of(pthread_self()), tag);
    }
    EXPECT_TRUE(Mirovan_Process_SetProcessForCpu(pthread_self(), 0x1234'0000'0009));
    const pthread_t first = pthread_self();
    for (int round = 0; round < 20; ++round)
        std::thread{[&]
                    {
                        EXPECT_EQ(tag_of(pthread_self()), 0U);
                        EXPECT_EQ(tag_of(first), 9U);
                        EXPECT_TRUE(Mirovan_Process_SetProcessForCpu(pthread_self(), 5));
                        EXPECT_TRUE(Mirovan_Process_SetProcessForCpu(first, 9));
                    }}
            .join();
    std::vector<std::thread> rivals;
    for (unsigned long tag = 1; tag <= 8; ++tag)
        rivals.emplace_back(
            [=]
            {
                EXPECT_TRUE(Mirovan_Process_SetProcessForCpu(pthread_self(), tag));
                EXPECT_TRUE(Mirovan_Process_SetProcessForCpu(first, tag));
                EXPECT_EQ(tag_of(pthread_self()), tag);
            });
    for (auto& rival : rivals)
        rival.join();
    EXPECT_LE(tag_of(first), 8U);
    EXPECT_TRUE(Mirovan_Process_SetProcessForCpu(first, 0));
}

TEST(ProcessAffinity, OfNoThreadIsRefused)
{
    pthread_t ended{};
    ASSERT_EQ(pthread_create(
                  &ended, nullptr, [](void*) -> void* { return nullptr; }, nullptr),
              0);
    unsigned long tag = 77;
    while (Mirovan_Process_GetProcessForCpu(ended, &tag))
        std::this_thread::yield();
    tag = 77;
    long memory[512] = {};
    for (const pthread_t handle :
         {ended, pthread_t{0}, pthread_t{4096}, reinterpret_cast<pthread_t>(memory)})
    {
        EXPECT_FAILS(Mirovan_Process_GetProcessForCpu(handle, &tag),
                     ERROR_MIROVAN_PROCESS_GET_FAILED, EINVAL);
        EXPECT_FAILS(Mirovan_Process_SetProcessForCpu(handle, 1),
                     ERROR_MIROVAN_PROCESS_SETCPU_FAILED, EINVAL);
    }
    EXPECT_EQ(tag, 77U);
    pthread_join(ended, nullptr);
    EXPECT_FAILS(Mirovan_Process_GetProcessForCpu(pthread_self(), nullptr),
                 ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
}

} // namespace
