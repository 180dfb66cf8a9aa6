#pragma once

#include "platform/linux/commands/system.h"

namespace mirovan::commands
{

struct Processors
{
    std::string name;
    std::uint64_t kilohertz = 0;
    std::size_t packages = 0;
    std::size_t cores = 0;
};

/// What is known of a machine; the rest is empty or 0.
struct Machine
{
    std::string manufacturer;
    std::string model_name;
    std::string model_identifier;
    Processors processors;
    std::uint64_t memory_kibibytes = 0;
    std::string serial_number;
    std::string hardware_uuid;

    /// Names the installation where nothing names the machine.
    std::string machine_id;
};

Machine read_machine(const System& system);
Processors read_processors(const System& system);

} // namespace mirovan::commands
