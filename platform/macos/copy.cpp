#include "platform/copy.h"

#include <cerrno>
#include <copyfile.h>
#include <fcntl.h>
#include <sys/clonefile.h>
#include <unistd.h>

namespace mirovan::platform
{
namespace
{

struct Bound
{
    int source;
    off_t size;
};

/// Ends a copy that has gone beyond its bound.
int check(int /*what*/, int /*stage*/, copyfile_state_t state, const char* /*from*/,
          const char* /*to*/, void* context)
{
    auto& bound = *static_cast<Bound*>(context);
    struct stat status = {};
    // A file that was empty and has grown since has a size after all.
    if (bound.size == 0 && fstat(bound.source, &status) == 0)
        bound.size = status.st_size;
    off_t copied = 0;
    const bool beyond = bound.size != 0 &&
                        copyfile_state_get(state, COPYFILE_STATE_COPIED, &copied) == 0 &&
                        copied > bound.size;
    return beyond ? COPYFILE_QUIT : COPYFILE_CONTINUE;
}

} // namespace

bool clone_file(int source, const struct stat& status, const char* path)
{
    // A clone has all mode bits and all flags, one of which is that nobody may change it.
    constexpr mode_t copied_mode_bits = 0777;
    return (status.st_mode & ALLPERMS & ~copied_mode_bits) == 0 && status.st_flags == 0 &&
           fclonefileat(source, AT_FDCWD, path, CLONE_NOFOLLOW | CLONE_NOOWNERCOPY) == 0;
}

bool copy_content(int from, int to)
{
    struct stat status = {};
    if (fstat(from, &status) != 0)
        return false;
    Bound bound{from, status.st_size};
    copyfile_state_t state = copyfile_state_alloc();
    if (state == nullptr)
        return false;
    copyfile_state_set(state, COPYFILE_STATE_STATUS_CB, reinterpret_cast<const void*>(check));
    copyfile_state_set(state, COPYFILE_STATE_STATUS_CTX, &bound);
    // Its holes too, where both volumes know holes.
    const bool whole = fcopyfile(from, to, state, COPYFILE_DATA | COPYFILE_DATA_SPARSE) == 0;
    const int reason = errno;
    copyfile_state_free(state);
    errno = reason;
    if (!whole && reason != ECANCELED)
        return false;
    return bound.size == 0 || (fstat(to, &status) == 0 &&
                               (status.st_size <= bound.size || ftruncate(to, bound.size) == 0));
}

} // namespace mirovan::platform
