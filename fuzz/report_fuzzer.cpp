#include "source/hardware/report.h"
#include "tests/support/second_reading.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace
{

void require(bool condition)
{
    if (!condition)
        std::abort();
}

bool is_terminated(const char* field, std::size_t size)
{
    return std::memchr(field, '\0', size) != nullptr;
}

} // namespace

/// Reads any bytes as a report, and the list of volumes a second time in another way.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file{std::tmpfile(), std::fclose};
    std::rewind(file.get());
    require(std::fwrite(data, 1, size, file.get()) == size && std::fflush(file.get()) == 0 &&
            ftruncate(fileno(file.get()), static_cast<off_t>(size)) == 0);
    std::rewind(file.get());
    const std::vector<std::string> expected = test::names_by_fgets(file.get());
    std::rewind(file.get());

    mirovan::WritableVolumes volumes;
    tag_Mirovan_Cpu_Information processor{};
    mirovan::ProcessorLines lines{processor};
    const int error = mirovan::read_report_lines(fileno(file.get()),
                                                 [&](std::string_view line)
                                                 {
                                                     volumes.take_line(line);
                                                     lines.take_line(line);
                                                 });
    require(error == 0);
    require(volumes.names() == expected);
    require(is_terminated(processor.tszProcessorName, sizeof processor.tszProcessorName));
    require(is_terminated(processor.tszModelIdentifier, sizeof processor.tszModelIdentifier));
    return 0;
}
