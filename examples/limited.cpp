// A command with a limit: its output, its errors and how it ended.
//
//     limited MILLISECONDS COMMAND...
#include <mirovan.hpp>

#include <cstdlib>
#include <iostream>

int main(int argc, char** argv)
try
{
    if (argc < 3)
    {
        std::cerr << "usage: limited MILLISECONDS COMMAND...\n";
        return 2;
    }
    mirovan::process::execute_options options;
    options.limit = std::chrono::milliseconds{std::atoi(argv[1])};
    const auto result = mirovan::process::execute({argv + 2, argv + argc}, options);
    std::cout << result.output;
    std::cerr << result.errors;
    if (result.how == mirovan::process::end::limit)
        std::cerr << "ended at its limit\n";
    return result.status();
}
catch (const mirovan::error& failure)
{
    std::cerr << failure.what() << '\n';
    return failure.system() == std::errc::no_such_file_or_directory ? 127 : 126;
}
