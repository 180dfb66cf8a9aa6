#pragma once

#include <map>
#include <string>

namespace test
{

/// A recorded file or, with a target, a symbolic link.
struct TreeEntry
{
    std::string content;
    std::string link_target;
};

/// Reads the recorded files of a machine. Each begins with a line: "=== PATH" before the content,
/// "=== PATH = CONTENT" with the escapes \n and \0, or "=== PATH -> TARGET".
std::map<std::string, TreeEntry> parse_tree(const std::string& text);

} // namespace test
