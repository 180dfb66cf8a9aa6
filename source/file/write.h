#pragma once

#include "base/descriptor.h"

namespace mirovan
{

/// Creates a file, or empties an existing one.
inline Descriptor open_for_writing(const char* path)
{
    return open_file(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
}

} // namespace mirovan
