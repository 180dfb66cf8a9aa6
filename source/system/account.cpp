#include "source/system/account.h"

#include "base/string.h"
#include "source/operation.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <new>
#include <pwd.h>
#include <unistd.h>

namespace mirovan
{
namespace
{

/// Asks one of the account lookups, which want room for texts of unknown length. The record's texts
/// are in `texts`.
template <class Lookup>
bool find_account(Lookup lookup, passwd& record, std::string& texts)
{
    constexpr std::size_t first_room = 1024;
    constexpr std::size_t most_room = std::size_t{1} << 20U;
    texts.resize(first_room);
    passwd* found = nullptr;
    int error = 0;
    for (;;)
    {
        error = lookup(&record, texts.data(), texts.size(), &found);
        if (error == ERANGE && texts.size() < most_room)
            texts.resize(2 * texts.size());
        else if (error != EINTR)
            break;
    }
    errno = error == 0 ? ENOENT : error;
    return found != nullptr;
}

/// The last lookup of a thread. Needs no destructor: the library may be unloaded before the thread
/// ends.
struct RecentName
{
    uid_t user = 0;
    std::chrono::steady_clock::time_point end{};
    std::array<char, 256> name{};
};
thread_local RecentName recent;

} // namespace

std::optional<std::string> recent_login_name(uid_t user)
{
    const auto now = std::chrono::steady_clock::now();
    if (recent.user == user && now < recent.end)
        return recent.name.data();
    auto name = login_name(user);
    if (name && name->size() < recent.name.size())
    {
        copy_cut(recent.name, *name);
        recent.user = user;
        recent.end = now + std::chrono::seconds{1};
    }
    return name;
}

std::optional<std::string> login_name(uid_t user)
{
    passwd record{};
    std::string texts;
    if (!find_account([user](auto... room) { return getpwuid_r(user, room...); }, record, texts))
        return std::nullopt;
    return record.pw_name;
}

std::optional<uid_t> user_of(const std::string& name)
{
    passwd record{};
    std::string texts;
    if (!find_account([&](auto... room) { return getpwnam_r(name.c_str(), room...); }, record,
                      texts))
        return std::nullopt;
    return record.pw_uid;
}

} // namespace mirovan

namespace
{

using namespace mirovan;

// Capacities of a caller's buffers, as the header states them.
constexpr std::size_t name_capacity = 256;
constexpr std::size_t host_capacity = 1024;

// A name that is unavailable is an empty string: these two never fail.

void get_login_name(std::span<char> name) noexcept
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
void get_host_name(std::span<char> name) noexcept
{
    if (gethostname(name.data(), name.size()) != 0)
        name.front() = '\0';
    name.back() = '\0';
}

bool get_names(char* user, char* host)
{
    if (user != nullptr)
        get_login_name({user, name_capacity});
    if (host != nullptr)
        get_host_name({host, host_capacity});
    return true;
}

} // namespace

bool CMirovan_System::Mirovan_System_GetSysName(char* lpszUserName, char* lpszHostName)
{
    return operation<ERROR_MIROVAN_SYSTEM_QUERY_FAILED>(get_names, lpszUserName, lpszHostName);
}
