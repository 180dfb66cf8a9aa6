// What the system refuses of processes, as macOS does and Linux does not.
#include "platform/linux/process_text.h"
#include "tests/support/support.h"

#include <cerrno>
#include <cstring>
#include <libproc.h>
#include <numeric>
#include <sys/proc.h>
#include <unistd.h>
#include <utility>

extern "C"
{
    // The linker gives the library's calls the first name, and the layer's function the second.
    int call_of_the_library(int pid, int flavor, uint64_t arg, void* buffer,
                            int size) __asm__("__wrap_proc_pidinfo");
    int call_of_the_layer(int pid, int flavor, uint64_t arg, void* buffer,
                          int size) __asm__("__real_proc_pidinfo");
}

namespace
{

int refusal = 0;      ///< The errno for the next whole record.
int thread_count = 0; ///< Above 0: so many threads, of which every second one ended.
const proc_taskallinfo* made = nullptr; ///< What is told of every process.

} // namespace

int call_of_the_library(int pid, int flavor, uint64_t arg, void* buffer, int size)
{
    if (flavor == PROC_PIDTASKALLINFO && refusal != 0)
    {
        errno = std::exchange(refusal, 0);
        return 0;
    }
    if (flavor == PROC_PIDTASKALLINFO && made != nullptr)
    {
        *static_cast<proc_taskallinfo*>(buffer) = *made;
        return sizeof *made;
    }
    if (thread_count == 0 || flavor == PROC_PIDTASKALLINFO)
        return call_of_the_layer(pid, flavor, arg, buffer, size);
    if (flavor == PROC_PIDLISTTHREADS)
    {
        const int count = std::min(size / static_cast<int>(sizeof(uint64_t)), thread_count);
        std::iota(static_cast<uint64_t*>(buffer), static_cast<uint64_t*>(buffer) + count, 1);
        return count * static_cast<int>(sizeof(uint64_t));
    }
    if (arg % 2 == 0)
    {
        errno = ESRCH;
        return 0;
    }
    static_cast<proc_threadinfo*>(buffer)->pth_cpu_usage = 10;
    return sizeof(proc_threadinfo);
}

namespace
{

struct Facts
{
    tag_Mirovan_Process_Infomation info{};
    MIROVAN_PROCESS_RECORD record = test::sized<MIROVAN_PROCESS_RECORD>();
    TARVELO_LIBTIME start{};

    /// Of this process; each operation meets the refusal.
    explicit Facts(int reason = 0)
    {
        refusal = reason;
        EXPECT_SUCCEEDS(Mirovan_Process_GetProcessInfo(&info, nullptr, getpid()));
        refusal = reason;
        EXPECT_SUCCEEDS(Mirovan_Process_GetRecord(0, &record));
        refusal = reason;
        EXPECT_SUCCEEDS(Mirovan_Process_GetUpTime(&start, 0));
    }
};

TEST(ProcessRefusal, WhatEverybodyMayKnowIsStillReported)
{
    const Facts whole;
    for (const int reason : {EPERM, ESRCH})
    {
        const Facts known{reason};
        EXPECT_STREQ(known.info.tszProcessName, whole.info.tszProcessName);
        EXPECT_STREQ(known.info.tszUserName, whole.info.tszUserName);
        EXPECT_EQ(known.info.nState, 3);
        EXPECT_EQ(known.info.nThreadCount, 0);
        EXPECT_EQ(known.info.nVirtualSize + known.info.nResidentSize, 0U);
        EXPECT_EQ(known.start.nSecond, whole.start.nSecond);
        auto expected = test::sized<MIROVAN_PROCESS_RECORD>();
        expected.nKnown = MIROVAN_PROCESS_PARENT | MIROVAN_PROCESS_USER | MIROVAN_PROCESS_NAME |
                          MIROVAN_PROCESS_NICE | MIROVAN_PROCESS_START_TIME;
        expected.nProcessId = getpid();
        expected.nParentId = whole.record.nParentId;
        expected.nUserId = whole.record.nUserId;
        expected.nNice = whole.record.nNice;
        expected.nStartTime = whole.record.nStartTime;
        std::strcpy(expected.tszName, whole.record.tszName);
        EXPECT_EQ(std::memcmp(&known.record, &expected, sizeof expected), 0);
    }
    tag_Mirovan_Process_Infomation info{};
    refusal = EMFILE;
    EXPECT_FAILS(Mirovan_Process_GetProcessInfo(&info, nullptr, getpid()),
                 ERROR_MIROVAN_PROCESS_INFO_FAILED, EMFILE);
}

TEST(ProcessRefusal, StatesAndPageInsAreThoseOfTheSystem)
{
    const struct
    {
        uint32_t status;
        int running;
        char letter;
        int state;
    } cases[] = {{SRUN, 1, 'R', 0}, {SRUN, 3, 'R', 0},  {SRUN, 0, 'S', 3}, {SSLEEP, 0, 'D', 3},
                 {SIDL, 0, 'I', 3}, {SSTOP, 0, 'T', 3}, {SZOMB, 0, 'Z', 3}};
    for (const auto& [status, running, letter, state] : cases)
    {
        proc_taskallinfo task{};
        task.pbsd.pbi_status = status;
        task.pbsd.pbi_uid = geteuid();
        task.ptinfo.pti_numrunning = running;
        task.ptinfo.pti_pageins = 4003;
        task.ptinfo.pti_virtual_size = (5ULL << 32U) + 4096;
        made = &task;
        const Facts facts;
        EXPECT_EQ(facts.record.cState, letter);
        EXPECT_EQ(facts.record.nVirtualSize, task.ptinfo.pti_virtual_size);
        EXPECT_EQ(facts.info.nState, state) << letter;
        EXPECT_EQ(facts.info.nPageIns, 1000);
        EXPECT_EQ(facts.info.nVirtualSize, (1U << 30U) + 1024);
        made = nullptr;
    }
}

TEST(ProcessRefusal, UsageIsTheSumOverTheThreadsThatRun)
{
    for (const int count : {1, 63, 64, 65, 1000})
    {
        int usage = 0;
        thread_count = count;
        // The handle 0 is asked for first, and is nobody's.
        EXPECT_SUCCEEDS(Mirovan_Process_GetProcessCpuUsage(&usage, 0));
        EXPECT_EQ(usage, (count + 1) / 2 * 10);
    }
    thread_count = 0;
}

// What the kernel of Linux says of them.

using namespace mirovan::platform;

const std::string behind_name =
    " S 1 2 2 0 -1 4194560 100 200 3000 4 50 60 7 8 20 -5 9 0 123456 4096000 250 "
    "18446744073709551615 1 1 0 0 0 0 0 0 0 0 0 0 17 3 0 0";

TEST(ProcessText, OnlyCompleteTextsMakeARecord)
{
    const std::string stat = "42 (sh)" + behind_name;
    const std::size_t needed = stat.find(" 17 ") + 2;
    for (std::size_t length = 0; length < needed; ++length)
        EXPECT_FALSE(parse_process_stat(stat.substr(0, length))) << length;
    const auto changed = [&](const std::string& from, const std::string& to)
    { return std::string{stat}.replace(stat.find(from), from.size(), to); };
    EXPECT_FALSE(parse_process_stat(changed(" 9 0 123456", " 0 0 123456")));
    EXPECT_FALSE(parse_process_stat(changed(" 17 ", " -1 "))->leads) << "a thread";
    const auto memory = parse_process_memory("1000 40 30 1 0 20 0\n");
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory->virtual_pages, 1000U);
    EXPECT_EQ(memory->resident_pages, 40U);
    for (const char* text : {"", "1000", "1000 ", "1000 40", "x 40 30"})
        EXPECT_FALSE(parse_process_memory(text)) << text;
}

TEST(ProcessText, StatesAreThoseOfMacOS)
{
    for (const auto& [letter, status] : std::map<char, std::uint32_t>{
             {'R', 2}, {'S', 2}, {'D', 3}, {'I', 1}, {'T', 4}, {'t', 4}, {'Z', 5}, {'X', 5}})
        EXPECT_EQ(process_status(letter), status) << letter;
}

TEST(ProcessText, FiguresFollowTheTickRateAndTheClock)
{
    constexpr std::int64_t booted = 1'700'000'000;
    const struct
    {
        std::uint64_t rate;
        std::uint64_t start;
        std::uint64_t used;
        double now;
        std::int64_t started;
        int share;
    } cases[] = {{100, 199, 100, 2.99, booted + 1, 1000},
                 {250, 1000, 125, 6, booted + 4, 250},
                 {1000, 4999, 1500, 5.999, booted + 4, 1500},
                 {100, 500, 1, 5, booted + 5, 0},
                 {100, 500, 0, 4, booted + 5, 0}};
    for (const auto& [rate, start, used, now, started, share] : cases)
    {
        const ProcessStat stat{
            .user_ticks = used / 2, .system_ticks = used - used / 2, .start_ticks = start};
        EXPECT_EQ(start_second(start, rate, booted), started) << rate;
        EXPECT_NEAR(usage_share(stat, rate, now), share, 1) << rate;
    }
}

} // namespace
