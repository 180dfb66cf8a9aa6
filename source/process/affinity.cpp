#include "source/operation.h"

#include <mach/mach.h>
#include <mach/thread_policy.h>
#include <pthread.h>

namespace mirovan
{
namespace
{

int errno_of(kern_return_t result)
{
    switch (result)
    {
    case KERN_INVALID_ARGUMENT:
    case KERN_TERMINATED:
    case MACH_SEND_INVALID_DEST:
        return EINVAL;
    case KERN_RESOURCE_SHORTAGE:
        return ENOMEM;
    default:            // GCOVR_EXCL_LINE: interface
        return ENOTSUP; // GCOVR_EXCL_LINE: interface
    }
}

bool set_tag(pthread_t handle, unsigned long tag)
{
    thread_affinity_policy_data_t policy{static_cast<integer_t>(tag)};
    const kern_return_t result =
        thread_policy_set(pthread_mach_thread_np(handle), THREAD_AFFINITY_POLICY,
                          &policy.affinity_tag, THREAD_AFFINITY_POLICY_COUNT);
    if (result != KERN_SUCCESS)
        return fail(ERROR_MIROVAN_PROCESS_SETCPU_FAILED, errno_of(result));
    return true;
}

bool get_tag(pthread_t handle, unsigned long* tag)
{
    if (tag == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    thread_affinity_policy_data_t policy{THREAD_AFFINITY_TAG_NULL};
    mach_msg_type_number_t count = THREAD_AFFINITY_POLICY_COUNT;
    boolean_t get_default = false;
    const kern_return_t result =
        thread_policy_get(pthread_mach_thread_np(handle), THREAD_AFFINITY_POLICY,
                          &policy.affinity_tag, &count, &get_default);
    if (result != KERN_SUCCESS)
        return fail(ERROR_MIROVAN_PROCESS_GET_FAILED, errno_of(result));
    *tag = static_cast<unsigned long>(static_cast<long>(policy.affinity_tag));
    return true;
}

} // namespace
} // namespace mirovan

bool CMirovan_Process::Mirovan_Process_SetProcessForCpu(pthread_t hThread, unsigned long nCpuTag)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_SETCPU_FAILED>(mirovan::set_tag, hThread,
                                                                   nCpuTag);
}

bool CMirovan_Process::Mirovan_Process_GetProcessForCpu(pthread_t hThread, unsigned long* pnCpuTag)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_GET_FAILED>(mirovan::get_tag, hThread,
                                                                pnCpuTag);
}
