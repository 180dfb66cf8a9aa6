// Any bytes as a report, and the list of volumes read a second time by the C library's means.
// tests/report_test.cpp calls it too.
#include "source/hardware/report.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <strings.h>

namespace
{

void require(bool condition)
{
    if (!condition)
        std::abort();
}

std::vector<std::string> names_by_fgets(std::FILE* report)
{
    std::vector<std::string> names;
    char line[1024] = "";
    const auto next = [&]
    {
        std::memset(line, 0, sizeof line);
        return std::fgets(line, sizeof line, report) != nullptr;
    };
    while (next())
    {
        if (std::strncmp(line, "    ", 4) != 0 || line[4] == ' ')
            continue;
        std::string name = line + 4;
        name.resize(std::min(name.size(), name.find('-')));
        name.resize(name.empty() ? 0 : name.size() - 1);
        for (int searched = 0; searched < 16 && next(); ++searched)
        {
            if (strncasecmp(line, "      Writable: Yes", 19) != 0)
                continue;
            names.push_back(name);
            break;
        }
    }
    return names;
}

bool is_terminated(const char* field, std::size_t size)
{
    return std::memchr(field, '\0', size) != nullptr;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file{std::tmpfile(), std::fclose};
    std::rewind(file.get());
    require(std::fwrite(data, 1, size, file.get()) == size && std::fflush(file.get()) == 0 &&
            ftruncate(fileno(file.get()), static_cast<off_t>(size)) == 0);
    std::rewind(file.get());
    const std::vector<std::string> expected = names_by_fgets(file.get());
    std::rewind(file.get());

    mirovan::WritableVolumes volumes;
    tag_Mirovan_Cpu_Information processor{};
    mirovan::ProcessorLines lines{processor};
    const auto take = [&](std::string_view line)
    {
        volumes.take_line(line);
        lines.take_line(line);
    };
    require(mirovan::read_report_lines(fileno(file.get()), take) == 0);
    require(volumes.names() == expected);
    require(is_terminated(processor.tszProcessorName, sizeof processor.tszProcessorName));
    require(is_terminated(processor.tszModelIdentifier, sizeof processor.tszModelIdentifier));
    return 0;
}
