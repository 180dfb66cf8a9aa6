#include "platform/linux/commands/machine.h"

#include "platform/linux/commands/text.h"

#include <algorithm>

namespace mirovan::commands
{
namespace
{

/// What firmware says where its maker has filled nothing in.
bool is_filler(std::string_view text)
{
    constexpr std::string_view fillers[] = {
        "To be filled by O.E.M.",
        "To Be Filled By O.E.M.",
        "Default string",
        "System Product Name",
        "System manufacturer",
        "System Manufacturer",
        "System Version",
        "System Serial Number",
        "Not Specified",
        "Not Applicable",
        "Not Available",
        "Unknown",
        "None",
        "N/A",
        "O.E.M.",
        "OEM",
        "INVALID",
        "Chassis Serial Number",
        "Type1ProductConfigId",
        "0123456789",
        "123456789",
    };
    return std::find(std::begin(fillers), std::end(fillers), text) != std::end(fillers) ||
           text.find_first_not_of("0.-xX ") == std::string_view::npos;
}

std::string firmware_text(const System& system, const char* name)
{
    const std::string text = system.read(std::string{"/sys/class/dmi/id/"} + name);
    const std::string_view value = trimmed(text);
    return is_filler(value) ? std::string{} : std::string{value};
}

/// The first of the texts of a property: it may be a list, with NULs between.
std::string device_tree_text(const System& system, const char* name)
{
    const std::string text = system.read(std::string{"/sys/firmware/devicetree/base/"} + name);
    return std::string{trimmed(before(text, '\0'))};
}

const std::string& first_of(const std::string& text, const std::string& otherwise)
{
    return text.empty() ? otherwise : text;
}

void read_firmware(const System& system, Machine& machine)
{
    machine.manufacturer = firmware_text(system, "sys_vendor");
    machine.model_identifier = firmware_text(system, "product_name");
    machine.model_name = machine.model_identifier;
    // Its product name is a type number; the marketing name is in the version.
    if (machine.manufacturer == "LENOVO")
        machine.model_name = first_of(firmware_text(system, "product_version"), machine.model_name);
    if (machine.model_identifier.empty())
    {
        machine.manufacturer = firmware_text(system, "board_vendor");
        machine.model_identifier = firmware_text(system, "board_name");
        machine.model_name = machine.model_identifier;
    }
    machine.serial_number = firmware_text(system, "product_serial");
    machine.hardware_uuid = uuid_text(trimmed(system.read("/sys/class/dmi/id/product_uuid")));
}

void read_device_tree(const System& system, Machine& machine)
{
    const std::string compatible = device_tree_text(system, "compatible");
    machine.model_name = first_of(machine.model_name, device_tree_text(system, "model"));
    machine.model_identifier = first_of(machine.model_identifier, compatible);
    machine.serial_number =
        first_of(machine.serial_number, device_tree_text(system, "serial-number"));
    const std::size_t comma = compatible.find(',');
    if (machine.manufacturer.empty() && comma != std::string::npos)
        machine.manufacturer = compatible.substr(0, comma);
}

std::uint64_t read_memory(const System& system)
{
    const std::string text = system.read("/proc/meminfo");
    constexpr std::string_view key = "MemTotal:";
    const std::size_t found = text.find(key);
    if (found == std::string::npos)
        return 0;
    std::string_view rest = trimmed(std::string_view{text}.substr(found + key.size()));
    return leading_number(rest).value_or(0);
}

} // namespace

Machine read_machine(const System& system)
{
    Machine machine;
    read_firmware(system, machine);
    read_device_tree(system, machine);
    machine.processors = read_processors(system);
    machine.memory_kibibytes = read_memory(system);
    const std::string id = system.read("/etc/machine-id");
    const std::string uuid = uuid_text(trimmed(id));
    if (!uuid.empty())
        machine.machine_id = trimmed(id);
    machine.hardware_uuid = first_of(machine.hardware_uuid, uuid);
    return machine;
}

} // namespace mirovan::commands
