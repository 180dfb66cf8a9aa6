#pragma once

#include <cerrno>
#include <unistd.h>

namespace mirovan::platform
{

/// Closes what it holds, and leaves errno as it was.
class OwnedDescriptor
{
public:
    explicit OwnedDescriptor(int descriptor) : descriptor_{descriptor} {}
    ~OwnedDescriptor()
    {
        const int kept = errno;
        if (descriptor_ >= 0)
            close(descriptor_);
        errno = kept;
    }
    OwnedDescriptor(const OwnedDescriptor&) = delete;
    OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;

    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }

private:
    int descriptor_;
};

} // namespace mirovan::platform
