#pragma once

#include "base/descriptor.h"

#include <cstdio>
#include <memory>
#include <string_view>

namespace mirovan
{

struct CloseStream
{
    void operator()(std::FILE* stream) const
    {
        const int saved_errno = errno;
        static_cast<void>(std::fclose(stream));
        errno = saved_errno;
    }
};

using Stream = std::unique_ptr<std::FILE, CloseStream>;

/// Creates a file, or empties the one that is there. Null, with errno set, on failure.
///
/// The stream has no buffer of its own: a full disk shows in the write itself, not when the stream
/// is closed, and nothing is copied on its way.
inline Stream open_for_writing(const char* path)
{
    Descriptor file = open_file(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    Stream stream{file ? fdopen(file.get(), "wb") : nullptr};
    if (stream)
    {
        file.release();
        static_cast<void>(std::setvbuf(stream.get(), nullptr, _IONBF, 0));
    }
    return stream;
}

/// Writes until nothing is left or nothing moves any more; false, with errno set, in that case.
inline bool write_all(std::FILE* stream, std::string_view bytes)
{
    do
    {
        errno = 0;
        const std::size_t moved = std::fwrite(bytes.data(), 1, bytes.size(), stream);
        if (moved == 0 && !bytes.empty() && errno != EINTR)
            return false;
        bytes.remove_prefix(moved);
    } while (!bytes.empty());
    return true;
}

} // namespace mirovan
