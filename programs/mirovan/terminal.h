/// A terminal that is redrawn in place and gives single keys, and the signals that end this.
#pragma once

#include <chrono>
#include <string>
#include <termios.h>

namespace program
{

/// Takes standard input and output, and gives them back as they were on every way out but SIGKILL.
class Terminal
{
public:
    /// full: the whole screen, which shows again afterwards what it showed; else a line.
    explicit Terminal(bool full);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Draws lines over the old ones, in one write. False when the terminal is gone.
    bool draw(const std::string& lines);

    enum Event
    {
        tick = 0,    ///< The time is over.
        resize = -1, ///< The size changed, or the program goes on after a stop.
        quit = -2    ///< A signal came, or there are no more keys.
    };
    /// The next key, or an Event.
    int wait(std::chrono::milliseconds limit);
    /// The signal that came, or 0.
    [[nodiscard]] int signal() const;

private:
    void enter();
    void leave();

    bool full_;
    termios saved_{};
    bool has_keys_; ///< Then saved_ has what to restore.
};

} // namespace program
