#pragma once

#include "source/error.h"

#include <new>
#include <pthread.h>
#include <system_error>
#include <utility>

namespace mirovan
{

/// Keeps pthread_cancel() from ending the thread inside an operation, where what the operation
/// holds would be lost: a cancellation takes effect at the caller's next cancellation point.
class CancellationDisabled
{
public:
    CancellationDisabled() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &saved_); }
    ~CancellationDisabled() { pthread_setcancelstate(saved_, nullptr); }
    CancellationDisabled(const CancellationDisabled&) = delete;
    CancellationDisabled& operator=(const CancellationDisabled&) = delete;

private:
    int saved_ = PTHREAD_CANCEL_ENABLE;
};

/// The frame of an operation whose exceptions reach the caller: clears the flag, then calls the
/// function.
template <class Function, class... Arguments>
bool throwing_operation(Function&& function, Arguments&&... arguments)
{
    const CancellationDisabled uncancelled;
    clear_error();
    return std::forward<Function>(function)(std::forward<Arguments>(arguments)...);
}

/// The frame of every other operation: what the function throws becomes a failure with the code
/// `Nearest`, so that no exception reaches the C interface.
template <ErrorCode Nearest, class Function, class... Arguments>
bool operation(Function&& function, Arguments&&... arguments) noexcept
{
    try
    {
        return throwing_operation(std::forward<Function>(function),
                                  std::forward<Arguments>(arguments)...);
    }
    catch (const std::bad_alloc&)
    {
        return fail(Nearest, ENOMEM);
    }
    catch (const std::system_error& error)
    {
        return fail(Nearest, error.code().value());
    }
    catch (...) // GCOVR_EXCL_LINE: guard
    {
        return fail(Nearest, EINVAL); // GCOVR_EXCL_LINE: guard
    }
}

/// The frame of an operation that calls a function of its caller: after a success the flag is the
/// operation's own, whatever the function's own calls of the library left.
template <ErrorCode Nearest, class Function, class... Arguments>
bool calling_operation(Function&& function, Arguments&&... arguments) noexcept
{
    const bool success =
        operation<Nearest>(std::forward<Function>(function), std::forward<Arguments>(arguments)...);
    if (success)
        clear_error();
    return success;
}

} // namespace mirovan
