#include "tests/support/support.h"

#include <cerrno>
#include <cstring>

namespace test
{

testing::AssertionResult failed_with(bool result, uint64_t code, int system_errno)
{
    int current_errno = errno;
    int asked_errno = 0;
    const uint64_t process_code = Mirovan_GetLastError(&asked_errno);
    bool thread_failed = false;
    int thread_errno = 0;
    const uint64_t thread_code = Mirovan_GetThreadError(&thread_failed, &thread_errno);
    if (!result && Mirovan_IsErrorOccur && Mirovan_dwErrorCode == code && process_code == code &&
        thread_failed && thread_code == code && asked_errno == current_errno &&
        thread_errno == current_errno && (system_errno == 0 || system_errno == current_errno))
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "result " << result << ", flag " << Mirovan_IsErrorOccur << '/' << thread_failed
           << ", code " << Mirovan_GetErrorText(process_code) << " / "
           << Mirovan_GetErrorText(thread_code) << ", errno " << std::strerror(current_errno)
           << " / " << std::strerror(thread_errno);
}

testing::AssertionResult succeeded(bool result)
{
    const int current_errno = errno;
    bool thread_failed = true;
    const uint64_t code = Mirovan_GetThreadError(&thread_failed, nullptr);
    if (result && !Mirovan_IsErrorOccur && !thread_failed)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "result " << result << ", flag " << Mirovan_IsErrorOccur << '/' << thread_failed
           << ", code " << Mirovan_GetErrorText(code) << ", errno " << std::strerror(current_errno);
}

} // namespace test
