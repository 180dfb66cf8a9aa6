#pragma once

#include <string>

namespace mirovan::platform
{

/// Reads a text file of the kernel to its end, since its size is reported as 0. False, with errno
/// set, when it cannot be read or is longer than any such file is.
bool read_text(const char* path, std::string& text);

/// The same for a file that the kernel makes in one piece, as those of a process are: a read that
/// leaves room has reached the end, and no other is made to see it.
bool read_one_piece(const char* path, std::string& text);

} // namespace mirovan::platform
