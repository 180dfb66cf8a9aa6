#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace test
{

/// Does something over and over beside the test, until the end of the scope.
class Meanwhile
{
public:
    explicit Meanwhile(std::function<void()> step)
        : thread_{[this, step = std::move(step)]
                  {
                      while (!over_)
                          step();
                  }}
    {
    }
    ~Meanwhile()
    {
        over_ = true;
        thread_.join();
    }
    Meanwhile(const Meanwhile&) = delete;
    Meanwhile& operator=(const Meanwhile&) = delete;

private:
    std::atomic<bool> over_ = false;
    std::thread thread_;
};

} // namespace test
