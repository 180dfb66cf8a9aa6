#include "tests/support/machine.h"

#include "tests/support/support.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace test
{
namespace
{

std::string escaped(const std::string& text)
{
    std::string result = "\"";
    for (const char character : text)
    {
        char hexadecimal[8];
        std::snprintf(hexadecimal, sizeof hexadecimal, "\\x%02x",
                      static_cast<unsigned char>(character));
        const bool plain =
            character >= ' ' && character <= '~' && character != '"' && character != '\\';
        result += plain ? std::string{character} : hexadecimal;
    }
    return result + '"';
}

} // namespace

std::string report_record(const std::vector<std::string>& volumes,
                          const tag_Mirovan_Cpu_Information& processor)
{
    std::ostringstream record;
    for (const std::string& name : volumes)
        record << "disk " << escaped(name) << '\n';
    record << "processor " << escaped(processor.tszProcessorName) << "\nmodel "
           << escaped(processor.tszModelIdentifier) << "\nspeed " << processor.nProcessorSpeed
           << '\n';
    return record.str();
}

std::string report_record()
{
    char** table = nullptr;
    int count = 0;
    EXPECT_SUCCEEDS(Mirovan_HardWare_GetDiskNumber(&table, &count));
    const std::vector<std::string> volumes(table, table + count);
    Fundix_Memory_Free(reinterpret_cast<void***>(&table), count);
    tag_Mirovan_Cpu_Information processor = unfilled_processor;
    EXPECT_SUCCEEDS(Mirovan_HardWare_GetCpuInfomation(&processor));
    return report_record(volumes, processor);
}

std::string serial_record()
{
    tag_Mirovan_SdkSerial_Information serials{};
    EXPECT_SUCCEEDS(Mirovan_HardWare_GetSerial(&serials));
    return "system serial " + escaped(serials.tszSystemSerial) + "\nhardware uuid " +
           escaped(serials.tszHardwareUUID) + "\nvolume uuid " + escaped(serials.tszVolumeUUID) +
           "\nplatform serial " + escaped(serials.tszPlatformSerial) + "\n";
}

void plant_tree(const std::map<std::string, TreeEntry>& tree, const std::string& folder)
{
    for (const auto& [name, entry] : tree)
    {
        const fs::path path = fs::path{folder} / name;
        fs::create_directories(path.parent_path());
        if (entry.link_target.empty())
            std::ofstream{path, std::ios::binary} << entry.content;
        else
            fs::create_symlink(entry.link_target, path);
    }
}

std::vector<std::string> recorded_machines(const std::string& folder)
{
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator{fs::path{MIROVAN_TEST_MACHINES} / folder})
        if (entry.path().extension() != ".expected")
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

void expect_as_recorded(const std::string& recorded_file, const std::string& actual)
{
    const std::string expected_file = recorded_file + ".expected";
    if (std::getenv("MIROVAN_RECORD") != nullptr)
        std::ofstream{expected_file, std::ios::binary} << actual;
    EXPECT_EQ(actual, read_file(expected_file)) << recorded_file;
}

} // namespace test
