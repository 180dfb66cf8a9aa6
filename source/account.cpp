#include "source/account.h"

#include <cerrno>
#include <pwd.h>

namespace mirovan
{

std::optional<std::string> login_name(uid_t user)
{
    constexpr std::size_t first_room = 1024;
    constexpr std::size_t most_room = std::size_t{1} << 20U;
    std::string texts(first_room, '\0');
    passwd record{};
    passwd* found = nullptr;
    int error = 0;
    for (;;)
    {
        error = getpwuid_r(user, &record, texts.data(), texts.size(), &found);
        if (error == ERANGE && texts.size() < most_room)
            texts.resize(2 * texts.size());
        else if (error != EINTR)
            break;
    }
    if (found != nullptr)
        return found->pw_name;
    errno = error == 0 ? ENOENT : error;
    return std::nullopt;
}

} // namespace mirovan
