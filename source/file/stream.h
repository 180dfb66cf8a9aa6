#pragma once

#include "base/descriptor.h"

#include <cstdio>
#include <memory>

namespace mirovan
{

struct CloseStream
{
    void operator()(std::FILE* stream) const
    {
        const int kept_errno = errno;
        std::fclose(stream);
        errno = kept_errno;
    }
};

using Stream = std::unique_ptr<std::FILE, CloseStream>;

/// Creates a file, or empties the one that is there. Null, with errno set, on failure.
inline Stream open_for_writing(const char* path)
{
    Descriptor file = open_file(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    Stream stream{file ? fdopen(file.get(), "wb") : nullptr};
    if (stream)
        file.release();
    return stream;
}

} // namespace mirovan
