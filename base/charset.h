#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

/// Converts a wide string to UTF-8. Surrogates and values above 10FFFF are rejected.
///
/// On failure the destination is an empty string and errno is set: EILSEQ not valid,
/// ENAMETOOLONG it does not fit with its NUL.
///
/// @param pnLen receives the length of the result in bytes; what it holds on entry is ignored. May
///              be null.
bool Fundix_Charset_UnicodeToUTF(const wchar_t* lpwszSource, std::span<char> dest, int* pnLen);

/// Wide text to the encoding of the narrow file interfaces, which is UTF-8; see above.
bool Fundix_Charset_UnicodeToAnsi(const wchar_t* lpwszSource, std::span<char> dest, int* pnLen);

namespace mirovan
{

/// Whether a text is valid UTF-8: shortest forms only, no surrogates, nothing above 10FFFF.
bool is_utf8(std::string_view text) noexcept;

/// Widens UTF-8; false, and an empty result, when it is not valid.
bool widen(std::string_view text, std::wstring& wide);

} // namespace mirovan
