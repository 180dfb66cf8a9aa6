#pragma once

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <strings.h>
#include <vector>

namespace test
{

/// A second reading of the storage report, by the C library's means: what the library's own is
/// compared with.
inline std::vector<std::string> names_by_fgets(std::FILE* report)
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
        if (std::strlen(line) < 4 || std::strncmp(line, "    ", 4) != 0 || line[4] == ' ')
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

} // namespace test
