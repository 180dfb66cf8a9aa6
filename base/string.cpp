#include "base/string.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

namespace
{

template <class Char>
bool store(std::span<Char> dest, std::basic_string_view<Char> text)
{
    if (dest.empty())
        return true;
    if (text.size() >= dest.size())
        return false;
    std::copy(text.begin(), text.end(), dest.begin());
    dest[text.size()] = Char{};
    return true;
}

template <class Char>
bool split_path(std::basic_string_view<Char> path, std::span<Char> folder, std::span<Char> file,
                std::span<Char> extension)
{
    using View = std::basic_string_view<Char>;
    static constexpr Char separator = '/';
    static constexpr Char current = '.';

    const std::size_t last = path.rfind(separator);
    View folder_part{&current, 1};
    View file_part = path;
    if (last != View::npos)
    {
        folder_part = last == 0 ? View{&separator, 1} : path.substr(0, last);
        file_part = path.substr(last + 1);
    }
    const std::size_t dot = file_part.rfind(current);
    const View extension_part = dot == View::npos ? View{} : file_part.substr(dot + 1);

    if (store(folder, folder_part) && store(file, file_part) && store(extension, extension_part))
        return true;
    for (const std::span<Char>& output : {folder, file, extension})
        if (!output.empty())
            output[0] = Char{};
    errno = ENAMETOOLONG;
    return false;
}

/// The length to which a string is truncated: at most `room` bytes, no UTF-8 character split.
std::size_t cut_length(std::string_view text, std::size_t room)
{
    if (text.size() <= room)
        return text.size();
    std::size_t length = room;
    constexpr std::size_t longest_tail = 3;
    const std::size_t lowest = length - std::min(length, longest_tail);
    while (length > lowest && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80)
        --length;
    // Four continuation bytes in a row are not UTF-8: there is no boundary to preserve.
    return (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80 ? room : length;
}

} // namespace

bool Fundix_String_GetFileAndPathA(const char* lpszFullPath, std::span<char> folder,
                                   std::span<char> file, std::span<char> extension)
{
    return split_path(std::string_view{lpszFullPath}, folder, file, extension);
}

bool Fundix_String_GetFileAndPathW(const wchar_t* lpwszFullPath, std::span<wchar_t> folder,
                                   std::span<wchar_t> file, std::span<wchar_t> extension)
{
    return split_path(std::wstring_view{lpwszFullPath}, folder, file, extension);
}

bool Fundix_String_GetStartEndA(const char* lpszSource, std::span<char> dest, const char* lpszStart,
                                const char* lpszEnd)
{
    dest[0] = '\0';
    const char* start = std::strstr(lpszSource, lpszStart);
    if (start == nullptr)
        return false;
    start += std::strlen(lpszStart);
    const char* end = std::strstr(start, lpszEnd);
    return end != nullptr &&
           store(dest, std::string_view{start, static_cast<std::size_t>(end - start)});
}

namespace mirovan
{

void copy_cut(std::span<char> dest, std::string_view text) noexcept
{
    dest[0] = '\0';
    append_cut(dest, text);
}

bool append_cut(std::span<char> dest, std::string_view text) noexcept
{
    const std::size_t used = strnlen(dest.data(), dest.size());
    if (used == dest.size())
        return text.empty(); // GCOVR_EXCL_LINE: guard
    const std::size_t length = cut_length(text, dest.size() - used - 1);
    std::memcpy(dest.data() + used, text.data(), length);
    dest[used + length] = '\0';
    return length == text.size();
}

} // namespace mirovan
