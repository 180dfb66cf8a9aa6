#include "platform/spawn.h"

#include <cstdlib>
#include <dirent.h>

namespace mirovan::platform
{

bool open_pipe(Descriptor& reading, Descriptor& writing)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return false;
    reading = Descriptor{ends[0]};
    writing = Descriptor{ends[1]};
    return true;
}

int spawn(pid_t& child, const char* program, bool on_path,
          const posix_spawn_file_actions_t& actions, const posix_spawnattr_t& attributes,
          char* const* arguments, char* const* environment)
{
    return on_path ? posix_spawnp(&child, program, &actions, &attributes, arguments, environment)
                   : posix_spawn(&child, program, &actions, &attributes, arguments, environment);
}

char* const* environment()
{
    return environ;
}

int inherit_streams_alone(posix_spawn_file_actions_t& actions, short& /*flags*/)
{
    constexpr int first = 3;
#ifdef __GLIBC__
    return posix_spawn_file_actions_addclosefrom_np(&actions, first);
#else
    // Other C libraries have no such action. One that closes what is closed already does no harm.
    DIR* const folder = opendir("/proc/self/fd");
    if (folder == nullptr)
        return errno;
    int error = 0;
    while (const dirent* entry = readdir(folder))
        if (const int number = std::atoi(entry->d_name);
            error == 0 && number >= first && number != dirfd(folder))
            error = posix_spawn_file_actions_addclose(&actions, number);
    closedir(folder);
    return error;
#endif
}

} // namespace mirovan::platform
