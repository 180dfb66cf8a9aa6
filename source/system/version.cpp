#include "base/string.h"
#include "source/operation.h"

#include <cstring>
#include <sys/utsname.h>

namespace
{

using namespace mirovan;

/// Capacity of a caller's buffer for a name, as the header states it.
constexpr std::size_t name_capacity = 256;

/// The name of the release on macOS, and its kind; programs that ask compare with these.
constexpr char code_name[] = "ventura";
constexpr unsigned long system_type = 2;

bool get_version(char* name, char* version, char* code, unsigned long* type, char* release)
{
    if (name == nullptr || version == nullptr || code == nullptr || type == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    utsname system{};
    // Success is any value but a negative one: some systems return more than 0.
    if (uname(&system) < 0)
        return fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, errno);
    if (release != nullptr)
        copy_cut({release, name_capacity}, system.release);
    *type = system_type;
    copy_cut({name, name_capacity}, system.sysname);
    copy_cut({version, name_capacity}, system.release);
    std::memcpy(code, code_name, sizeof code_name);
    return true;
}

} // namespace

bool CMirovan_System::Mirovan_System_GetSystemVer(char* lpszSysName, char* lpszSysVersion,
                                                  char* lpszSysCodeName, unsigned long* pnSysType,
                                                  char* lpszSysRelease)
{
    return operation<ERROR_MIROVAN_SYSTEM_QUERY_FAILED>(get_version, lpszSysName, lpszSysVersion,
                                                        lpszSysCodeName, pnSysType, lpszSysRelease);
}
