#pragma once

#include <cerrno>
#include <mach/error.h>
#include <mach/mach.h>

namespace mirovan
{

/// The port of the host; released by the destructor.
class HostPort
{
public:
    HostPort() = default;
    ~HostPort() { mach_port_deallocate(mach_task_self(), port_); }
    HostPort(const HostPort&) = delete;
    HostPort& operator=(const HostPort&) = delete;

    [[nodiscard]] mach_port_t get() const { return port_; }

private:
    mach_port_t port_ = mach_host_self();
};

/// The errno for the result of a failed call of the host: such calls leave errno alone.
inline int errno_of(kern_return_t result) noexcept
{
    constexpr int errno_bits = code_emask;
    if ((result & ~errno_bits) == unix_err(0))
        return result & errno_bits;
    switch (result)
    {
    case KERN_INVALID_ARGUMENT:
        return EINVAL;
    case KERN_RESOURCE_SHORTAGE:
        return ENOMEM;
    default:
        return EIO;
    }
}

} // namespace mirovan
