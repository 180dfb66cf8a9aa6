#include "platform/copy.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <unistd.h>

namespace mirovan::platform
{
namespace
{

constexpr std::size_t buffer_size = std::size_t{256} * 1024;

/// Has the kernel copy; returns how much it did. Whatever keeps it from going on (another kind of
/// volume, an old kernel, a file that the kernel makes while it is read) is left to reading and
/// writing, which succeeds or sets the errno of the cause.
off_t copy_in_kernel(int from, int to, off_t size)
{
    off_t done = 0;
    while (done < size)
    {
        const ssize_t moved =
            copy_file_range(from, nullptr, to, nullptr, static_cast<std::size_t>(size - done), 0);
        if (moved > 0)
            done += moved;
        else if (moved == 0 || errno != EINTR)
            break;
    }
    return done;
}

bool write_all(int to, const char* bytes, std::size_t size)
{
    while (size != 0)
    {
        const ssize_t moved = write(to, bytes, size);
        if (moved < 0 && errno != EINTR)
            return false;
        const auto written = static_cast<std::size_t>(std::max<ssize_t>(moved, 0));
        bytes += written;
        size -= written;
    }
    return true;
}

/// Copies to the end of the file, or as much as the file holds beyond what was done already when
/// its size is known. The size of a file that the kernel makes while it is read is 0 and stays 0.
bool copy_by_hand(int from, int to, off_t size, off_t done)
{
    const std::unique_ptr<char[]> buffer{new (std::nothrow) char[buffer_size]};
    if (!buffer)
        return false;
    while (size == 0 || done < size)
    {
        const std::size_t room =
            size == 0 ? buffer_size
                      : static_cast<std::size_t>(std::min<off_t>(size - done, buffer_size));
        const ssize_t moved = read(from, buffer.get(), room);
        if (moved == 0)
            return true;
        if (moved < 0 && errno == EINTR)
            continue;
        if (moved < 0 || !write_all(to, buffer.get(), static_cast<std::size_t>(moved)))
            return false;
        done += moved;
        // A file that was empty and has grown since has a size after all.
        struct stat status
        {
        };
        if (size == 0 && fstat(from, &status) == 0)
            size = status.st_size;
    }
    return true;
}

} // namespace

bool clone_file(int /*source*/, const struct stat& /*status*/, const char* /*path*/)
{
    return false; // Copying in the kernel shares the content already, where it can be shared.
}

bool copy_content(int from, int to)
{
    struct stat status = {};
    if (fstat(from, &status) != 0)
        return false;
    const off_t done = copy_in_kernel(from, to, status.st_size);
    const bool complete = status.st_size != 0 && done == status.st_size;
    return complete || copy_by_hand(from, to, status.st_size, done);
}

} // namespace mirovan::platform
