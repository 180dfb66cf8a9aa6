// A command with a limit: its output, its errors and how it ended.
//
//     limited MILLISECONDS COMMAND...
#include <mirovan.hpp>

#include <iostream>
#include <stdexcept>

int main(int argc, char** argv)
try
{
    if (argc < 3)
        throw std::invalid_argument{"limited MILLISECONDS COMMAND..."};
    mirovan::process::execute_options options;
    options.limit = std::chrono::milliseconds{std::stoi(argv[1])};
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
catch (const std::logic_error& failure)
{
    std::cerr << "wrong use: " << failure.what() << '\n';
    return 2;
}
