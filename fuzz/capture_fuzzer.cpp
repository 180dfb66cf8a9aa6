// The selection of lines from an output, against the plain reading of it with fgets().
#include "source/command/line_reader.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t limit = 7;
    if (size > 4096)
        return 0;
    const auto read_by = [&](auto next)
    {
        int ends[2];
        if (pipe(ends) != 0 || write(ends[1], data, size) != static_cast<ssize_t>(size))
            std::abort();
        close(ends[1]);
        std::vector<std::string> chunks;
        bool ended = false;
        mirovan::LineReader reader{ends[0], limit};
        for (std::string_view chunk = next(reader, ended); !ended; chunk = next(reader, ended))
            chunks.emplace_back(chunk);
        close(ends[0]);
        return chunks;
    };
    const auto pieces = read_by([](auto& reader, bool& ended) { return reader.next(ended); });
    const auto blocks = read_by([](auto& reader, bool& ended) { return reader.next_block(ended); });
    const auto joined = [](const std::vector<std::string>& chunks)
    {
        std::string text;
        for (const std::string& chunk : chunks)
            text += chunk;
        return text;
    };
    if (joined(pieces) != joined(blocks))
        std::abort();

    std::size_t at = 0;
    if (std::FILE* plain =
            size == 0 ? nullptr : fmemopen(const_cast<std::uint8_t*>(data), size, "r"))
    {
        std::array<char, limit + 1> line{};
        while (std::fgets(line.data(), line.size(), plain) != nullptr)
            if (at == pieces.size() || pieces[at++] != line.data())
                std::abort();
        std::fclose(plain);
    }
    if (at != pieces.size())
        std::abort();
    return 0;
}
