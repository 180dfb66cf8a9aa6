#include "base/string.h"
#include "source/hardware/report.h"
#include "source/operation.h"

#include <algorithm>
#include <limits>
#include <thread>
#include <unistd.h>
#include <xlocale.h>

namespace mirovan
{
namespace
{

/// The locale that reports are written in, whatever the program's own is.
class ReportLocale
{
public:
    ReportLocale() : locale_{newlocale(LC_ALL_MASK, "C", nullptr)}
    {
        if (locale_ == nullptr)
            throw std::bad_alloc{};
    }
    ~ReportLocale() { freelocale(locale_); }
    ReportLocale(const ReportLocale&) = delete;
    ReportLocale& operator=(const ReportLocale&) = delete;

    /// atof() in this locale.
    double number(const char* text) const { return strtod_l(text, nullptr, locale_); }

private:
    locale_t locale_;
};

/// What follows the key, less its last character, which is the newline except at the end of a
/// report that lacks it.
std::string_view value(std::string_view line, std::string_view key)
{
    line.remove_prefix(key.size());
    line.remove_suffix(line.empty() ? 0 : 1);
    return line;
}

/// Converts a speed in GHz to MHz.
int32_t megahertz(double gigahertz)
{
    constexpr double per_gigahertz = 1000.0;
    using Limits = std::numeric_limits<int32_t>;
    const double speed = gigahertz * per_gigahertz;
    // In this order a NaN becomes 0.
    if (!(speed > Limits::min()))
        return speed <= Limits::min() ? Limits::min() : 0;
    return speed < Limits::max() ? static_cast<int32_t>(speed) : Limits::max();
}

/// The number between the key, in the case it has on this line, and the next space. Where the region
/// has a decimal comma, reports have one too.
int32_t speed(std::string_view line, std::string_view key)
{
    char token[64] = "";
    const std::string start{line.substr(0, key.size())};
    Fundix_String_GetStartEndA(line.data(), token, start.c_str(), " ");
    std::replace(std::begin(token), std::end(token), ',', '.');
    return megahertz(ReportLocale{}.number(token));
}

} // namespace

void ProcessorLines::take_line(std::string_view line)
{
    constexpr std::string_view name_key = "      processor name: ";
    constexpr std::string_view chip_key = "      chip: ";
    constexpr std::string_view model_key = "      model identifier: ";
    constexpr std::string_view speed_key = "      processor speed: ";
    if (starts_in_any_case(line, name_key))
    {
        copy_cut(processor_.tszProcessorName, value(line, name_key));
        named_ = true;
    }
    else if (!named_ && starts_in_any_case(line, chip_key))
        copy_cut(processor_.tszProcessorName, value(line, chip_key));
    else if (starts_in_any_case(line, model_key))
        copy_cut(processor_.tszModelIdentifier, value(line, model_key));
    else if (starts_in_any_case(line, speed_key))
        processor_.nProcessorSpeed = speed(line, speed_key);
}

} // namespace mirovan

bool CMirovan_HardWare::Mirovan_HardWare_GetCpuInfomation(tag_Mirovan_Cpu_Information* pstCpuInfo)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_HARDWARE_PARAMETER>(
        [&]
        {
            if (pstCpuInfo == nullptr)
                return fail(ERROR_MIROVAN_HARDWARE_PARAMETER, EINVAL);
            pstCpuInfo->nHardwareThreads = std::thread::hardware_concurrency();
            pstCpuInfo->nProcessorOnline = static_cast<int32_t>(sysconf(_SC_NPROCESSORS_ONLN));
            ProcessorLines lines{*pstCpuInfo};
            return read_report("system_profiler SPHardwareDataType",
                               [&](std::string_view line) { lines.take_line(line); });
        });
}
