#include "mirovan.h"

bool idle_time_at_null(void);

bool idle_time_at_null(void)
{
    return Mirovan_System_GetSysIdleTime(NULL);
}
