#include "platform/linux/commands/program.h"
#include "platform/linux/commands/report.h"

#include <stdexcept>

namespace
{

using namespace mirovan::commands;

struct ReportType
{
    std::string_view name;
    std::string (*make)(const System&);
};

constexpr ReportType report_types[] = {
    {"SPHardwareDataType",
     [](const System& system) { return hardware_report(read_machine(system)); }},
    {"SPStorageDataType",
     [](const System& system) { return storage_report(read_volumes(system)); }},
};

std::string type_list()
{
    std::string list = "Available Datatypes:\n";
    for (const ReportType& type : report_types)
        list.append(type.name).append("\n");
    return list;
}

const ReportType& find_type(std::string_view name)
{
    for (const ReportType& type : report_types)
        if (type.name == name)
            return type;
    throw std::invalid_argument{"unknown data type or option: " + std::string{name} +
                                "\nusage: system_profiler [-listDataTypes] [-detailLevel level] "
                                "[data type ...]"};
}

std::string reports(const Arguments& arguments)
{
    std::vector<const ReportType*> wanted;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument)
    {
        if (*argument == "-listDataTypes")
            return type_list();
        // There is one level of detail here.
        if (*argument == "-detailLevel" && argument + 1 != arguments.end())
            ++argument;
        else
            wanted.push_back(&find_type(*argument));
    }
    if (wanted.empty())
        for (const ReportType& type : report_types)
            wanted.push_back(&type);
    const auto system = open_system();
    std::string text;
    for (const ReportType* type : wanted)
        text += type->make(*system);
    return text;
}

} // namespace

int main(int count, char** arguments)
{
    return run_program("system_profiler", count, arguments, reports);
}
