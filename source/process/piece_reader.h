#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string_view>

namespace mirovan
{

struct CloseCommand
{
    void operator()(std::FILE* stream) const
    {
        const int kept = errno;
        pclose(stream);
        errno = kept;
    }
};
using CommandStream = std::unique_ptr<std::FILE, CloseCommand>;

/// Cuts a command's output into pieces: each ends after a newline, at a given number of bytes or at
/// the end.
///
/// It reads the descriptor as far as data is there and no further: a reader that waits for a full
/// block would wait for background children of the shell, which hold the pipe open.
class PieceReader
{
public:
    /// @param piece_limit at most PieceReader::block_size
    PieceReader(int descriptor, std::size_t piece_limit);
    ~PieceReader() = default;
    PieceReader(const PieceReader&) = delete;
    PieceReader& operator=(const PieceReader&) = delete;

    /// The next piece, which a NUL follows until the next call; empty at the end of the output. A
    /// piece goes as far as its first NUL, as a C string does.
    ///
    /// Sets `ended` when there was none.
    std::string_view next(bool& ended);

    /// The errno that ended the reading before the end of the output; 0 when nothing did.
    int error() const { return error_; }

    static constexpr std::size_t block_size = 65536;

private:
    std::string_view take(std::size_t length);
    void restore_byte_behind_piece() { block_[begin_] = byte_behind_piece_; }
    bool read_more();

    int descriptor_;
    std::size_t piece_limit_;
    std::unique_ptr<char[]> block_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    char byte_behind_piece_ = '\0';
    int error_ = 0;
};

} // namespace mirovan
