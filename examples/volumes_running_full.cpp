/* Names the volumes that are filled to a percentage or more.
 *
 *     volumes_running_full PERCENT [PATH ...]
 *
 * A path stands for the volume that holds it; without any, the writable volumes of the system's
 * storage report are looked at. The result is 0 when none is that full, 1 when one is, and 3 when
 * one could not be looked at.
 */
#include <mirovan.hpp>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

namespace
{

enum Result
{
    none_full = 0,
    some_full = 1,
    usage = 2,
    not_seen = 3
};

// The report shows a heading with its colon; what is no path there is mounted below /Volumes.
std::string path_of(std::string name)
{
    if (name.ends_with(':'))
        name.pop_back();
    return name.starts_with('/') ? name : "/Volumes/" + name;
}

std::vector<std::string> paths_to_look_at(int argc, char** argv)
{
    std::vector<std::string> paths(argv + 2, argv + argc);
    if (paths.empty())
        for (const std::string& name : mirovan::hardware::volume_names())
            paths.push_back(path_of(name));
    return paths;
}

double percent_filled(const std::string& path)
{
    const auto volume = mirovan::hardware::volume(path);
    if (volume.size == 0)
        return 0;
    return 100 - 100 * static_cast<double>(volume.available) / static_cast<double>(volume.size);
}

Result look_at(const std::string& path, double limit)
try
{
    const double filled = percent_filled(path);
    if (filled < limit)
        return none_full;
    std::cout << std::fixed << std::setprecision(1) << std::setw(5) << filled << " %  " << path
              << '\n';
    return some_full;
}
catch (const mirovan::error& reason)
{
    std::cerr << reason.what() << '\n';
    return not_seen;
}

} // namespace

int main(int argc, char** argv)
try
{
    char* end = nullptr;
    const double limit = argc > 1 ? std::strtod(argv[1], &end) : -1;
    if (argc < 2 || end == argv[1] || *end != '\0' || !(limit >= 0 && limit <= 100))
    {
        std::cerr << "usage: volumes_running_full PERCENT [PATH ...]\n";
        return usage;
    }

    int result = none_full;
    for (const std::string& path : paths_to_look_at(argc, argv))
        result = std::max<int>(result, look_at(path, limit));
    return result;
}
catch (const std::exception& reason)
{
    std::cerr << "volumes_running_full: " << reason.what() << '\n';
    return not_seen;
}
