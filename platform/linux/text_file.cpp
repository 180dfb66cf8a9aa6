#include "platform/linux/text_file.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace mirovan::platform
{
namespace
{

class Descriptor
{
public:
    explicit Descriptor(int number) : number_{number} {}
    ~Descriptor()
    {
        const int kept = errno;
        if (number_ >= 0)
            close(number_);
        errno = kept;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return number_; }

private:
    int number_;
};

int open_retrying(const char* path)
{
    int number = -1;
    do
        number = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    while (number < 0 && errno == EINTR);
    return number;
}

} // namespace

std::optional<std::string> read_text_file(const char* path)
{
    const Descriptor file{open_retrying(path)};
    if (file.get() < 0)
        return std::nullopt;
    constexpr std::size_t step = 16384;
    std::string text;
    std::size_t length = 0;
    for (;;)
    {
        if (text.size() - length < step)
            text.resize(length + 2 * step);
        const ssize_t got = read(file.get(), text.data() + length, text.size() - length);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return std::nullopt;
        if (got == 0)
            break;
        length += static_cast<std::size_t>(got);
    }
    text.resize(length);
    return text;
}

} // namespace mirovan::platform
