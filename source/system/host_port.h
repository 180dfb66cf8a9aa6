#pragma once

#include <mach/mach.h>

namespace mirovan
{

/// The host's port; each one that is asked for is to be given back.
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

} // namespace mirovan
