#pragma once

#include "mirovan.h"

#include <ctime>

namespace mirovan
{

/// Seconds since 1970 UTC in local time, by the time zone that TZ names now. False, with errno set
/// and the record untouched, if there is no such local time.
bool local_calendar(std::time_t seconds, TARVELO_LIBTIME& calendar);

} // namespace mirovan
