#include "tests/faults/operations.h"
#include "tests/support/meanwhile.h"

#include <atomic>
#include <climits>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <thread>

namespace
{

using test::Operation;
using test::World;

/// Whether an operation changes nothing: not even who its process's children are.
bool only_reads(const Operation& operation)
{
    const auto begins = [&](const char* start) { return operation.name.starts_with(start); };
    return begins("Get") || begins("Enum") || begins("ReadCmd") || begins("IsAdmin");
}

/// What is wrong with the operations' answers, one after the other.
std::string answers_of(World& world)
{
    std::string wrong;
    for (const Operation& operation : world.operations())
    {
        if (!only_reads(operation))
            continue;
        world.prepare(operation);
        const test::Outcome outcome = test::call(operation);
        const std::string complaint = world.judge(operation, outcome, {}, true, false);
        if (!complaint.empty() || outcome.result == operation.refuses)
            wrong += operation.name + ": " + complaint + "\n";
        world.release(operation);
    }
    return wrong;
}

/// One failure of each family, and whether its thread was told so each time.
bool failures_are_told()
{
    tag_Mirovan_Disk_Information disk;
    tag_Mirovan_Process_Infomation process;
    MIROVAN_FILE_ATTR attributes;
    const char* const missing = "/no/such/path";
    const auto told = [](bool result, uint64_t code)
    { return !result && Mirovan_GetThreadError(nullptr, nullptr) == code; };
    return told(Mirovan_File_GetFileAttrA(missing, &attributes),
                ERROR_MIROVAN_FILE_ATTR_NOTFOUND) &&
           told(Mirovan_HardWare_GetDiskInfomation(missing, &disk, 1),
                ERROR_MIROVAN_HARDWARE_DISK_STATFS) &&
           told(Mirovan_Process_GetProcessInfo(&process, nullptr, INT_MAX),
                ERROR_MIROVAN_PROCESS_INFO_FAILED) &&
           told(Mirovan_System_GetUpTime(nullptr), ERROR_MIROVAN_SYSTEM_PARAMETER);
}

/// Descriptors that a program would inherit which another thread starts now.
std::vector<int> inheritable()
{
    std::vector<int> found;
    for (int file = 0; file < 256; ++file)
        if (const int flags = fcntl(file, F_GETFD); flags >= 0 && (flags & FD_CLOEXEC) == 0)
            found.push_back(file);
    return found;
}

TEST(Concurrency, PipesOfACommandAreNotInheritedByOtherPrograms)
{
    const std::vector<int> before = inheritable();
    std::vector<int> meanwhile;
    auto command = test::sized<MIROVAN_COMMAND>();
    command.lpszShellLine = "echo";
    command.pContext = &meanwhile;
    command.pfnOutput = [](const char*, uint64_t, void* found)
    {
        *static_cast<std::vector<int>*>(found) = inheritable();
        return true;
    };
    auto result = test::sized<MIROVAN_COMMAND_RESULT>();
    EXPECT_SUCCEEDS(Mirovan_Process_Execute(&command, &result));
    EXPECT_EQ(meanwhile, before);
}

TEST(Concurrency, AnswersAreRightOnEightThreadsWhileOthersFail)
{
    const auto ask_on_all_threads = []
    {
        // TSan cannot see the locks under which the C library reads the zone's file anew, which it
        // does when there is no zone, and loads and unloads libraries.
        const test::Environment zone{"TZ", "UTC"};
        tzset();
        void* const display_library = dlopen("libxcb.so.1", RTLD_NOW);
        std::deque<World> worlds(8);
        std::atomic<int> untold{0};
        std::mutex mutex;
        std::string wrong;
        {
            const auto fail = [&untold] { untold += !failures_are_told(); };
            const test::Meanwhile failing{fail}, failing_too{fail};
            std::vector<std::thread> threads;
            for (World& world : worlds)
                threads.emplace_back(
                    [&]
                    {
                        for (int round = 0; round < 3; ++round)
                        {
                            const std::string answers = answers_of(world);
                            const std::lock_guard lock{mutex};
                            wrong += answers;
                        }
                    });
            for (std::thread& thread : threads)
                thread.join();
        }
        EXPECT_EQ(wrong, "");
        EXPECT_EQ(untold, 0);
        // Each gives PATH and the like back as it found them.
        while (!worlds.empty())
            worlds.pop_back();
        if (display_library != nullptr)
            dlclose(display_library);
    };
    test::in_child(ask_on_all_threads);
}

TEST(Concurrency, ACancelledThreadEndsAfterTheOperation)
{
    const test::Held before = test::Held::now();
    std::atomic<bool> ended{false};
    pthread_t thread{};
    const auto run = [](void* to) -> void*
    {
        *static_cast<std::atomic<bool>*>(to) = Mirovan_System_SystemEx("sleep 0.2", 10);
        pthread_testcancel();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, run, &ended), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds{50});
    EXPECT_EQ(pthread_cancel(thread), 0);
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(ended);
    EXPECT_EQ(test::Held::now(), before);
}

} // namespace
