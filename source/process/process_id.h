#pragma once

#include <unistd.h>

namespace mirovan
{

/// The process that an id names: 0 is the calling one.
inline pid_t named_process(int id)
{
    return id == 0 ? getpid() : id;
}

} // namespace mirovan
