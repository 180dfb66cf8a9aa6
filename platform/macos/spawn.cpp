#include "platform/spawn.h"

#include <crt_externs.h>
#include <pthread.h>

namespace mirovan::platform
{
namespace
{

// There is no pipe2(): no program may start between the creation of a pipe and setting its
// flags.
pthread_rwlock_t pipes_complete = PTHREAD_RWLOCK_INITIALIZER;

} // namespace

bool open_pipe(Descriptor& reading, Descriptor& writing)
{
    int ends[2];
    pthread_rwlock_wrlock(&pipes_complete);
    const bool made = pipe(ends) == 0;
    if (made)
    {
        fcntl(ends[0], F_SETFD, FD_CLOEXEC);
        fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    }
    const int saved_errno = errno;
    pthread_rwlock_unlock(&pipes_complete);
    errno = saved_errno;
    if (!made)
        return false;
    reading = Descriptor{ends[0]};
    writing = Descriptor{ends[1]};
    return true;
}

int spawn(pid_t& child, const char* program, bool on_path,
          const posix_spawn_file_actions_t& actions, const posix_spawnattr_t& attributes,
          char* const* arguments, char* const* environment)
{
    pthread_rwlock_rdlock(&pipes_complete);
    const int error =
        on_path ? posix_spawnp(&child, program, &actions, &attributes, arguments, environment)
                : posix_spawn(&child, program, &actions, &attributes, arguments, environment);
    pthread_rwlock_unlock(&pipes_complete);
    return error;
}

char* const* environment()
{
    return *_NSGetEnviron(); // A library has no environ of its own.
}

int inherit_streams_alone(posix_spawn_file_actions_t& actions, short& flags)
{
    flags = static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT);
    int error = 0;
    for (int stream = 0; error == 0 && stream < 3; ++stream)
        if (fcntl(stream, F_GETFD) >= 0)
            error = posix_spawn_file_actions_addinherit_np(&actions, stream);
    return error;
}

} // namespace mirovan::platform
