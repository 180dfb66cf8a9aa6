#include "bench/harness.h"
#include "mirovan.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace
{

using bench::require;

/// 23 MB in short lines; ten times fewer of them for the second measure.
const char* const much = "seq 1 3000000";
const char* const a_tenth = "seq 1 300000";

void read_bare(const char* command)
{
    std::FILE* stream = popen(command, "r");
    static char block[65536];
    std::size_t total = 0;
    for (std::size_t got = 0; (got = std::fread(block, 1, sizeof block, stream)) != 0;)
        total += got;
    pclose(stream);
    require(total > 1'900'000, "output");
}

void capture(const char* command, char* buffer)
{
    buffer[0] = '\0';
    int length = 0;
    require(Mirovan_Process_ReadCmdReturn(command, buffer, 0, 0, &length) && length > 1'900'000,
            "ReadCmdReturn");
}

void capture_lines(const char* command)
{
    std::size_t total = 0;
    const auto take = [](const char*, int length, void* sum)
    {
        *static_cast<std::size_t*>(sum) += static_cast<std::size_t>(length);
        return true;
    };
    require(Mirovan_Process_ReadCmdLines(command, 0, 0, take, &total) && total > 1'900'000,
            "ReadCmdLines");
}

} // namespace

int main()
{
    bench::Table table{"command capture"};
    const auto buffer = std::make_unique<char[]>(24'000'000);
    table.compare_short(
        "ReadCmdReturn of 23 MB, beside popen and fread", 1.3, [&] { capture(much, buffer.get()); },
        [] { read_bare(much); });
    table.compare_short(
        "ReadCmdLines of 23 MB, beside popen and fread", 1.6, [] { capture_lines(much); },
        [] { read_bare(much); });
    table.compare_short(
        "ReadCmdReturn of 23 MB, beside itself of 2.3 MB", 11, [&] { capture(much, buffer.get()); },
        [&] { capture(a_tenth, buffer.get()); });
    return table.result();
}
