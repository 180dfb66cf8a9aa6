#include "platform/process_end.h"

#include <csignal>
#include <cstdint>
#include <sys/ioctl.h>
#include <sys/syscall.h>

namespace mirovan::platform
{
namespace
{

// C libraries declare these calls only where they are newer than the oldest one that is supported.
#ifndef SYS_pidfd_open
constexpr long SYS_pidfd_open = 434;
#endif
#ifndef SYS_pidfd_send_signal
constexpr long SYS_pidfd_send_signal = 424;
#endif

/// The first release of the kernel's record of a process behind a descriptor.
struct ProcessInfo
{
    std::uint64_t mask;
    std::uint64_t cgroup;
    std::uint32_t ids[11];
    std::int32_t exit_code;
};
static_assert(sizeof(ProcessInfo) == 64);

/// kill() by a descriptor; by the id where the kernel cannot.
int send(const Descriptor& end, unsigned flags, pid_t target, int number)
{
    if (end && syscall(SYS_pidfd_send_signal, end.get(), number, nullptr, flags) == 0)
        return 0;
    const bool unsupported = !end || errno == ENOSYS || errno == EINVAL || errno == EPERM;
    if (unsupported && kill(target, number) == 0)
        return 0;
    return errno;
}

} // namespace

Descriptor open_process_end(pid_t process)
{
    return Descriptor{static_cast<int>(syscall(SYS_pidfd_open, process, 0))};
}

int signal_process(const Descriptor& end, pid_t process, int number)
{
    return send(end, 0, process, number);
}

int signal_group(const Descriptor& end, pid_t process, int number)
{
    constexpr unsigned whole_group = 1U << 2U;
    return send(end, whole_group, -process, number);
}

std::optional<int> status_of_reaped(const Descriptor& end)
{
    constexpr std::uint64_t exit_known = 1U << 3U;
    ProcessInfo info{};
    info.mask = exit_known;
    if (end && ioctl(end.get(), _IOWR(0xFF, 11, ProcessInfo), &info) == 0 &&
        (info.mask & exit_known) != 0)
        return info.exit_code;
    return std::nullopt;
}

} // namespace mirovan::platform
