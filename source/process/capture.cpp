#include "source/process/capture.h"

#include "base/string.h"
#include "platform/command_line.h"
#include "source/operation.h"
#include "source/process/piece_reader.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

namespace mirovan
{
namespace
{

/// How much of a longer line is one piece.
constexpr std::size_t piece_limit = 2047;

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
    return operation<ERROR_MIROVAN_PROCESS_ACCESS>(
        [&]
        {
            const CommandStream stream{platform::open_command(command_line)};
            if (!stream)
                return fail(ERROR_MIROVAN_PROCESS_ACCESS, errno);
            PieceReader output{fileno(stream.get()), piece_limit};
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
    return operation<ERROR_MIROVAN_PROCESS_ACCESS>(
        [&]
        {
            if (command == nullptr || take == nullptr)
                return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
            return capture_lines(
                platform::command_line(command), selection,
                [&](std::string_view piece)
                { return take(piece.data(), static_cast<int>(piece.size()), context); });
        });
}

} // namespace mirovan

bool CMirovan_Process::Mirovan_Process_ReadCmdReturn(const char* lpszCommand, char* lpszResult,
                                                     int nLineCount, int nStartLine,
                                                     int* pnResultLen)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_PROCESS_ACCESS>(
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

bool CMirovan_Process::Mirovan_Process_ReadCmdLines(const char* lpszCommand, int nLineCount,
                                                    int nStartLine,
                                                    bool (*pfnPiece)(const char*, int, void*),
                                                    void* pContext)
{
    return mirovan::read_command_lines(lpszCommand, {nLineCount, nStartLine}, pfnPiece, pContext);
}
