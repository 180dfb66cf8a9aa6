#pragma once

#include <span>
#include <string_view>

/// Takes a path apart: the text before the last '/', the text after it, and the text after the last
/// '.' of that file name.
///
/// A path without a separator has the folder ".", one whose only separator is the first character
/// the folder "/"; no other folder ends in a separator. A backslash is an ordinary character. An
/// output that is an empty span is ignored. When a part does not fit, all outputs are
/// empty texts, errno is ENAMETOOLONG and the result is false.
bool Fundix_String_GetFileAndPathA(const char* lpszFullPath, std::span<char> folder,
                                   std::span<char> file, std::span<char> extension);

/// The same for wide paths.
bool Fundix_String_GetFileAndPathW(const wchar_t* lpwszFullPath, std::span<wchar_t> folder,
                                   std::span<wchar_t> file, std::span<wchar_t> extension);

/// The text between the first lpszStart and the first lpszEnd after it.
///
/// The destination is an empty text, and the result false, when a marker is missing or the text
/// does not fit.
bool Fundix_String_GetStartEndA(const char* lpszSource, std::span<char> dest, const char* lpszStart,
                                const char* lpszEnd);

namespace mirovan
{

/// Copies a string, truncated at a UTF-8 character boundary if it does not fit.
void copy_cut(std::span<char> dest, std::string_view text) noexcept;

/// Appends to the string in dest, truncated likewise; false if it was truncated.
bool append_cut(std::span<char> dest, std::string_view text) noexcept;

} // namespace mirovan
