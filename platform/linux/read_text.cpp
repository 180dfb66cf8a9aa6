#include "platform/linux/read_text.h"

#include "base/descriptor.h"

#include <fcntl.h>

namespace mirovan::platform
{
namespace
{

ssize_t read_some(int descriptor, char* buffer, std::size_t room)
{
    ssize_t got = 0;
    do
        got = read(descriptor, buffer, room);
    while (got < 0 && errno == EINTR);
    return got;
}

bool read_file(int file, std::string& text, bool in_one_piece)
{
    // Enough for most of them; the list of a process's groups is what can make one long.
    constexpr std::size_t first_room = 4096;
    constexpr std::size_t most = std::size_t{4} << 20U;

    std::size_t length = 0;
    text.resize(first_room);
    for (;;)
    {
        const ssize_t got = read_some(file, text.data() + length, text.size() - length);
        if (got < 0)
            return false;
        length += static_cast<std::size_t>(got);
        if (got == 0 || (in_one_piece && length < text.size()))
        {
            text.resize(length);
            return true;
        }
        if (length >= most)
        {
            errno = EFBIG; // GCOVR_EXCL_LINE: machine
            return false;  // GCOVR_EXCL_LINE: machine
        }
        if (length == text.size())
            text.resize(2 * length);
    }
}

bool read_file(const char* path, std::string& text, bool in_one_piece)
{
    text.clear();
    const Descriptor file = open_file(path, O_RDONLY);
    return file && read_file(file.get(), text, in_one_piece);
}

} // namespace

bool read_text(const char* path, std::string& text)
{
    return read_file(path, text, false);
}

bool read_one_piece(const char* path, std::string& text)
{
    return read_file(path, text, true);
}

} // namespace mirovan::platform
