#pragma once

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace mirovan
{

/// Keeps errno over a clean-up that may change it.
class ErrnoKeeper
{
public:
    ErrnoKeeper() = default;
    ~ErrnoKeeper() { errno = saved_errno_; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

private:
    int saved_errno_ = errno;
};

/// The deleter of a handle with a closing function of its own, which leaves errno as it was.
template <auto Close>
struct Closer
{
    template <class Handle>
    void operator()(Handle* handle) const
    {
        const ErrnoKeeper keeper;
        static_cast<void>(Close(handle));
    }
};

/// Owns a file descriptor; its destruction leaves errno as it was.
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
        const ErrnoKeeper keeper;
        if (number_ >= 0)
            ::close(number_);
    }

    explicit operator bool() const noexcept { return number_ >= 0; }
    int get() const noexcept { return number_; }
    int release() noexcept { return std::exchange(number_, -1); }

    /// Closes it now. False, with errno set, when the system reports that something written before
    /// was lost.
    bool close() noexcept { return ::close(release()) == 0; }

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

/// Writes all bytes, with at least one call. False, with errno set, when the rest cannot be
/// written.
inline bool write_all(int descriptor, std::string_view bytes)
{
    do
    {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return false;
        if (written == 0 && !bytes.empty())
        {
            errno = EIO;  // GCOVR_EXCL_LINE: machine
            return false; // GCOVR_EXCL_LINE: machine
        }
        if (written > 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
    } while (!bytes.empty());
    return true;
}

} // namespace mirovan
