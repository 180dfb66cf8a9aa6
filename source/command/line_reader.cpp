#include "source/command/line_reader.h"

#include <cerrno>
#include <unistd.h>

namespace mirovan
{

LineReader::LineReader(int descriptor, std::size_t chunk_limit)
    : descriptor_{descriptor}, chunk_limit_{chunk_limit},
      block_{std::make_unique<char[]>(block_size + 1)}, begin_{block_.get()}, end_{begin_}
{
}

std::string_view LineReader::next_block(bool& ended)
{
    *begin_ = saved_byte_;
    if (begin_ == end_)
        read_more();
    const std::string_view available{begin_, static_cast<std::size_t>(end_ - begin_)};
    const std::size_t last_newline = available.rfind('\n');
    if (has_nul_ || last_newline == std::string_view::npos)
    {
        saved_byte_ = *begin_;
        return next(ended);
    }
    ended = false;
    return take(begin_ + last_newline + 1);
}

bool LineReader::read_more()
{
    const auto kept = static_cast<std::size_t>(end_ - begin_);
    if (begin_ != block_.get())
        std::memmove(block_.get(), begin_, kept);
    begin_ = block_.get();
    end_ = begin_ + kept;
    if (kept == 0)
        has_nul_ = false;
    ssize_t got = 0;
    do
        got = read(descriptor_, end_, block_size - kept);
    while (got < 0 && errno == EINTR);
    if (got < 0)
        error_ = errno;
    if (got <= 0)
        return false;
    has_nul_ = has_nul_ || std::memchr(end_, '\0', static_cast<std::size_t>(got)) != nullptr;
    end_ += got;
    return true;
}

} // namespace mirovan
