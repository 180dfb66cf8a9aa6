// What the system refuses of processes, as macOS does and Linux does not.
#include "tests/support/support.h"

#include <cerrno>
#include <libproc.h>
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
int thread_count = 0; ///< Above 0: so many threads, of which every second one has ended.

} // namespace

int call_of_the_library(int pid, int flavor, uint64_t arg, void* buffer, int size)
{
    if (flavor == PROC_PIDTASKALLINFO && refusal != 0)
    {
        errno = std::exchange(refusal, 0);
        return 0;
    }
    if (thread_count == 0 || flavor == PROC_PIDTASKALLINFO)
        return call_of_the_layer(pid, flavor, arg, buffer, size);
    if (flavor == PROC_PIDLISTTHREADS)
    {
        const int count = std::min(size / static_cast<int>(sizeof(uint64_t)), thread_count);
        for (int handle = 1; handle <= count; ++handle)
            static_cast<uint64_t*>(buffer)[handle - 1] = static_cast<uint64_t>(handle);
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

TEST(ProcessRefusal, WhatEverybodyMayKnowIsStillReported)
{
    tag_Mirovan_Process_Infomation whole{};
    auto whole_record = test::sized<MIROVAN_PROCESS_RECORD>();
    TARVELO_LIBTIME whole_start{};
    ASSERT_TRUE(Mirovan_Process_GetProcessInfo(&whole, nullptr, getpid()));
    ASSERT_TRUE(Mirovan_Process_GetRecord(getpid(), &whole_record));
    ASSERT_TRUE(Mirovan_Process_GetUpTime(&whole_start, getpid()));
    for (const int reason : {EPERM, ESRCH})
    {
        tag_Mirovan_Process_Infomation info{};
        refusal = reason;
        EXPECT_SUCCEEDS(Mirovan_Process_GetProcessInfo(&info, nullptr, getpid()));
        EXPECT_STREQ(info.tszProcessName, whole.tszProcessName);
        EXPECT_STREQ(info.tszUserName, whole.tszUserName);
        EXPECT_EQ(info.nState, 3);
        EXPECT_EQ(info.nThreadCount, 0);
        EXPECT_EQ(info.nVirtualSize + info.nResidentSize, 0U);
        TARVELO_LIBTIME start{};
        refusal = reason;
        EXPECT_SUCCEEDS(Mirovan_Process_GetUpTime(&start, 0));
        EXPECT_EQ(start.nSecond, whole_start.nSecond);
        auto record = test::sized<MIROVAN_PROCESS_RECORD>();
        refusal = reason;
        EXPECT_SUCCEEDS(Mirovan_Process_GetRecord(0, &record));
        EXPECT_EQ(record.nKnown, MIROVAN_PROCESS_PARENT | MIROVAN_PROCESS_USER |
                                     MIROVAN_PROCESS_NAME | MIROVAN_PROCESS_NICE |
                                     MIROVAN_PROCESS_START_TIME);
        EXPECT_EQ(record.nParentId, whole_record.nParentId);
        EXPECT_EQ(record.nUserId, whole_record.nUserId);
        EXPECT_STREQ(record.tszName, whole_record.tszName);
        EXPECT_EQ(record.nStartTime, whole_record.nStartTime);
        EXPECT_EQ(record.nThreadCount + record.nResidentSize + record.nUserTime, 0U);
        EXPECT_EQ(record.cState, '\0');
    }
    tag_Mirovan_Process_Infomation info{};
    refusal = EMFILE;
    EXPECT_FAILS(Mirovan_Process_GetProcessInfo(&info, nullptr, getpid()),
                 ERROR_MIROVAN_PROCESS_INFO_FAILED, EMFILE);
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

} // namespace
