#include "base/shell_word.h"

namespace mirovan
{

std::string shell_word(std::string_view text)
{
    std::string word = "'";
    for (const char character : text)
    {
        if (character == '\'')
            word += "'\\''";
        else
            word += character;
    }
    return word += '\'';
}

} // namespace mirovan
