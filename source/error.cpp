#include "source/error.h"

extern "C"
{
    bool Mirovan_IsErrorOccur = false;
    uint64_t Mirovan_dwErrorCode = 0;
}

namespace
{

struct ThreadError
{
    bool occurred;
    int system_errno;
    uint64_t code;
};

thread_local ThreadError thread_error{};

} // namespace

namespace mirovan
{

// The two process-wide variables are plain ones for those who read them; in here every access is
// atomic, so that threads that fail at the same time do not race.

void clear_error() noexcept
{
    __atomic_store_n(&Mirovan_IsErrorOccur, false, __ATOMIC_RELAXED);
    thread_error.occurred = false;
}

bool fail(ErrorCode code, int system_errno) noexcept
{
    __atomic_store_n(&Mirovan_dwErrorCode, static_cast<uint64_t>(code), __ATOMIC_RELAXED);
    __atomic_store_n(&Mirovan_IsErrorOccur, true, __ATOMIC_RELAXED);
    thread_error = {true, system_errno, code};
    errno = system_errno;
    return false;
}

} // namespace mirovan

uint64_t Mirovan_GetLastError(int* pnSysErrno)
{
    if (pnSysErrno != nullptr)
        *pnSysErrno = errno;
    return __atomic_load_n(&Mirovan_dwErrorCode, __ATOMIC_RELAXED);
}

uint64_t Mirovan_GetThreadError(bool* pbErrorOccur, int* pnSysErrno)
{
    if (pbErrorOccur != nullptr)
        *pbErrorOccur = thread_error.occurred;
    if (pnSysErrno != nullptr)
        *pnSysErrno = thread_error.system_errno;
    return thread_error.code;
}

const char* Mirovan_GetErrorText(uint64_t dwCode)
{
    switch (dwCode)
    {
    case 0:
        return "No error: nothing has failed yet.";
#define MIROVAN_ERROR_TEXT(value, name, text)                                                      \
    case value:                                                                                    \
        return #name ": " text;
        MIROVAN_ERROR_MAP(MIROVAN_ERROR_TEXT)
#undef MIROVAN_ERROR_TEXT
    default:
        return "Unknown: this value is no error code of mirovan.";
    }
}

const char* Mirovan_GetVersion(void)
{
    return MIROVAN_VERSION;
}
