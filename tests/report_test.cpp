#include "source/hardware/disk.h"
#include "source/hardware/report.h"
#include "tests/support/machine.h"
#include "tests/support/support.h"

#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <random>

extern "C" int fuzz_report(const std::uint8_t* data, std::size_t size);

namespace
{

TEST(FileSystemKind, FirstKnownPartDecides)
{
    const std::pair<const char*, int> kinds[] = {
        {"apfs", 5},  {"exfat", 1}, {"vfat", 1},   {"msdos", 1},        {"hfs", 0},
        {"ntfs3", 2}, {"ntfs", 2},  {"ext4", 4},   {"nextfs", 4},       {"APFS", 0},
        {"", 0},      {"nfs", 0},   {"fatext", 1}, {"fuse.ntfs-3g", 2}, {"fatapfs", 5}};
    for (const auto& [name, kind] : kinds)
        EXPECT_EQ(mirovan::file_system_kind(name), kind) << name;
}

/// Parts that meet the rules, miss them narrowly, or are not text at all.
std::string random_report(std::mt19937& random)
{
    using namespace std::string_literals;
    static const std::array parts = {"    "s,
                                     "    Disk:\n"s,
                                     "    Time - Machine:\n"s,
                                     "-"s,
                                     "      Writable: Yes\n"s,
                                     "      WRITABLE: YES"s,
                                     "      Writable: Ye"s,
                                     "      Free: 1 GB\n"s,
                                     "\n"s,
                                     "\r\n"s,
                                     "\0"s,
                                     "\xFF\xC3"s,
                                     std::string(1019, 'n'),
                                     std::string(1003, ' '),
                                     "      Free: 1 GB\n      Capacity: 1 GB\n\n\n\n\n\n\n"s};
    std::string report;
    for (auto count = random() % 60; count != 0; --count)
        report += parts.at(random() % parts.size());
    return report;
}

/// The fuzz target ends the process when the two readings differ.
TEST(StorageReport, AgreesWithASecondReading)
{
    std::mt19937 random{20240229};
    for (int round = 0; round < 3000; ++round)
    {
        const std::string text = random_report(random);
        fuzz_report(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    }
}

TEST(StorageReport, ReadingThatFailsTells)
{
    EXPECT_EQ(mirovan::read_report_lines(-1, [](std::string_view) {}), EBADF);
}

} // namespace
