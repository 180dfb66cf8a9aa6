#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace mirovan
{

/// Splits the output of a command into chunks: each ends after a newline, at a given number of
/// bytes, or at the end of the output.
///
/// It reads the descriptor as far as data is available and no further: a reader that waits for a
/// full block would wait for background children of the shell, which hold the pipe open.
class LineReader
{
public:
    /// @param chunk_limit at most LineReader::block_size
    LineReader(int descriptor, std::size_t chunk_limit);
    ~LineReader() = default;
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    /// The next chunk, null-terminated until the next call; empty at the end of the output. A chunk
    /// reaches as far as its first NUL, as a C string does.
    ///
    /// Sets `ended` when there was none.
    std::string_view next(bool& ended)
    {
        *begin_ = saved_byte_;
        ended = false;
        for (;;)
        {
            const auto available = static_cast<std::size_t>(end_ - begin_);
            const std::size_t reach = available < chunk_limit_ ? available : chunk_limit_;
            const void* const newline = std::memchr(begin_, '\n', reach);
            if (newline != nullptr)
                return take(static_cast<const char*>(newline) + 1);
            if (reach == chunk_limit_)
                return take(begin_ + chunk_limit_);
            if (!read_more())
            {
                ended = begin_ == end_;
                return take(end_);
            }
        }
    }

    /// As next(), but as many chunks at once as are available; not null-terminated.
    std::string_view next_block(bool& ended);

    /// The errno that ended the reading before the end of the output; 0 when nothing did.
    int error() const { return error_; }

    static constexpr std::size_t block_size = 65536;

private:
    std::string_view take(const char* end)
    {
        const char* const start = begin_;
        const auto length = static_cast<std::size_t>(end - start);
        begin_ += length;
        saved_byte_ = *begin_;
        *begin_ = '\0';
        return {start, has_nul_ ? strnlen(start, length) : length};
    }
    bool read_more();

    int descriptor_;
    std::size_t chunk_limit_;
    std::unique_ptr<char[]> block_;
    char* begin_;
    char* end_;
    char saved_byte_ = '\0';
    bool has_nul_ = false; ///< Whether a NUL may be among what was read and not yet taken.
    int error_ = 0;
};

} // namespace mirovan
