#include "base/string.h"
#include "source/hardware/report.h"
#include "source/operation.h"
#include "source/table.h"

namespace mirovan
{
namespace
{

constexpr std::string_view indent = "    ";

bool is_heading(std::string_view line)
{
    return line.starts_with(indent) && line.substr(indent.size(), 1) != " ";
}

/// What a heading names: the text before the first hyphen, less its last character, which is the
/// newline if there is no hyphen.
std::string heading_name(std::string_view line)
{
    const std::string_view text = line.substr(indent.size());
    std::string name{text.substr(0, text.find('-'))};
    if (!name.empty())
        name.pop_back();
    return name;
}

bool store_names(const std::vector<std::string>& names, char*** table, int* count)
{
    const int rows = static_cast<int>(names.size());
    if (table != nullptr)
    {
        char** made = nullptr;
        if (!make_table(&made, rows, MIROVAN_PATH_SIZE))
            return fail(ERROR_MIROVAN_HARDWARE_PARAMETER, ENOMEM);
        for (std::size_t row = 0; row < names.size(); ++row)
            copy_cut({made[row], MIROVAN_PATH_SIZE}, names[row]);
        *table = made;
    }
    *count = rows;
    return true;
}

} // namespace

void WritableVolumes::take_line(std::string_view line)
{
    constexpr int lines_searched = 16;
    if (lines_to_search_ == 0)
    {
        if (is_heading(line))
        {
            heading_ = heading_name(line);
            lines_to_search_ = lines_searched;
        }
        return;
    }
    --lines_to_search_;
    if (starts_in_any_case(line, "      writable: yes"))
    {
        names_.push_back(std::move(heading_));
        lines_to_search_ = 0;
    }
}

} // namespace mirovan

bool CMirovan_HardWare::Mirovan_HardWare_GetDiskNumber(char*** pppszDiskList, int* pnDiskCount)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_HARDWARE_PARAMETER>(
        [&]
        {
            if (pnDiskCount == nullptr)
                return fail(ERROR_MIROVAN_HARDWARE_PARAMETER, EINVAL);
            WritableVolumes volumes;
            return read_report("system_profiler SPStorageDataType",
                               [&](std::string_view line) { volumes.take_line(line); }) &&
                   store_names(volumes.names(), pppszDiskList, pnDiskCount);
        });
}
