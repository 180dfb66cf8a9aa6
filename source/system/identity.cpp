#include "base/string.h"
#include "source/operation.h"
#include "source/system/account.h"

#include <CoreGraphics/CoreGraphics.h>
#include <cstdlib>
#include <cstring>
#include <sys/utsname.h>
#include <unistd.h>

namespace
{

using namespace mirovan;

// Room that a caller gives, as the header states it.
constexpr std::size_t name_room = 256;
constexpr std::size_t host_room = 1024;

/// The home platform's name for the release, and its kind; programs that ask compare with these.
constexpr char code_name[] = "ventura";
constexpr unsigned long system_type = 2;

// What cannot be told is an empty text: these two never fail.

void query_login_name(std::span<char> name) noexcept
try
{
    name.front() = '\0';
    copy_cut(name, login_name(geteuid()).value_or(""));
}
catch (const std::bad_alloc&)
{
    return;
}

/// A name that fills the buffer comes without a terminator.
void query_host_name(std::span<char> name) noexcept
{
    if (gethostname(name.data(), name.size()) != 0)
        name.front() = '\0';
    name.back() = '\0';
}

} // namespace

bool CMirovan_System::Mirovan_System_GetSystemVer(char* lpszSysName, char* lpszSysVersion,
                                                  char* lpszSysCodeName, unsigned long* pnSysType,
                                                  char* lpszSysRelease)
{
    clear_error();
    if (lpszSysName == nullptr || lpszSysVersion == nullptr || lpszSysCodeName == nullptr ||
        pnSysType == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    utsname system{};
    // Success is any value but a negative one: some systems return more than 0.
    if (uname(&system) < 0)
        return fail(ERROR_MIROVAN_SYSTEM_QUERY_FAILED, errno);
    if (lpszSysRelease != nullptr)
        copy_cut({lpszSysRelease, name_room}, system.release);
    *pnSysType = system_type;
    copy_cut({lpszSysName, name_room}, system.sysname);
    copy_cut({lpszSysVersion, name_room}, system.release);
    std::memcpy(lpszSysCodeName, code_name, sizeof code_name);
    return true;
}

bool CMirovan_System::Mirovan_System_GetSysName(char* lpszUserName, char* lpszHostName)
{
    clear_error();
    if (lpszUserName != nullptr)
        query_login_name({lpszUserName, name_room});
    if (lpszHostName != nullptr)
        query_host_name({lpszHostName, host_room});
    return true;
}

bool CMirovan_System::Mirovan_System_GetScreen(int* pnWidth, int* pnHeight)
{
    clear_error();
    if (pnWidth == nullptr || pnHeight == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    const CGDirectDisplayID display = CGMainDisplayID();
    *pnWidth = static_cast<int>(CGDisplayPixelsWide(display));
    *pnHeight = static_cast<int>(CGDisplayPixelsHigh(display));
    return true;
}

bool CMirovan_System::Mirovan_System_GetLanguage(char* lpszLanguage)
{
    clear_error();
    if (lpszLanguage == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    const char* language = std::getenv("LANG");
    if (language == nullptr)
        *lpszLanguage = '\0';
    else
        std::memcpy(lpszLanguage, language, std::strlen(language) + 1);
    return true;
}

bool CMirovan_System::Mirovan_System_WMIQuery(const char* /*lpszQuery*/, const char* /*lpszKey*/,
                                              char* /*lpszQueryResult*/, int /*nQueryResultSize*/)
{
    clear_error();
    return true;
}
