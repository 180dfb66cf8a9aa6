#include "platform/linux/os_release.h"

#include "platform/linux/mount_table.h"

namespace mirovan::platform
{
namespace
{

/// A word of the shell: quotes join, a backslash takes the character after it as it is.
std::string unquoted(std::string_view word)
{
    std::string plain;
    char quote = '\0';
    for (std::size_t at = 0; at < word.size(); ++at)
    {
        const char character = word[at];
        if (character == '\\' && quote != '\'' && at + 1 < word.size())
            plain.push_back(word[++at]);
        else if (quote == '\0' && (character == '"' || character == '\''))
            quote = character;
        else if (character == quote)
            quote = '\0';
        else
            plain.push_back(character);
    }
    return plain;
}

} // namespace

std::string os_release_value(std::string_view text, std::string_view name)
{
    std::string value;
    while (auto line = next_line(text))
        if (next_field(*line, '=') == name)
            value = unquoted(*line);
    return value;
}

} // namespace mirovan::platform
