#include "tests/support/machine_tree.h"

#include <algorithm>
#include <sstream>

namespace test
{
namespace
{

std::string unescaped(const std::string& text)
{
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        const bool escape = text[at] == '\\' && at + 1 < text.size() &&
                            (text[at + 1] == 'n' || text[at + 1] == '0');
        if (escape)
            result.push_back(text[++at] == 'n' ? '\n' : '\0');
        else
            result.push_back(text[at]);
    }
    return result;
}

} // namespace

std::map<std::string, TreeEntry> parse_tree(const std::string& text)
{
    std::map<std::string, TreeEntry> tree;
    std::string path;
    std::istringstream lines{text};
    for (std::string line; std::getline(lines, line);)
    {
        if (!line.starts_with("=== "))
        {
            tree[path].content += line + '\n';
            continue;
        }
        const std::size_t link = line.find(" -> ");
        const std::size_t value = line.find(" = ");
        path = line.substr(4, std::min(link, value) - std::min<std::size_t>(4, line.size()));
        TreeEntry& entry = tree[path];
        if (link != std::string::npos)
            entry.link_target = line.substr(link + 4);
        else if (value != std::string::npos)
            entry.content = unescaped(line.substr(value + 3));
    }
    return tree;
}

} // namespace test
