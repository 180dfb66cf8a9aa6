// The load of the processors and of one process, second by second: what they did between two looks.
//
//     load_now SECONDS [PID]
#include <mirovan.hpp>

#include <cstdio>
#include <exception>
#include <string>
#include <thread>

int main(int argc, char** argv)
try
{
    mirovan::system::load_sampler machine;
    mirovan::process::usage_sampler process{argc > 2 ? std::stoi(argv[2]) : 0};
    for (int second = argc > 1 ? std::stoi(argv[1]) : 1; second > 0; --second)
    {
        std::this_thread::sleep_for(std::chrono::seconds{1});
        const auto load = machine.load();
        std::printf("all %3.0f %%, each", 100 * load.total);
        for (const double each : load.each)
            std::printf(" %3.0f %%", 100 * each);
        const auto usage = process.usage();
        if (!usage)
        {
            std::puts(", process ended");
            return 1;
        }
        std::printf(", process %.2f processors\n", *usage);
    }
}
catch (const std::exception& failure)
{
    (void)std::fprintf(stderr, "%s\n", failure.what());
    return 2;
}
