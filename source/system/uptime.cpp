#include "source/system/uptime.h"

#include "base/time.h"
#include "source/calendar.h"
#include "source/operation.h"

namespace mirovan
{

std::time_t start_time(std::time_t now, std::uint64_t milliseconds_since_start)
{
    constexpr std::uint64_t milliseconds_per_second = 1000;
    return now - static_cast<std::time_t>(milliseconds_since_start / milliseconds_per_second);
}

} // namespace mirovan

namespace
{

using namespace mirovan;

bool get_start(TARVELO_LIBTIME* start)
{
    if (start == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    const std::uint64_t ticks = Fundix_Time_GetTickCount();
    if (!local_calendar(start_time(std::time(nullptr), ticks), *start))
        return fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, errno);
    return true;
}

} // namespace

bool CMirovan_System::Mirovan_System_GetUpTime(TARVELO_LIBTIME* pstLibTime)
{
    return operation<ERROR_MIROVAN_SYSTEM_QUERY_FAILED>(get_start, pstLibTime);
}
