#include "progress.h"

#include "screen.h"

#include <algorithm>

namespace program
{

namespace
{

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds period{100};

std::string amount(std::uint64_t value, bool in_bytes)
{
    return in_bytes ? human_bytes(value) : std::to_string(value);
}

const Screen& screen()
{
    static const Screen of_errors{stderr};
    return of_errors;
}

} // namespace

void end_progress_line()
{
    if (screen().is_terminal())
        (void)std::fputs("\r\033[K", stderr);
}

Progress::Progress(std::string title, std::uint64_t all, bool in_bytes)
    : title_{std::move(title)}, all_{all}, in_bytes_{in_bytes}, start_{steady_clock::now()}
{
    if (!screen().is_terminal())
        return;
    thread_ = std::thread{[this]
                          {
                              std::unique_lock lock{mutex_};
                              while (!over_.wait_for(lock, period, [this] { return is_over_; }))
                                  show();
                          }};
}

void Progress::begin(const std::filesystem::path& file)
{
    const std::lock_guard lock{mutex_};
    if (in_bytes_)
        file_ = file;
}

void Progress::advance(std::uint64_t by)
{
    done_ += by;
    begin({});
}

void Progress::end()
{
    if (!thread_.joinable())
        return;
    {
        const std::lock_guard lock{mutex_};
        is_over_ = true;
    }
    over_.notify_one();
    thread_.join();
    end_progress_line();
}

void Progress::show() const
{
    std::uint64_t done = done_;
    std::error_code ec;
    if (const auto now = file_.empty() ? 0 : std::filesystem::file_size(file_, ec); !ec)
        done += now;
    const double passed = std::chrono::duration<double>(steady_clock::now() - start_).count();
    const double rate = static_cast<double>(done) / passed;
    std::string line = title_ + ' ';
    if (all_ > 0)
    {
        const double ratio = static_cast<double>(done) / static_cast<double>(all_);
        // What stands beside it takes some 60 columns.
        const std::size_t room = std::max<std::size_t>(screen().width(), 65) - 60;
        line += bar(ratio, std::min<std::size_t>(room, 20)) + ' ' +
                human_percent(std::min(ratio, 1.0)) + "  " + amount(done, in_bytes_) + " of " +
                amount(all_, in_bytes_);
    }
    else
        line += amount(done, in_bytes_);
    line += "  " + amount(static_cast<std::uint64_t>(rate), in_bytes_) + "/s";
    if (rate > 0 && all_ > done)
        line += "  " +
                human_duration(std::chrono::seconds{
                    static_cast<long long>(static_cast<double>(all_ - done) / rate) + 1}) +
                " left";
    (void)std::fputs(("\r\033[K" + shortened(line, screen().width() - 1)).c_str(), stderr);
}

} // namespace program
