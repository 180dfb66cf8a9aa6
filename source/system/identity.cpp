#include "platform/host.h"
#include "source/operation.h"
#include "source/sized_record.h"
#include "source/system/processors.h"

#include <sys/sysctl.h>
#include <sys/time.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace
{

using namespace mirovan;

/// When the system started, in nanoseconds since 1970. It stays the same from call to call, until
/// somebody sets the clock.
std::optional<std::int64_t> start_time()
{
    int name[] = {CTL_KERN, KERN_BOOTTIME};
    timeval start{};
    std::size_t size = sizeof start;
    if (sysctl(name, 2, &start, &size, nullptr, 0) != 0)
        return std::nullopt;
    constexpr std::int64_t microseconds = 1'000'000;
    constexpr std::int64_t nanoseconds = 1'000;
    return (std::int64_t{start.tv_sec} * microseconds + start.tv_usec) * nanoseconds;
}

bool get_identity(MIROVAN_IDENTITY* record)
{
    if (!is_sized(record))
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    utsname kernel{};
    if (uname(&kernel) < 0)
        return fail(ERROR_MIROVAN_SYSTEM_IDENTITY_FAILED, errno);
    const platform::SystemName system = platform::system_name();
    auto identity = make_sized<MIROVAN_IDENTITY>();
    set_known(identity, MIROVAN_IDENTITY_KNOWN_SYSTEM_NAME, identity.tszSystemName, system.name);
    set_known(identity, MIROVAN_IDENTITY_KNOWN_SYSTEM_VERSION, identity.tszSystemVersion,
              system.version);
    set_known(identity, MIROVAN_IDENTITY_KNOWN_KERNEL_NAME, identity.tszKernelName, kernel.sysname);
    set_known(identity, MIROVAN_IDENTITY_KNOWN_KERNEL_VERSION, identity.tszKernelVersion,
              kernel.release);
    set_known(identity, MIROVAN_IDENTITY_KNOWN_ARCHITECTURE, identity.tszArchitecture,
              kernel.machine);
    set_known(identity, MIROVAN_IDENTITY_KNOWN_HOST_NAME, identity.tszHostName, kernel.nodename);
    set_known(identity, MIROVAN_IDENTITY_KNOWN_START_TIME, &MIROVAN_IDENTITY::nStartTime,
              start_time());
    set_known(identity, MIROVAN_IDENTITY_KNOWN_PAGE_SIZE, &MIROVAN_IDENTITY::nPageSize,
              std::optional{sysconf(_SC_PAGESIZE)});
    set_known(identity, MIROVAN_IDENTITY_KNOWN_PROCESSORS, &MIROVAN_IDENTITY::nProcessors,
              processor_count(HW_NCPU));
    set_known(identity, MIROVAN_IDENTITY_KNOWN_PROCESSORS_ONLINE,
              &MIROVAN_IDENTITY::nProcessorsOnline, processor_count(HW_AVAILCPU));
    set_known(identity, MIROVAN_IDENTITY_KNOWN_PROCESSORS_USABLE,
              &MIROVAN_IDENTITY::nProcessorsUsable, platform::usable_processors());
    give(identity, record);
    return true;
}

} // namespace

bool CMirovan_System::Mirovan_System_GetIdentity(MIROVAN_IDENTITY* pstIdentity)
{
    return operation<ERROR_MIROVAN_SYSTEM_IDENTITY_FAILED>(get_identity, pstIdentity);
}
