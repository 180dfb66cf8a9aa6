#pragma once

#include "platform/linux/commands/system.h"

namespace mirovan::commands
{

/// A mounted volume. What is not known of it is empty.
struct Volume
{
    std::string label;
    std::string mount_point;
    std::string file_system;
    std::string device;
    std::string uuid;
    std::optional<VolumeSize> size;
    bool writable = false;
};

/// The volumes on block devices, each once, and the one that holds the root folder whatever it is
/// on, in the order of the mount table. No other volume is touched, so that a server that does not
/// answer holds nothing up.
std::vector<Volume> read_volumes(const System& system);

} // namespace mirovan::commands
