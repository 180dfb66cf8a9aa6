#include "platform/linux/commands/program.h"
#include "platform/linux/commands/report.h"

#include <stdexcept>

namespace
{

using namespace mirovan::commands;

std::string listing(const Arguments& arguments)
{
    bool with_properties = false;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument)
    {
        if (*argument == "-l")
            with_properties = true;
        // Lines are never truncated to a width here.
        else if (*argument == "-w" && argument + 1 != arguments.end())
            ++argument;
        else
            throw std::invalid_argument{"unknown option: " + std::string{*argument} +
                                        "\nusage: ioreg [-l] [-w width]"};
    }
    return registry_listing(read_machine(*open_system()), with_properties);
}

} // namespace

int main(int count, char** arguments)
{
    return run_program("ioreg", count, arguments, listing);
}
