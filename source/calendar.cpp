#include "source/calendar.h"

namespace mirovan
{

bool local_calendar(std::time_t seconds, TARVELO_LIBTIME& calendar)
{
    std::tm local{};
    // localtime() follows a change of TZ by itself, localtime_r() does not.
    tzset();
    if (localtime_r(&seconds, &local) == nullptr)
        return false;
    constexpr int first_year = 1900;
    calendar = {local.tm_year + first_year,
                local.tm_mon + 1,
                local.tm_mday,
                local.tm_hour,
                local.tm_min,
                local.tm_sec};
    return true;
}

} // namespace mirovan
