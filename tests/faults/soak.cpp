// All operations at random on four threads for a time, one thread at a time with a call of its
// operation that fails. Fails when memory or descriptors grow, or an outcome contradicts itself.
//
//     fault_soak SECONDS [SEED]
#include "tests/faults/faults.h"
#include "tests/support/support.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <mutex>
#include <random>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

constexpr int thread_count = 4;

std::atomic<bool> over{false};
std::atomic<long> calls{0};
std::atomic<long> failures{0};
std::atomic<long> faults_fired{0};
std::atomic<long> contradictions{0};
std::mutex fault_token;

using Random = std::mt19937;
using Operation = std::function<bool()>;

void end_child(unsigned long child)
{
    if (child != 0)
        waitpid(static_cast<pid_t>(child), nullptr, 0);
}

// The child may ignore SIGINT: whoever runs a shell command meanwhile has it ignored.
bool stop_a_child()
{
    unsigned long child = 0;
    if (!Mirovan_Process_CreateProcess(&child, "/bin/sleep", "0.1", false))
        return false;
    const bool stopped = Mirovan_Process_Stop(nullptr, static_cast<int>(child), false);
    end_child(child);
    return stopped;
}

/// One thread's operations, on files of its own.
std::vector<Operation> operations_in(const test::Scratch& scratch)
{
    const std::string deep = scratch / "a/b/c.txt";
    const std::wstring wide = test::widened(scratch / "w\u00E4/d.txt");
    // Put together here: a failing allocation of the operations is to be the library's.
    const std::string copy = deep + ".copy";
    const std::string folders = deep + ".d/e/f";
    const std::string top_folder = deep + ".d";
    const std::wstring wide_copy = wide + L"2";
    const std::wstring wide_folder = test::widened(scratch.path());
    const std::wstring wide_folders = wide + L"3/e/f";
    const std::string pattern = scratch / "a/b/*.txt";
    const auto all = [](auto... operations) { return std::vector<Operation>{operations...}; };
    const auto path = [scratch_path = scratch.path()] { return scratch_path.c_str(); };
    return all([=] { return Mirovan_File_SaveBuffToFileA(deep.c_str(), "content", 7); },
               [=] { return Mirovan_File_SaveBuffToFileW(wide.c_str(), "content", 7); },
               [=] { return Mirovan_File_CreateSparseFileW(wide.c_str(), 5000); },
               [=] { return Mirovan_File_CopyFileA(deep.c_str(), copy.c_str(), false); },
               [=] { return Mirovan_File_CopyFileW(wide.c_str(), wide_copy.c_str(), true); },
               [=] { return Mirovan_File_CreateMutilFolderA(folders.c_str()); },
               [=] { return Mirovan_File_DeleteMutilFolderA(top_folder.c_str(), true); },
               [=] { return Mirovan_File_DeleteMutilFolderA(path(), false); },
               [=] { return Mirovan_File_CreateSparseFileA(deep.c_str(), 70000); },
               [=]
               {
                   return Mirovan_File_CreateMutilFolderW(wide_folders.c_str()) &&
                          Mirovan_File_DeleteMutilFolderW(wide_folders.c_str(), false);
               },
               [=]
               {
                   MIROVAN_FILE_ATTR attributes;
                   return Mirovan_File_GetFileAttrA(deep.c_str(), &attributes);
               },
               [=]
               {
                   MIROVAN_FILE_ATTR attributes;
                   return Mirovan_File_GetFileAttrW(wide.c_str(), &attributes);
               },
               [=]
               {
                   char** rows = nullptr;
                   int count = 0;
                   const bool found = Mirovan_File_EnumFileA(path(), &rows, &count, true, 3);
                   return Fundix_Memory_Free(reinterpret_cast<void***>(&rows), count) && found;
               },
               [=] { return Mirovan_File_EnumFileA(pattern.c_str(), nullptr, nullptr, false, 1); },
               []
               {
                   tag_Mirovan_Disk_Information disk;
                   return Mirovan_HardWare_GetDiskInfomation("/", &disk, 3);
               },
               []
               {
                   char** rows = nullptr;
                   int count = 0;
                   const bool found = Mirovan_HardWare_GetDiskNumber(&rows, &count);
                   return Fundix_Memory_Free(reinterpret_cast<void***>(&rows), count) && found;
               },
               []
               {
                   tag_Mirovan_SdkSerial_Information serials{};
                   return Mirovan_HardWare_GetSerial(&serials);
               },
               []
               {
                   tag_Mirovan_Cpu_Information processor{};
                   return Mirovan_HardWare_GetCpuInfomation(&processor);
               },
               []
               {
                   char text[4096] = "";
                   return Mirovan_Process_ReadCmdReturn("seq 1 300", text, 0, 0, nullptr);
               },
               []
               {
                   tag_Mirovan_Process_Infomation process;
                   return Mirovan_Process_GetProcessInfo(&process, nullptr, getpid());
               },
               []
               {
                   TARVELO_LIBTIME start;
                   return Mirovan_Process_GetUpTime(&start, 0);
               },
               []
               {
                   char name[MIROVAN_PATH_SIZE];
                   return Mirovan_Process_GetPath(name, 0);
               },
               []
               {
                   int priority = 0;
                   int usage = 0;
                   return Mirovan_Process_GetPriority(&priority, 0) &&
                          Mirovan_Process_SetPriority(priority, 0) &&
                          Mirovan_Process_GetProcessCpuUsage(&usage, 0);
               },
               [] { return Mirovan_Process_SetProcessForCpu(pthread_self(), 3); },
               []
               {
                   unsigned long tag = 0;
                   return Mirovan_Process_GetProcessForCpu(pthread_self(), &tag) &&
                          Mirovan_Process_IsAdmin() == (geteuid() == 0);
               },
               []
               {
                   return Mirovan_Process_ReadCmdLines(
                       "seq 1 30", 0, 0, [](const char*, int, void*) { return true; }, nullptr);
               },
               stop_a_child,
               []
               {
                   unsigned long child = 0;
                   const bool started =
                       Mirovan_Process_CreateProcess(&child, "/bin/true", "a b", false);
                   end_child(child);
                   return started;
               },
               []
               {
                   unsigned long child = 0;
                   const bool started =
                       Mirovan_Process_RunProcess(&child, "/bin/true", "true", nullptr, false);
                   end_child(child);
                   return started;
               },
               []
               {
                   tag_Mirovan_Memory_Infomation memory;
                   return Mirovan_System_GetMemoryUsage(&memory, 3);
               },
               []
               {
                   int load = 0;
                   return Mirovan_System_GetCpuUsage(&load);
               },
               [] { return Mirovan_System_SystemEx("true", 5); },
               []
               {
                   MIROVAN_PROCESS_INFO** rows = nullptr;
                   int count = 0;
                   return Mirovan_System_GetProcessCount(&count) &&
                          Mirovan_System_GetProcessList(&rows, &count);
               },
               []
               {
                   TARVELO_LIBTIME start;
                   char language[64];
                   return Mirovan_System_GetUpTime(&start) && Mirovan_System_GetLanguage(language);
               },
               []
               {
                   char name[256], version[256], code_name[256], release[256];
                   unsigned long type = 0;
                   return Mirovan_System_GetSystemVer(name, version, code_name, &type, release);
               },
               [] { return Mirovan_System_WMIQuery("a", "b", nullptr, 0); },
               // An action that it does not have; the others are not for a test that runs for long.
               [] { return Mirovan_System_Shutdown(0); },
               []
               {
                   unsigned long idle = 0;
                   return Mirovan_System_GetSysIdleTime(idle);
               },
               []
               {
                   int width = 0;
                   int height = 0;
                   char user[256];
                   char host[1024];
                   return Mirovan_System_GetScreen(&width, &height) &&
                          Mirovan_System_GetSysName(user, host);
               });
}

void run_one(const Operation& operation, Random& random)
{
    const std::unique_lock<std::mutex> token{fault_token, std::try_to_lock};
    const bool with_fault = token.owns_lock() && random() % 4 != 0;
    if (with_fault)
        faults::faults_arm({static_cast<unsigned>(1 + random() % 25),
                            static_cast<unsigned>(random() % 4),
                            random() % 3 == 0 ? faults::Mode::same : faults::Mode::once});
    const bool result = operation();
    if (with_fault)
    {
        faults_fired += faults::faults_disarm().fired;
        unsigned first = 0;
        faults::faults_forget_allocations(&first);
    }
    bool failed = false;
    const uint64_t code = Mirovan_GetThreadError(&failed, nullptr);
    // An operation that succeeded may be the last of several; one that failed has a code.
    if (!result && failed && code == 0)
        ++contradictions;
    failures += !result;
    ++calls;
}

void soak(unsigned seed)
{
    Random random{seed};
    const test::Scratch scratch;
    const auto operations = operations_in(scratch);
    while (!over)
        run_one(operations[random() % operations.size()], random);
}

struct Usage
{
    std::size_t heap;
    long resident_pages;
    std::size_t descriptors;

    static Usage now()
    {
        malloc_trim(0);
        return {
            mallinfo2().uordblks,
            std::strtol(std::strchr(test::read_file("/proc/self/statm").c_str(), ' '), nullptr, 10),
            test::Held::now().descriptors.size()};
    }
    void print(const char* when, long seconds) const
    {
        std::printf(
            "%-5s %5ld s: %zu KiB of heap, %ld KiB resident, %zu descriptors; %ld calls, %ld "
            "failed, %ld faults\n",
            when, seconds, heap / 1024, resident_pages * 4, descriptors, calls.load(),
            failures.load(), faults_fired.load());
        std::fflush(stdout);
    }
};

Usage run_round(std::chrono::seconds time, unsigned seed)
{
    over = false;
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < thread_count; ++number)
        threads.emplace_back(soak, seed * thread_count + number);
    std::this_thread::sleep_for(time);
    over = true;
    for (auto& thread : threads)
        thread.join();
    return Usage::now();
}

} // namespace

int main(int argc, char** argv)
{
    const long seconds = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 60;
    const auto seed = static_cast<unsigned>(argc > 2 ? std::strtol(argv[2], nullptr, 10) : 1);
    constexpr long rounds = 10;
    const long round_seconds = std::max(seconds / rounds, 1L);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);

    // The first round fills what is filled once; growth is what comes after it.
    const Usage first = run_round(std::chrono::seconds{round_seconds}, seed);
    first.print("first", round_seconds);
    Usage last = first;
    for (long round = 1; round < rounds; ++round)
    {
        last = run_round(std::chrono::seconds{round_seconds}, seed + static_cast<unsigned>(round));
        last.print("then", (round + 1) * round_seconds);
    }
    constexpr std::size_t tolerated_bytes = std::size_t{256} * 1024;
    const bool grew =
        last.heap > first.heap + tolerated_bytes || last.descriptors != first.descriptors;
    std::printf("%s\n", grew                  ? "grew"
                        : contradictions != 0 ? "contradictory outcomes"
                                              : "no growth");
    return grew || contradictions != 0 ? 1 : 0;
}
