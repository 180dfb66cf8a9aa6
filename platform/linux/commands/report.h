#pragma once

#include "platform/linux/commands/machine.h"
#include "platform/linux/commands/volumes.h"

namespace mirovan::commands
{

/// The reports, in the form that the home platform's commands give them. What is not known is left
/// out.
std::string hardware_report(const Machine& machine);
std::string storage_report(const std::vector<Volume>& volumes);

/// The registry: the root and below it the machine, with its properties if requested.
std::string registry_listing(const Machine& machine, bool with_properties);

} // namespace mirovan::commands
