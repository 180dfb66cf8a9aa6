#pragma once

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace mirovan
{

/// Owns a descriptor; closing it leaves errno as it was.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int number) noexcept : number_{number} {}
    Descriptor(Descriptor&& other) noexcept : number_{other.release()} {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    ~Descriptor()
    {
        const int saved_errno = errno;
        if (number_ >= 0)
            close(number_);
        errno = saved_errno;
    }

    explicit operator bool() const noexcept { return number_ >= 0; }
    int get() const noexcept { return number_; }
    int release() noexcept { return std::exchange(number_, -1); }

private:
    int number_ = -1;
};

/// openat() for this process alone: no child inherits the descriptor.
inline Descriptor open_at(int folder, const char* path, int flags, mode_t mode = 0)
{
    int number = -1;
    do
        number = openat(folder, path, flags | O_CLOEXEC, mode);
    while (number < 0 && errno == EINTR);
    return Descriptor{number};
}

inline Descriptor open_file(const char* path, int flags, mode_t mode = 0)
{
    return open_at(AT_FDCWD, path, flags, mode);
}

} // namespace mirovan
