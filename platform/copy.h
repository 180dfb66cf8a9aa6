#pragma once

#include <sys/stat.h>

/// How the content of a file gets into another one.
namespace mirovan::platform
{

/// Makes a new file that shares the content of an open one and has its permissions; false where the
/// volume cannot do so, or something has that path.
bool clone_file(int source, const struct stat& status, const char* path);

/// Copies the content of an open file to an empty one, as much as the file holds at first: one that
/// grows during the copy must not be copied endlessly. False, with errno set, on failure.
bool copy_content(int from, int to);

} // namespace mirovan::platform
