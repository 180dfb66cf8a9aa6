#include "bench/harness.h"
#include "mirovan.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/statvfs.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

/// A storage report of 10,000 volumes, printed by a stand-in for the command, first on PATH.
class LargeReport
{
public:
    LargeReport()
    {
        std::ofstream report{folder_ / "report"};
        report << "Storage:\n\n";
        for (int volume = 0; volume < 10'000; ++volume)
            report << "    Volume " << volume
                   << ":\n\n      Free: 203.47 GB (203,473,711,104 bytes)\n"
                      "      Capacity: 499.96 GB (499,963,174,912 bytes)\n      Mount Point: /v"
                   << volume << "\n      File System: APFS\n      Writable: Yes\n"
                   << "      Ignore Ownership: No\n      BSD Name: disk" << volume
                   << "s1\n      Volume UUID: 5A3CF6F6-1C5A-5E7F-9B0D-00AC3F1C1185\n\n";
        const fs::path command = folder_ / "system_profiler";
        std::ofstream{command} << "#!/bin/sh\nexec cat '" << (folder_ / "report").string() << "'\n";
        fs::permissions(command, fs::perms::all);
        setenv("PATH", (folder_.string() + ":" + std::getenv("PATH")).c_str(), 1);
    }
    ~LargeReport() { fs::remove_all(folder_); }
    LargeReport(const LargeReport&) = delete;
    LargeReport& operator=(const LargeReport&) = delete;

private:
    static fs::path make_folder()
    {
        std::string pattern = fs::temp_directory_path() / "mirovan-bench-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr)
            std::abort();
        return pattern;
    }

    fs::path folder_ = make_folder();
};

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void list_disks()
{
    char** table = nullptr;
    int count = 0;
    require(Mirovan_HardWare_GetDiskNumber(&table, &count) && count == 10'000);
    Fundix_Memory_Free(reinterpret_cast<void***>(&table), count);
}

void count_disks()
{
    int count = 0;
    require(Mirovan_HardWare_GetDiskNumber(nullptr, &count) && count == 10'000);
}

void read_lines()
{
    std::FILE* report = popen("system_profiler SPStorageDataType", "r");
    char line[1024];
    int lines = 0;
    while (std::fgets(line, sizeof line, report) != nullptr)
        ++lines;
    pclose(report);
    require(lines > 100'000);
}

constexpr int calls = 200;

void ask_for_the_disk()
{
    tag_Mirovan_Disk_Information disk;
    for (int call = 0; call < calls; ++call)
        require(Mirovan_HardWare_GetDiskInfomation("/", &disk, 1));
}

void ask_and_read_the_mount_table()
{
    for (int call = 0; call < calls; ++call)
    {
        struct statvfs sizes;
        require(statvfs("/", &sizes) == 0);
        std::FILE* table = std::fopen("/proc/self/mountinfo", "r");
        char block[4096];
        while (std::fread(block, 1, sizeof block, table) != 0)
            continue;
        std::fclose(table);
    }
}

} // namespace

int main()
{
    const LargeReport report;
    compare("disk list, 10,000 volumes", 1.5, list_disks, read_lines);
    compare("disk list, 10,000 volumes, no table", 1.5, count_disks, read_lines);
    compare("disk information", 1.5, ask_for_the_disk, ask_and_read_the_mount_table);
    return bench_status();
}
