#include "source/operation.h"
#include "source/process/process_id.h"

#include <sys/resource.h>

namespace mirovan
{
namespace
{

constexpr int first_priority = -20;
constexpr int last_priority = 20;

bool get_priority(int* priority, int id)
{
    if (priority == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    // -1 is a valid priority: only errno indicates a failure.
    errno = 0;
    const int value = getpriority(PRIO_PROCESS, static_cast<id_t>(named_process(id)));
    if (value == -1 && errno != 0)
        return fail(ERROR_MIROVAN_PROCESS_GETPRIORITY_FAILED, errno);
    *priority = value;
    return true;
}

bool set_priority(int priority, int id)
{
    if (priority < first_priority || priority > last_priority)
        return fail(ERROR_MIROVAN_PROCESS_SETPRIORITY_RANGE, EINVAL);
    if (setpriority(PRIO_PROCESS, static_cast<id_t>(named_process(id)), priority) == -1)
        return fail(ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED, errno);
    return true;
}

} // namespace
} // namespace mirovan

bool CMirovan_Process::Mirovan_Process_GetPriority(int* pnPriority, int nPid)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_GETPRIORITY_FAILED>(mirovan::get_priority,
                                                                        pnPriority, nPid);
}

bool CMirovan_Process::Mirovan_Process_SetPriority(int nPriority, int nPid)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED>(mirovan::set_priority,
                                                                        nPriority, nPid);
}
