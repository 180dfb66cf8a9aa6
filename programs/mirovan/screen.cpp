#include "screen.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numeric>
#include <sys/ioctl.h>
#include <unistd.h>

namespace program
{

namespace
{

int output_errno = 0; // of the first write that failed

constexpr std::size_t gap = 2;

winsize size_of(int descriptor)
{
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
        return {24, 80, 0, 0};
    return size;
}

bool has_value(const char* variable)
{
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool is_dumb()
{
    const char* terminal = std::getenv("TERM");
    return terminal == nullptr || std::strcmp(terminal, "dumb") == 0;
}

std::size_t total(const std::vector<std::size_t>& widths)
{
    const auto shown = std::count_if(widths.begin(), widths.end(), [](auto w) { return w != 0; });
    return std::accumulate(widths.begin(), widths.end(), std::size_t{0}) +
           gap * (shown > 0 ? static_cast<std::size_t>(shown) - 1 : 0);
}

} // namespace

Screen::Screen(std::FILE* stream)
    : descriptor_{fileno(stream)}, is_terminal_{isatty(descriptor_) == 1},
      has_colours_{is_terminal_ && !has_value("NO_COLOR") && !is_dumb()}
{
}

std::size_t Screen::width() const
{
    return is_terminal_ ? size_of(descriptor_).ws_col : std::numeric_limits<std::size_t>::max();
}

std::size_t Screen::height() const
{
    return size_of(descriptor_).ws_row;
}

std::string Screen::paint(Colour colour, std::string text) const
{
    constexpr const char* starts[] = {"",         "\033[1m",  "\033[2m", "\033[31m",
                                      "\033[33m", "\033[32m", "\033[34m"};
    if (!has_colours_ || colour == Colour::none || text.empty())
        return text;
    return starts[static_cast<int>(colour)] + std::move(text) + "\033[0m";
}

void put(const std::string& text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() && output_errno == 0)
        output_errno = errno;
}

int finish_output(int status)
{
    if (std::fflush(stdout) != 0 && output_errno == 0)
        output_errno = errno;
    if (output_errno == 0)
        return status;
    // The reader of a pipe has what it wanted.
    if (output_errno != EPIPE)
        std::fprintf(stderr, "mirovan: cannot write the output: %s\n", std::strerror(output_errno));
    return 1;
}

Colour colour_of(double ratio)
{
    return ratio >= 0.9 ? Colour::red : ratio >= 0.75 ? Colour::yellow : Colour::green;
}

std::string Table::lines(const Screen& screen) const
{
    std::vector<std::size_t> widths;
    for (std::size_t at = 0; at < columns_.size(); ++at)
    {
        std::size_t wide = columns(columns_[at].title);
        for (const auto& row : rows_)
            wide = std::max(wide, columns(row[at]));
        widths.push_back(wide);
    }
    const std::size_t available = screen.width();
    const auto grown =
        std::find_if(columns_.begin(), columns_.end(), [](auto& c) { return c.grows; });
    const auto growing = static_cast<std::size_t>(grown - columns_.begin());
    const auto excess = [&] { return total(widths) - std::min(total(widths), available); };
    const auto spare = [&]
    {
        return grown == columns_.end() || widths[growing] <= grown->least
                   ? 0
                   : widths[growing] - grown->least;
    };
    while (excess() > spare())
    {
        std::size_t least = growing;
        for (std::size_t at = 0; at < columns_.size(); ++at)
            if (at != growing && widths[at] != 0 &&
                (least == growing || columns_[at].importance < columns_[least].importance))
                least = at;
        if (least == growing)
            break;
        widths[least] = 0;
    }
    if (grown != columns_.end())
        widths[growing] -= std::min(excess(), widths[growing]);

    std::string text;
    const auto add_line = [&](auto&& cell, Colour colour)
    {
        std::string line;
        for (std::size_t at = 0; at < columns_.size(); ++at)
            if (widths[at] != 0)
            {
                if (!line.empty())
                    line.append(gap, ' ');
                line += padded(at == growing ? shortened(cell(at), widths[at]) : cell(at),
                               widths[at], columns_[at].right);
            }
        line.erase(line.find_last_not_of(' ') + 1);
        text += screen.paint(colour, line) + '\n';
    };
    add_line([&](std::size_t at) { return columns_[at].title; }, Colour::bold);
    for (const auto& row : rows_)
        add_line([&](std::size_t at) { return row[at]; }, Colour::none);
    return text;
}

} // namespace program
