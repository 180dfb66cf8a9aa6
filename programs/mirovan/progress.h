/// How far a long piece of work is, on one line of standard error: only when that is a terminal.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>

namespace program
{

/// Clears the line, so that something else can be written.
void end_progress_line();

/// Shows what is done of what there is to do, ten times a second, from a thread of its own.
class Progress
{
public:
    /// All of it, or 0 when that is unknown, counted in bytes or in entries.
    Progress(std::string title, std::uint64_t all, bool in_bytes);
    ~Progress() { end(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// A file that is being written now: its size counts as done.
    void begin(const std::filesystem::path& file);
    void advance(std::uint64_t by);
    void end();

private:
    void show() const;

    std::string title_;
    std::uint64_t all_;
    bool in_bytes_;
    std::chrono::steady_clock::time_point start_;
    std::atomic<std::uint64_t> done_{0};
    mutable std::mutex mutex_; // guards what follows
    std::filesystem::path file_;
    bool is_over_ = false;
    std::condition_variable over_;
    std::thread thread_;
};

} // namespace program
