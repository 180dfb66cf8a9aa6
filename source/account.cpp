#include "source/account.h"

#include <cerrno>
#include <pwd.h>

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

} // namespace

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
