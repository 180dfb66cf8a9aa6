#include "terminal.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace program
{

namespace
{

constexpr int control_c = 3;
constexpr int control_z = 26;

int signal_pipe[2] = {-1, -1};
volatile std::sig_atomic_t last_signal = 0;

void note_signal(int number)
{
    const int saved_errno = errno;
    if (number != SIGWINCH && number != SIGCONT)
        last_signal = number;
    (void)!write(signal_pipe[1], "", 1);
    errno = saved_errno;
}

bool write_all(const std::string& text)
{
    for (std::size_t at = 0; at < text.size();)
    {
        const ssize_t written = write(STDOUT_FILENO, text.data() + at, text.size() - at);
        if (written < 0 && errno != EINTR)
            return false;
        at += written < 0 ? 0 : static_cast<std::size_t>(written);
    }
    return true;
}

} // namespace

Terminal::Terminal(bool full) : full_{full}, has_keys_{tcgetattr(STDIN_FILENO, &saved_) == 0}
{
    if (pipe(signal_pipe) == 0)
        for (const int end : signal_pipe)
        {
            fcntl(end, F_SETFD, FD_CLOEXEC);
            fcntl(end, F_SETFL, O_NONBLOCK);
        }
    struct sigaction action = {};
    action.sa_handler = note_signal;
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGWINCH, SIGCONT})
        sigaction(number, &action, nullptr);
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
    enter();
}

Terminal::~Terminal()
{
    leave();
}

void Terminal::enter()
{
    if (has_keys_)
    {
        termios raw = saved_;
        raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG);
        raw.c_cc[VMIN] = 0;
        raw.c_cc[VTIME] = 0;
        tcsetattr(STDIN_FILENO, TCSADRAIN, &raw);
    }
    write_all(full_ ? "\033[?1049h\033[?25l\033[?7l" : "\033[?25l");
}

void Terminal::leave()
{
    write_all(full_ ? "\033[?7h\033[?25h\033[?1049l" : "\033[?25h\n");
    if (has_keys_)
        tcsetattr(STDIN_FILENO, TCSADRAIN, &saved_);
}

bool Terminal::draw(const std::string& lines)
{
    // Overwritten, never cleared first: nothing flickers.
    std::string frame = full_ ? "\033[H" : "\r";
    for (std::size_t at = 0; at < lines.size();)
    {
        const std::size_t end = std::min(lines.find('\n', at), lines.size());
        frame += lines.substr(at, end - at) + "\033[K";
        at = end + 1;
        if (at < lines.size())
            frame += "\r\n";
    }
    return write_all(frame + "\033[J");
}

int Terminal::wait(std::chrono::milliseconds limit)
{
    std::array<pollfd, 2> sources = {pollfd{signal_pipe[0], POLLIN, 0},
                                     pollfd{has_keys_ ? STDIN_FILENO : -1, POLLIN, 0}};
    const int ready = poll(sources.data(), sources.size(), static_cast<int>(limit.count()));
    std::array<char, 64> noted{};
    while (read(signal_pipe[0], noted.data(), noted.size()) > 0)
        continue;
    if (last_signal != 0)
        return quit;
    if (ready < 0 || sources[0].revents != 0)
        return resize;
    if (sources[1].revents == 0)
        return tick;
    unsigned char key = 0;
    if (read(STDIN_FILENO, &key, 1) != 1 || key == control_c)
        return quit;
    if (key != control_z)
        return key;
    leave();
    raise(SIGSTOP);
    enter();
    return resize;
}

int Terminal::signal() const
{
    return last_signal;
}

} // namespace program
