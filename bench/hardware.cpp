#include "bench/harness.h"
#include "mirovan.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/statvfs.h>
#include <unistd.h>

namespace
{

using bench::require;

constexpr int volumes = 10'000;

/// Puts a stand-in for the report command first on PATH, which prints a report of many volumes.
void add_report(const bench::Scratch& scratch)
{
    std::ofstream report{scratch / "report"};
    report << "Storage:\n\n";
    for (int volume = 0; volume < volumes; ++volume)
        report << "    Volume " << volume
               << ":\n\n      Free: 203.47 GB (203,473,711,104 bytes)\n"
                  "      Capacity: 499.96 GB (499,963,174,912 bytes)\n      Mount Point: /v"
               << volume << "\n      File System: APFS\n      Writable: Yes\n"
               << "      Ignore Ownership: No\n      BSD Name: disk" << volume
               << "s1\n      Volume UUID: 5A3CF6F6-1C5A-5E7F-9B0D-00AC3F1C1185\n\n";
    const std::string command = scratch / "bin/system_profiler";
    std::filesystem::create_directory(scratch / "bin");
    std::ofstream{command} << "#!/bin/sh\nexec cat '" << (scratch / "report") << "'\n";
    std::filesystem::permissions(command, std::filesystem::perms::all);
    setenv("PATH", (scratch / "bin:" + std::getenv("PATH")).c_str(), 1);
}

void read_lines()
{
    std::FILE* report = popen("system_profiler SPStorageDataType", "r");
    char line[1024];
    int lines = 0;
    while (std::fgets(line, sizeof line, report) != nullptr)
        ++lines;
    pclose(report);
    require(lines > 10 * volumes, "report");
}

void disk_list(bench::Table& table)
{
    table.compare_short(
        "GetDiskNumber, 10,000 volumes, beside popen and fgets", 1.5,
        []
        {
            char** names = nullptr;
            int count = 0;
            require(Mirovan_HardWare_GetDiskNumber(&names, &count) && count == volumes,
                    "GetDiskNumber");
            Fundix_Memory_Free(reinterpret_cast<void***>(&names), count);
        },
        read_lines);
    table.compare_short(
        "GetDiskNumber, without the table of names", 1.5,
        []
        {
            int count = 0;
            require(Mirovan_HardWare_GetDiskNumber(nullptr, &count) && count == volumes,
                    "GetDiskNumber");
        },
        read_lines);
}

void disk_information(bench::Table& table)
{
    table.compare_short(
        "GetDiskInfomation, beside statfs and the mount table", 1.5,
        []
        {
            tag_Mirovan_Disk_Information disk;
            require(Mirovan_HardWare_GetDiskInfomation("/", &disk, 1), "GetDiskInfomation");
        },
        []
        {
            struct statvfs sizes;
            require(statvfs("/", &sizes) == 0, "statvfs");
            std::FILE* mounts = std::fopen("/proc/self/mountinfo", "r");
            char block[4096];
            while (std::fread(block, 1, sizeof block, mounts) != 0)
                continue;
            std::fclose(mounts);
        });
}

void volume_list(bench::Table& table)
{
    table.compare_short(
        "ListVolumes, beside statfs of each and the mount table", 1.5,
        []
        {
            const auto take = [](const MIROVAN_VOLUME*, void*) { return true; };
            require(Mirovan_HardWare_ListVolumes(0, take, nullptr), "ListVolumes");
        },
        []
        {
            static char text[1 << 16];
            const int file = open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
            std::size_t length = 0;
            for (ssize_t got = 0; (got = read(file, text + length, sizeof text - length - 1)) > 0;)
                length += static_cast<std::size_t>(got);
            close(file);
            text[length] = '\0';
            char* rest = nullptr;
            for (char* line = strtok_r(text, "\n", &rest); line != nullptr;
                 line = strtok_r(nullptr, "\n", &rest))
            {
                char point[1024];
                struct statvfs sizes;
                if (std::sscanf(line, "%*s %*s %*s %*s %1023s", point) == 1)
                    statvfs(point, &sizes);
            }
        });
}

} // namespace

int main()
{
    const bench::Scratch scratch;
    add_report(scratch);
    bench::Table table{"hardware"};
    disk_list(table);
    disk_information(table);
    volume_list(table);
    return table.result();
}
