#include "source/command/capture.h"

#include "base/string.h"
#include "source/command/command.h"
#include "source/command/line_reader.h"
#include "source/operation.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace mirovan
{
namespace
{

using TakeChunk = bool (*)(const char* chunk, int length, void* context);

/// The most of a longer line that is one chunk.
constexpr std::size_t chunk_limit = 2047;

/// Reads as far as the first selected line; false when the output ends before.
bool skip_to(int start, LineReader& output)
{
    bool ended = false;
    for (int line = 1; line < start && !ended; ++line)
        output.next(ended);
    return !ended;
}

/// Passes so many chunks on, until the function returns false.
template <class Take>
void pass_on(LineReader& output, int count, Take&& take)
{
    for (bool ended = false;;)
    {
        const std::string_view chunk = output.next(ended);
        if (ended || !take(chunk) || (count > 0 && --count == 0))
            return;
    }
}

/// Runs a command and has its output read from the first selected line on.
template <class Read>
bool run(const std::string& command_line, int start, Read&& read)
{
    const Command command{command_line};
    if (command.error() != 0)
        return fail(ERROR_MIROVAN_PROCESS_ACCESS, command.error());
    LineReader output{command.output(), chunk_limit};
    if (skip_to(start, output))
        read(output);
    if (output.error() != 0)
        return fail(ERROR_MIROVAN_PROCESS_ACCESS, output.error());
    return true;
}

/// Appends so many chunks to an unbounded buffer, and moves `end` to the end of its string.
void append(LineReader& output, int count, char*& end)
{
    const auto take = [&end](std::string_view text)
    {
        end = std::copy(text.begin(), text.end(), end);
        *end = '\0';
        return true;
    };
    if (count > 0)
        return pass_on(output, count, take);
    // What is taken to its end need not be split.
    for (bool ended = false; !ended;)
        take(output.next_block(ended));
}

bool capture(const char* command, char* result, LineSelection selection, int* length)
{
    if (command == nullptr || result == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    char* const start = result + std::strlen(result);
    char* end = start;
    const auto read = [&](LineReader& output) { append(output, selection.count, end); };
    if (!run(command, selection.start, read))
    {
        *start = '\0';
        return false;
    }
    if (length != nullptr)
        *length = static_cast<int>(std::min<std::ptrdiff_t>(end - start, INT_MAX));
    return true;
}

bool capture_lines(const char* command, LineSelection selection, TakeChunk take, void* context)
{
    if (command == nullptr || take == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    const auto take_chunk = [=](std::string_view chunk)
    { return take(chunk.data(), static_cast<int>(chunk.size()), context); };
    const auto read = [&](LineReader& output) { pass_on(output, selection.count, take_chunk); };
    return run(command, selection.start, read);
}

} // namespace

bool capture_into(const std::string& command_line, LineSelection selection, std::span<char> field)
{
    const std::size_t held = strnlen(field.data(), field.size() - 1);
    const auto take = [&](std::string_view chunk) { return append_cut(field, chunk); };
    const auto read = [&](LineReader& output) { pass_on(output, selection.count, take); };
    const bool captured = operation<ERROR_MIROVAN_PROCESS_ACCESS>(
        [&] { return run(command_line, selection.start, read); });
    if (!captured)
        field[held] = '\0';
    return captured;
}

} // namespace mirovan

bool CMirovan_Process::Mirovan_Process_ReadCmdReturn(const char* lpszCommand, char* lpszResult,
                                                     int nLineCount, int nStartLine,
                                                     int* pnResultLen)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_PROCESS_ACCESS>(
        capture, lpszCommand, lpszResult, LineSelection{nLineCount, nStartLine}, pnResultLen);
}

bool CMirovan_Process::Mirovan_Process_ReadCmdLines(
    const char* lpszCommand, int nLineCount, int nStartLine,
    bool (*pfnPiece)(const char* lpszPiece, int nPieceLen, void* pContext), void* pContext)
{
    using namespace mirovan;
    return calling_operation<ERROR_MIROVAN_PROCESS_ACCESS>(
        capture_lines, lpszCommand, LineSelection{nLineCount, nStartLine}, pfnPiece, pContext);
}
