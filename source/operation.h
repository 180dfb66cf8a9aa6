#pragma once

#include "source/error.h"

#include <new>
#include <system_error>
#include <utility>

namespace mirovan
{

/// Runs the body of an operation: clears the flag first, and turns whatever the body throws into a
/// failure with the operation's nearest code, so that no exception reaches the C interface.
template <class Body>
bool run_operation(ErrorCode nearest, Body&& body) noexcept
{
    clear_error();
    try
    {
        return std::forward<Body>(body)();
    }
    catch (const std::bad_alloc&)
    {
        return fail(nearest, ENOMEM);
    }
    catch (const std::system_error& error)
    {
        return fail(nearest, error.code().value());
    }
    catch (...)
    {
        return fail(nearest, EINVAL);
    }
}

} // namespace mirovan
