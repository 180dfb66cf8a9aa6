#include "source/process/capture.h"

#include "base/string.h"
#include "platform/command_line.h"
#include "source/operation.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace mirovan
{
namespace
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

/// Cuts a command's output into pieces: each ends after a newline, at 2,047 bytes or at the end.
///
/// It reads the descriptor as far as data is there and no further: a reader that waits for a full
/// block would wait for background children of the shell, which hold the pipe open.
class PieceReader
{
public:
    explicit PieceReader(int descriptor)
        : descriptor_{descriptor}, block_{std::make_unique<char[]>(block_size + 1)}
    {
    }

    ~PieceReader() = default;
    PieceReader(const PieceReader&) = delete;
    PieceReader& operator=(const PieceReader&) = delete;

    /// The next piece, which a NUL follows until the next call; empty at the end of the output. A
    /// piece goes as far as its first NUL, as a C string does.
    ///
    /// Sets `ended` when there was none.
    std::string_view next(bool& ended)
    {
        restore_byte_behind_piece();
        ended = false;
        for (;;)
        {
            const std::size_t reach = std::min(piece_limit, end_ - begin_);
            const char* start = block_.get() + begin_;
            const auto* newline = static_cast<const char*>(std::memchr(start, '\n', reach));
            if (newline != nullptr)
                return take(static_cast<std::size_t>(newline - start) + 1);
            if (reach == piece_limit)
                return take(piece_limit);
            if (!read_more())
            {
                ended = begin_ == end_;
                return take(end_ - begin_);
            }
        }
    }

    /// The errno that ended the reading before the end of the output; 0 when nothing did.
    [[nodiscard]] int error() const { return error_; }

private:
    static constexpr std::size_t piece_limit = 2047;
    static constexpr std::size_t block_size = 65536;

    std::string_view take(std::size_t length)
    {
        const char* start = block_.get() + begin_;
        begin_ += length;
        byte_behind_piece_ = block_[begin_];
        block_[begin_] = '\0';
        return {start, strnlen(start, length)};
    }

    void restore_byte_behind_piece() { block_[begin_] = byte_behind_piece_; }

    bool read_more()
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

    int descriptor_;
    std::unique_ptr<char[]> block_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    char byte_behind_piece_ = '\0';
    int error_ = 0;
};

void hand_over(PieceReader& output, LineSelection selection, const PieceSink& sink)
{
    bool ended = false;
    int taken = 0;
    for (int line = 1;; line += line < INT_MAX)
    {
        const std::string_view piece = output.next(ended);
        if (ended)
            return;
        if (line < selection.start)
            continue;
        if (!sink(piece) || (selection.count > 0 && ++taken == selection.count))
            return;
    }
}

} // namespace

bool capture_lines(const std::string& command_line, LineSelection selection, const PieceSink& sink)
{
    return run_operation(ERROR_MIROVAN_PROCESS_ACCESS,
                         [&]
                         {
                             const CommandStream stream{platform::open_command(command_line)};
                             if (!stream)
                                 return fail(ERROR_MIROVAN_PROCESS_ACCESS);
                             PieceReader output{fileno(stream.get())};
                             hand_over(output, selection, sink);
                             if (output.error() != 0)
                                 return fail(ERROR_MIROVAN_PROCESS_ACCESS, output.error());
                             return true;
                         });
}

bool capture_into(const std::string& command_line, LineSelection selection, std::span<char> field)
{
    const std::size_t held = strnlen(field.data(), field.size() - 1);
    const bool captured = capture_lines(
        command_line, selection, [&](std::string_view piece) { return append_cut(field, piece); });
    if (!captured)
        field[held] = '\0';
    return captured;
}

bool read_command_lines(const char* command, LineSelection selection,
                        bool (*take)(const char*, int, void*), void* context)
{
    return run_operation(ERROR_MIROVAN_PROCESS_ACCESS,
                         [&]
                         {
                             if (command == nullptr || take == nullptr)
                                 return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
                             return capture_lines(platform::command_line(command), selection,
                                                  [&](std::string_view piece) {
                                                      return take(piece.data(),
                                                                  static_cast<int>(piece.size()),
                                                                  context);
                                                  });
                         });
}

} // namespace mirovan

bool CMirovan_Process::Mirovan_Process_ReadCmdReturn(const char* lpszCommand, char* lpszResult,
                                                     int nLineCount, int nStartLine,
                                                     int* pnResultLen)
{
    using namespace mirovan;
    return run_operation(
        ERROR_MIROVAN_PROCESS_ACCESS,
        [&]
        {
            if (lpszCommand == nullptr || lpszResult == nullptr)
                return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
            char* const start = lpszResult + std::strlen(lpszResult);
            char* end = start;
            const bool captured =
                capture_lines(platform::command_line(lpszCommand), {nLineCount, nStartLine},
                              [&](std::string_view piece)
                              {
                                  end = std::copy(piece.begin(), piece.end(), end);
                                  *end = '\0';
                                  return true;
                              });
            if (!captured)
                *start = '\0';
            else if (pnResultLen != nullptr)
                *pnResultLen = static_cast<int>(std::min<std::ptrdiff_t>(end - start, INT_MAX));
            return captured;
        });
}
