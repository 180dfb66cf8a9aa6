#include "source/process/piece_reader.h"

#include <algorithm>
#include <cstring>
#include <unistd.h>

namespace mirovan
{

PieceReader::PieceReader(int descriptor, std::size_t piece_limit)
    : descriptor_{descriptor}, piece_limit_{piece_limit}, block_{std::make_unique<char[]>(
                                                              block_size + 1)}
{
}

std::string_view PieceReader::next(bool& ended)
{
    restore_byte_behind_piece();
    ended = false;
    for (;;)
    {
        const std::size_t reach = std::min(piece_limit_, end_ - begin_);
        const char* start = block_.get() + begin_;
        const auto* newline = static_cast<const char*>(std::memchr(start, '\n', reach));
        if (newline != nullptr)
            return take(static_cast<std::size_t>(newline - start) + 1);
        if (reach == piece_limit_)
            return take(piece_limit_);
        if (!read_more())
        {
            ended = begin_ == end_;
            return take(end_ - begin_);
        }
    }
}

std::string_view PieceReader::take(std::size_t length)
{
    const char* start = block_.get() + begin_;
    begin_ += length;
    byte_behind_piece_ = block_[begin_];
    block_[begin_] = '\0';
    return {start, strnlen(start, length)};
}

bool PieceReader::read_more()
{
    if (begin_ != 0)
    {
        std::memmove(block_.get(), block_.get() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    ssize_t got = 0;
    do
        got = read(descriptor_, block_.get() + end_, block_size - end_);
    while (got < 0 && errno == EINTR);
    if (got < 0)
        error_ = errno;
    else
        end_ += static_cast<std::size_t>(got);
    return got > 0;
}

} // namespace mirovan
