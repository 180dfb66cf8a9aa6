#include "tests/support/child.h"
#include "tests/support/readings.h"
#include "tests/support/support.h"

#include <climits>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <iterator>
#include <linux/sched.h>
#include <memory>
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
using Numbers = std::vector<long long>;

constexpr int no_such_process = INT_MAX;
constexpr long long second = 1'000'000'000;
constexpr uint32_t every_field = 1023;

tag_Mirovan_Process_Infomation info(int pid)
{
    tag_Mirovan_Process_Infomation record{};
    EXPECT_SUCCEEDS(Mirovan_Process_GetProcessInfo(&record, nullptr, pid));
    EXPECT_EQ(record.nProcessId, pid);
    return record;
}

MIROVAN_PROCESS_RECORD record_of(int pid)
{
    auto record = test::sized<MIROVAN_PROCESS_RECORD>();
    EXPECT_SUCCEEDS(Mirovan_Process_GetRecord(pid, &record));
    EXPECT_EQ(record.nKnown, every_field) << pid;
    return record;
}

std::string user_by_ps(int pid)
{
    return test::shell_output("ps -o user:40= -p " + std::to_string(pid) + " | tr -d ' \\n'");
}

/// The numbers of /proc/PID/stat, from the fourth on.
struct Stat
{
    explicit Stat(int pid)
    {
        const std::string text = test::read_file("/proc/" + std::to_string(pid) + "/stat");
        std::istringstream fields{text.substr(text.rfind(')') + 4)};
        numbers = {std::istream_iterator<long long>{fields}, {}};
    }
    long long operator[](std::size_t number) const { return numbers.at(number - 4); }

    std::vector<long long> numbers;
};

/// What ps says of a process, and /proc of what ps rounds.
struct Ps
{
    long long parent, user, nice, threads, size, resident, minor_faults, major_faults;
    char state;
    long long start, start_part, used;

    explicit Ps(int pid)
    {
        std::istringstream text{test::shell_output(
            "LC_ALL=C ps -o ppid=,euid=,nice=,nlwp=,vsz=,rss=,min_flt=,maj_flt=,state=,lstart= -p" +
            std::to_string(pid))};
        text >> parent >> user >> nice >> threads >> size >> resident >> minor_faults >>
            major_faults >> state;
        std::string date;
        std::getline(text >> std::ws, date);
        std::tm local{};
        strptime(date.c_str(), "%a %b %d %H:%M:%S %Y", &local);
        local.tm_isdst = -1;
        start = std::mktime(&local);
        const Stat stat{pid};
        const long tick = second / sysconf(_SC_CLK_TCK);
        start_part = stat[22] * tick % second;
        used = (stat[14] + stat[15]) * tick;
    }
};

/// So that there are some: a quarter of one would be none.
void cause_major_faults()
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
}

TEST(ProcessInfo, AgreesWithPs)
{
    cause_major_faults();
    const Child idle{{"threads=7", "touch=64"}};
    const Child busy{{"busy"}};
    const Child stopped{{"threads=2"}};
    stopped.signal(SIGSTOP);
    const Child zombie{{"touch=1"}};
    zombie.signal(SIGKILL);
    for (const int pid : {idle.pid(), busy.pid(), stopped.pid(), zombie.pid(), getpid()})
    {
        const bool runs = pid == busy.pid() || pid == getpid();
        const bool is_alive = pid != zombie.pid(); // else macOS reports no threads
        const auto read = [=]
        {
            const Ps ps{pid};
            return Numbers{runs ? 0 : 3, is_alive ? ps.threads : 0, ps.size * 256 % (1LL << 32U),
                           ps.resident * 256, ps.major_faults / 4};
        };
        const auto answer = [=]
        {
            const auto record = info(pid);
            return Numbers{record.nState, is_alive ? record.nThreadCount : 0, record.nVirtualSize,
                           record.nResidentSize, record.nPageIns};
        };
        EXPECT_TRUE(test::between_readings(read, answer)) << pid;
        EXPECT_EQ(info(pid).tszUserName, user_by_ps(pid));
    }
    EXPECT_EQ(info(idle.pid()).nThreadCount, 7);
    EXPECT_GE(info(idle.pid()).nResidentSize, (64U << 20U) / 4);
    EXPECT_EQ(info(zombie.pid()).nVirtualSize, 0U);
}

TEST(ProcessRecord, AgreesWithPs)
{
    const Child idle{{"threads=7", "touch=64", "name=a) b\n("}};
    const Child busy{{"busy"}};
    const Child stopped{{}};
    stopped.signal(SIGSTOP);
    require(setpriority(PRIO_PROCESS, static_cast<id_t>(stopped.pid()), 7) == 0);
    const Child zombie{{}};
    zombie.signal(SIGKILL);
    // Some of them live a life of their own, and ps takes its time.
    for (const int pid : {idle.pid(), busy.pid(), stopped.pid(), zombie.pid(), getpid(), 1, 2})
    {
        const auto read = [pid]
        {
            const Ps ps{pid};
            const char state = pid == getpid() ? 'R' : ps.state; // ps sees it wait
            return Numbers{pid,        ps.parent, ps.user,       ps.nice,
                           ps.threads, ps.size,   ps.resident,   ps.used,
                           state,      ps.start,  ps.start_part, ps.minor_faults + ps.major_faults};
        };
        const auto answer = [pid]
        {
            const auto record = record_of(pid);
            const auto number = [](uint64_t value) { return static_cast<long long>(value); };
            return Numbers{record.nProcessId,
                           record.nParentId,
                           record.nUserId,
                           record.nNice,
                           record.nThreadCount,
                           number(record.nVirtualSize / 1024),
                           number(record.nResidentSize / 1024),
                           number(record.nUserTime + record.nSystemTime),
                           record.cState,
                           record.nStartTime / second,
                           record.nStartTime % second,
                           number(record.nPageFaults)};
        };
        EXPECT_TRUE(test::between_readings(read, answer)) << pid;
    }
    EXPECT_STREQ(record_of(idle.pid()).tszName, "a) b\n(");
    EXPECT_EQ(record_of(0).nProcessId, getpid());
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
    // A caller's is cut at a character.
    tag_Mirovan_Process_Infomation record{};
    const std::string fits(1022, 'x');
    EXPECT_SUCCEEDS(Mirovan_Process_GetProcessInfo(&record, (fits + "\xC3\xA4").c_str(), getpid()));
    EXPECT_EQ(record.tszProcessName, fits);
}

TEST(ProcessInfo, OfAUserWithoutAccount)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs to become that user";
    test::in_child(
        []
        {
            ASSERT_EQ(seteuid(4'000'000'001U), 0);
            tag_Mirovan_Process_Infomation record{};
            EXPECT_FAILS(Mirovan_Process_GetProcessInfo(&record, nullptr, getpid()),
                         ERROR_MIROVAN_PROCESS_INFO_FAILED, ENOENT);
            EXPECT_STREQ(record.tszUserName, "");
            EXPECT_GE(record.nThreadCount, 1);
            EXPECT_EQ(record_of(getpid()).nUserId, 4'000'000'001U);
        });
}

TEST(ProcessFacts, OfNoProcess)
{
    const Child child{{"threads=2"}};
    int thread = 0;
    for (const auto& task :
         std::filesystem::directory_iterator{"/proc/" + std::to_string(child.pid()) + "/task"})
        thread = std::max(thread, std::stoi(task.path().filename()));
    union
    {
        unsigned char bytes[4096];
        int number;
        char path[MIROVAN_PATH_SIZE];
        TARVELO_LIBTIME start;
        tag_Mirovan_Process_Infomation info;
        MIROVAN_PROCESS_RECORD record;
    } out;
    std::memset(&out, 0x5A, sizeof out);
    out.record.nSize = sizeof out.record;
    const struct
    {
        uint64_t code;
        int reason;
        std::function<bool(int)> call;
    } cases[] = {{ERROR_MIROVAN_PROCESS_INFO_FAILED, ESRCH,
                  [&](int id) { return Mirovan_Process_GetProcessInfo(&out.info, "name", id); }},
                 {ERROR_MIROVAN_PROCESS_RECORD_FAILED, ESRCH,
                  [&](int id) { return Mirovan_Process_GetRecord(id, &out.record); }},
                 {ERROR_MIROVAN_PROCESS_ACCESS, ESRCH,
                  [&](int id) { return Mirovan_Process_GetUpTime(&out.start, id); }},
                 {ERROR_MIROVAN_PROCESS_ACCESS, ESRCH,
                  [&](int id) { return Mirovan_Process_GetProcessCpuUsage(&out.number, id); }},
                 {ERROR_MIROVAN_PROCESS_GET_FAILED, ENOENT,
                  [&](int id) { return Mirovan_Process_GetPath(out.path, id); }},
                 {ERROR_MIROVAN_PROCESS_GETPRIORITY_FAILED, ESRCH,
                  [&](int id) { return Mirovan_Process_GetPriority(&out.number, id); }},
                 {ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED, ESRCH,
                  [](int id) { return Mirovan_Process_SetPriority(0, id); }}};
    for (const int id : {no_such_process, thread, -1, INT_MIN, 0})
        for (const auto& [code, reason, call] : cases)
        {
            const bool is_info = &code == &cases[0].code;
            // The path and the priority of a thread are there, and 0 names the caller elsewhere.
            if (!is_info && (id == 0 || (id == thread && &code > &cases[3].code)))
                continue;
            auto expected = out;
            if (is_info)
                expected.info.nProcessId = id;
            EXPECT_FAILS(call(id), code, reason) << id;
            EXPECT_EQ(std::memcmp(&out, &expected, sizeof out), 0) << id;
            out.record.nSize = sizeof out.record;
        }
}

TEST(ProcessInfo, IsWholeOrNothingWhileAThreadReaps)
{
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
        for (const int pid : {0, 1})
        {
            // The record agrees with ps.
            const auto read = [pid]
            {
                const std::time_t start = record_of(pid).nStartTime / second;
                std::tm local{};
                tzset();
                localtime_r(&start, &local);
                return Numbers{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                               local.tm_hour,        local.tm_min,     local.tm_sec};
            };
            const auto answer = [pid]
            {
                TARVELO_LIBTIME start{};
                EXPECT_SUCCEEDS(Mirovan_Process_GetUpTime(&start, pid));
                return Numbers{start.nYear, start.nMonth,  start.nDay,
                               start.nHour, start.nMinute, start.nSecond};
            };
            EXPECT_TRUE(test::between_readings(read, answer)) << zone;
        }
    }
}

TEST(ProcessList, HasEveryProcessAndEndsWhenAsked)
{
    using Ids = std::set<int>;
    std::vector<std::unique_ptr<Child>> children;
    for (int count = 0; count < 20; ++count)
        children.push_back(std::make_unique<Child>(std::vector<std::string>{}));
    const auto check = [&]
    {
        const auto take = [](const MIROVAN_PROCESS_RECORD* record, void* ids)
        {
            EXPECT_EQ(record->nSize, sizeof *record);
            EXPECT_EQ(record->nKnown, every_field) << record->nProcessId;
            EXPECT_TRUE(static_cast<Ids*>(ids)->insert(record->nProcessId).second);
            EXPECT_FALSE(Mirovan_Process_GetPath(nullptr, 0)); // which must not be seen afterwards
            return true;
        };
        Ids expected;
        Ids found;
        for (const auto& entry : std::filesystem::directory_iterator{"/proc"})
            if (const int pid = std::atoi(entry.path().filename().c_str()); pid != 0)
                expected.insert(pid);
        EXPECT_SUCCEEDS(Mirovan_Process_List(take, &found));
        for (const auto& child : children)
            EXPECT_TRUE(found.contains(child->pid()));
        EXPECT_TRUE(found.contains(1));
        for (const int pid : expected)
            EXPECT_TRUE(found.contains(pid) || kill(pid, 0) != 0) << pid << " is missing";
    };
    check();
    test::as_ordinary_user(check);
    int calls = 0;
    const auto stop = [](const MIROVAN_PROCESS_RECORD*, void* count)
    { return ++*static_cast<int*>(count) < 3; };
    EXPECT_SUCCEEDS(Mirovan_Process_List(stop, &calls));
    EXPECT_EQ(calls, 3);
}

TEST(ProcessUsage, AgreesWithPs)
{
    const Child busy{{"busy"}};
    std::this_thread::sleep_for(std::chrono::milliseconds{500});
    const auto read = []
    {
        const double uptime = std::stod(test::read_file("/proc/uptime"));
        return uptime * static_cast<double>(sysconf(_SC_CLK_TCK));
    };
    int usage = -1;
    const Stat before{busy.pid()};
    const double earlier = read();
    EXPECT_SUCCEEDS(Mirovan_Process_GetProcessCpuUsage(&usage, busy.pid()));
    const double later = read();
    const Stat after{busy.pid()};
    const auto share = [&](const Stat& stat, double now)
    { return 1000 * static_cast<double>(stat[14] + stat[15]) / (now - double(stat[22])); };
    EXPECT_GE(usage, static_cast<int>(share(before, later + 1)) - 1);
    EXPECT_LE(usage, static_cast<int>(share(after, earlier - 1)) + 1);
    EXPECT_GT(usage, 0);
    const Child idle{{}};
    EXPECT_SUCCEEDS(Mirovan_Process_GetProcessCpuUsage(&usage, idle.pid()));
    EXPECT_LE(usage, 1000);
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
    // A path that cannot be told whole is not told at all.
    const std::string kept(MIROVAN_PATH_SIZE - 1, '#');
    std::strcpy(path, kept.c_str());
    std::string deep = scratch.path();
    while (deep.size() < 1024)
        std::filesystem::create_directory(deep += "/" + std::string(100, 'd'));
    std::filesystem::copy_file(test::child_program(), deep + "/test_child");
    const Child child{{}, deep + "/test_child"};
    EXPECT_FAILS(Mirovan_Process_GetPath(path, child.pid()), ERROR_MIROVAN_PROCESS_GET_FAILED,
                 ENAMETOOLONG);
    test::as_ordinary_user(
        [&] {
            EXPECT_FAILS(Mirovan_Process_GetPath(path, 1), ERROR_MIROVAN_PROCESS_GET_FAILED,
                         EACCES);
        });
    EXPECT_EQ(path, kept);
}

TEST(ProcessAdmin, AnswersAndClearsTheFlag)
{
    EXPECT_FALSE(Mirovan_Process_GetPath(nullptr, 0));
    EXPECT_EQ(Mirovan_Process_IsAdmin(), geteuid() == 0);
    EXPECT_FALSE(Mirovan_IsErrorOccur);
    test::as_ordinary_user([] { EXPECT_FALSE(Mirovan_Process_IsAdmin()); });
}

int priority_of(int pid)
{
    int priority = 99;
    EXPECT_SUCCEEDS(Mirovan_Process_GetPriority(&priority, pid));
    EXPECT_EQ(priority, getpriority(PRIO_PROCESS, static_cast<id_t>(pid)));
    return priority;
}

TEST(ProcessPriority, IsSetForTheWholeProcess)
{
    const Child child{{"threads=3"}};
    for (const int pid : {0, child.pid()})
        test::in_child(
            [pid]
            {
                EXPECT_SUCCEEDS(Mirovan_Process_SetPriority(5, pid));
                EXPECT_EQ(priority_of(pid), 5);
                EXPECT_SUCCEEDS(Mirovan_Process_SetPriority(20, pid));
                EXPECT_GE(priority_of(pid), 19);
                if (geteuid() != 0)
                    return;
                EXPECT_SUCCEEDS(Mirovan_Process_SetPriority(-20, pid));
                EXPECT_EQ(priority_of(pid), -20);
            });
    const int reached = getpriority(PRIO_PROCESS, static_cast<id_t>(child.pid()));
    for (const auto& task :
         std::filesystem::directory_iterator{"/proc/" + std::to_string(child.pid()) + "/task"})
        EXPECT_EQ(getpriority(PRIO_PROCESS,
                              static_cast<id_t>(std::stoi(task.path().filename().string()))),
                  reached);
    test::as_ordinary_user(
        []
        {
            EXPECT_FAILS(Mirovan_Process_SetPriority(-20, 0),
                         ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED, EACCES);
            EXPECT_FAILS(Mirovan_Process_SetPriority(1, 1),
                         ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED, EPERM);
        });
}

void set_tag(pthread_t thread, unsigned long tag)
{
    EXPECT_TRUE(Mirovan_Process_SetProcessForCpu(thread, tag));
}

unsigned long tag_of(pthread_t thread)
{
    unsigned long tag = 12345;
    EXPECT_TRUE(Mirovan_Process_GetProcessForCpu(thread, &tag));
    return tag;
}

TEST(ProcessAffinity, BelongsToAThreadAndIsReadFromAny)
{
    const pthread_t first = pthread_self();
    for (const unsigned long tag : {7UL, 0xFFFF'FFFF'8000'0000UL, ~0UL, 0UL})
    {
        set_tag(first, tag);
        EXPECT_EQ(tag_of(first), tag);
    }
    set_tag(first, 0x1234'0000'0009);
    for (int round = 0; round < 20; ++round)
        std::thread{[&]
                    {
                        EXPECT_EQ(tag_of(pthread_self()), 0U);
                        EXPECT_EQ(tag_of(first), 9U);
                        set_tag(pthread_self(), 5);
                        set_tag(first, 9);
                    }}
            .join();
    std::vector<std::thread> rivals;
    for (unsigned long tag = 1; tag <= 8; ++tag)
        rivals.emplace_back(
            [=]
            {
                set_tag(pthread_self(), tag);
                set_tag(first, tag);
                EXPECT_EQ(tag_of(pthread_self()), tag);
            });
    for (auto& rival : rivals)
        rival.join();
    EXPECT_LE(tag_of(first), 8U);
    set_tag(first, 0);
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
}

} // namespace
