#pragma once

#include <string>

namespace mirovan::platform
{

/// Reads a text file of the kernel's to its end, which its size does not tell.
///
/// @param folder what a relative path starts from, as openat() takes it.
/// @return false, with errno set, when it cannot be read or is longer than any such file is.
bool read_text(int folder, const char* path, std::string& text);

} // namespace mirovan::platform
