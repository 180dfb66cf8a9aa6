#pragma once

#include <string>
#include <string_view>

namespace mirovan
{

/// A text as one word of a shell command line, whatever it holds.
std::string shell_word(std::string_view text);

} // namespace mirovan
