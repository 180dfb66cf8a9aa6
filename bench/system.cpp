#include "bench/harness.h"
#include "mirovan.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <string>
#include <sys/mman.h>
#include <sys/utsname.h>
#include <unistd.h>
#include <vector>

namespace
{

using bench::require;

void read_bare(const char* path)
{
    static char text[16384];
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    while (read(file, text, sizeof text) > 0)
        continue;
    close(file);
}

/// The files that hold the limits of this process: those of its control group, where it has one.
std::vector<std::string> limit_files()
{
    std::vector<std::string> files{"/proc/self/cgroup", "/proc/self/mountinfo"};
    std::ifstream groups{files.front()};
    for (std::string line; std::getline(groups, line);)
    {
        const std::string path = line.substr(line.rfind(':') + 1);
        const std::string folder =
            "/sys/fs/cgroup" +
            std::string{line.find(":memory:") != std::string::npos ? "/memory" : ""} + path;
        for (const char* name : {"/memory.max", "/memory.stat", "/memory.limit_in_bytes"})
            if (access((folder + name).c_str(), R_OK) == 0)
                files.push_back(folder + name);
    }
    return files;
}

void memory(bench::Table& table)
{
    table.compare_short(
        "GetMemoryUsage, beside reading /proc/meminfo", 1.3,
        []
        {
            tag_Mirovan_Memory_Infomation record;
            require(Mirovan_System_GetMemoryUsage(&record, MIROVAN_UNIT_BYTE), "GetMemoryUsage");
        },
        [] { read_bare("/proc/meminfo"); });
    table.compare_short(
        "GetMemoryRecord, beside reading the same files", 1.3,
        []
        {
            MIROVAN_MEMORY_RECORD record;
            record.nSize = sizeof record;
            require(Mirovan_System_GetMemoryRecord(&record), "GetMemoryRecord");
        },
        [files = limit_files()]
        {
            read_bare("/proc/meminfo");
            for (const std::string& file : files)
                read_bare(file.c_str());
        });
}

void processors(bench::Table& table)
{
    const auto read_bare_stat = [] { read_bare("/proc/stat"); };
    table.compare_short(
        "GetProcessorTimes, beside reading /proc/stat", 1.3,
        []
        {
            const auto take = [](const MIROVAN_PROCESSOR_TIMES*, void*) { return true; };
            require(Mirovan_System_GetProcessorTimes(take, nullptr), "GetProcessorTimes");
        },
        read_bare_stat);
    table.compare_short(
        "GetSysIdleTime, beside sysconf and reading /proc/stat", 1.3,
        []
        {
            unsigned long idle = 0;
            require(Mirovan_System_GetSysIdleTime(idle), "GetSysIdleTime");
        },
        [=]
        {
            require(sysconf(_SC_NPROCESSORS_CONF) > 0, "sysconf");
            read_bare_stat();
        });
}

void identity(bench::Table& table)
{
    table.compare_short(
        "GetIdentity, beside its calls and files by hand", 1.3,
        []
        {
            MIROVAN_IDENTITY record;
            record.nSize = sizeof record;
            require(Mirovan_System_GetIdentity(&record), "GetIdentity");
        },
        []
        {
            utsname kernel;
            cpu_set_t set;
            require(uname(&kernel) == 0 && sched_getaffinity(0, sizeof set, &set) == 0 &&
                        sysconf(_SC_NPROCESSORS_CONF) > 0 && sysconf(_SC_NPROCESSORS_ONLN) > 0,
                    "calls");
            for (const char* path :
                 {"/etc/os-release", "/proc/stat", "/proc/self/cgroup", "/proc/self/mountinfo"})
                read_bare(path);
        });
}

void report(bench::Table& table)
{
    table.compare_short(
        "mirovan report, beside uname -a and the same files", 3,
        [] {
            bench::run_command({MIROVAN_PROGRAM, "report"});
        },
        [files = limit_files()]
        {
            bench::run_command({"uname", "-a"});
            for (const char* path : {"/etc/os-release", "/proc/stat", "/proc/meminfo",
                                     "/proc/thread-self/mountinfo", "/etc/passwd"})
                read_bare(path);
            for (const std::string& file : files)
                read_bare(file.c_str());
        });
}

void load(bench::Table& table)
{
    table.compare_short(
        "GetCpuUsage, beside its pipeline through popen", 1.05,
        []
        {
            int percent = 0;
            require(Mirovan_System_GetCpuUsage(&percent), "GetCpuUsage");
        },
        []
        {
            std::FILE* stream =
                popen(R"(ps -A -o %cpu= | awk '{s+=$1} END {printf "%.1f\n", s}')", "r");
            char line[128];
            require(std::fgets(line, sizeof line, stream) != nullptr, "pipeline");
            pclose(stream);
        });
}

void run_true()
{
    require(Mirovan_System_SystemEx("true", 10), "SystemEx");
}

void shell(bench::Table& table)
{
    table.compare_short("SystemEx(\"true\", 10), beside system(\"true\")", 1.5, run_true,
                        [] { require(std::system("true") == 0, "system"); });

    // The limit is 20 ms for a command that ends at once: the reference is that wait.
    table.compare_short("SystemEx(\"true\", 10), beside 20 ms", 1, run_true,
                        [] { usleep(20'000); });

    // How long after its last second a limit of one second ends: 100 ms at the most. The seconds
    // are the clock's own, so both sides begin with a new one, and as much later as the clock that
    // counts whole seconds may lag.
    const auto whole_second = []
    {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        usleep(static_cast<useconds_t>((1'000'000'000 - now.tv_nsec) / 1000 + 20'000));
    };
    table.compare(
        "SystemEx(\"sleep 9\", 1), beside 1.1 s", 1,
        {[] { require(Mirovan_System_SystemEx("exec sleep 9", 1), "SystemEx"); }, whole_second},
        {[] { usleep(1'100'000); }, whole_second});
}

void shell_of_a_large_process(bench::Table& table)
{
    constexpr std::size_t four_gib = std::size_t{4} << 30U;
    void* resident = mmap(nullptr, four_gib, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    require(resident != MAP_FAILED, "4 GiB");
    table.compare_short("SystemEx(\"true\", 10) at 4 GiB, beside system(\"true\")", 1.5, run_true,
                        [] { require(std::system("true") == 0, "system"); });
    munmap(resident, four_gib);
}

} // namespace

int main()
{
    bench::Table table{"system"};
    memory(table);
    processors(table);
    identity(table);
    report(table);
    load(table);
    shell(table);
    shell_of_a_large_process(table);
    return table.result();
}
