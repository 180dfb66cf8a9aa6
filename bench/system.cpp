#include "bench/harness.h"
#include "mirovan.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sysinfo.h>
#include <unistd.h>

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

void memory(bench::Table& table)
{
    table.compare_short(
        "GetMemoryUsage, beside sysinfo and the two reads", 1.5,
        []
        {
            tag_Mirovan_Memory_Infomation record;
            require(Mirovan_System_GetMemoryUsage(&record, 1), "GetMemoryUsage");
        },
        []
        {
            struct sysinfo info;
            require(sysinfo(&info) == 0, "sysinfo");
            read_bare("/proc/meminfo");
            read_bare("/proc/vmstat");
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
    load(table);
    shell(table);
    shell_of_a_large_process(table);
    return table.result();
}
