// Charset helpers against iconv, the path splitters against the standard library's own reading of a
// path, and the text helpers against their bounds. tests/base_test.cpp calls it too.
#include "base/charset.h"
#include "base/shell_word.h"
#include "base/string.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iconv.h>
#include <optional>
#include <string>

namespace
{

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// What iconv makes of a text; nothing when it refuses.
template <class To, class From>
std::optional<std::basic_string<To>> by_iconv(std::basic_string<From> text)
{
    const auto name = [](auto character) { return sizeof character == 1 ? "UTF-8" : "WCHAR_T"; };
    const iconv_t converter = iconv_open(name(To{}), name(From{}));
    std::basic_string<To> result(text.size() * 4, To{});
    char* in = reinterpret_cast<char*>(text.data());
    char* out = reinterpret_cast<char*>(result.data());
    std::size_t in_left = text.size() * sizeof(From);
    std::size_t out_left = result.size() * sizeof(To);
    const bool valid = iconv(converter, &in, &in_left, &out, &out_left) == 0;
    iconv_close(converter);
    result.resize(result.size() - out_left / sizeof(To));
    return valid ? std::optional{result} : std::nullopt;
}

/// It lets values above the last character of Unicode pass.
bool is_unicode(const std::wstring& text)
{
    return std::all_of(text.begin(), text.end(), [](wchar_t value) { return value <= 0x10FFFF; });
}

void check_wide(const std::wstring& wide)
{
    constexpr std::size_t size = 1000;
    std::array<char, size + 1> room;
    const auto convert = [&](std::size_t part, int* length)
    {
        room.fill('#');
        const bool fits = Fundix_Charset_UnicodeToUTF(wide.c_str(), {room.data(), part}, length);
        require(room[part] == '#' && (part == 0 || fits || room[0] == '\0'));
        return fits;
    };
    int length = -7;
    const auto expected = is_unicode(wide) ? by_iconv<char>(wide) : std::nullopt;
    if (!expected)
    {
        require(!convert(size, &length) && errno == EILSEQ && length == -7);
        return;
    }
    const std::size_t needed = expected->size() + 1;
    require(convert(needed, &length) && room.data() == *expected);
    require(length == static_cast<int>(needed) - 1);
    require(!convert(needed - 1, nullptr) && errno == ENAMETOOLONG);
}

void check_narrow(const std::string& text)
{
    auto expected = by_iconv<wchar_t>(text);
    if (expected && !is_unicode(*expected))
        expected.reset();
    // What is behind the text would continue its last character.
    const std::string longer = text + "\x80\x80\x80";
    const std::string_view view{longer.data(), text.size()};
    std::wstring wide = L"before";
    require(mirovan::is_utf8(view) == expected.has_value());
    require(mirovan::widen(view, wide) == expected.has_value() && wide == expected.value_or(L""));
    if (expected)
        check_wide(wide.c_str());
}

/// Each output has the room that it needs, except one that lacks a character.
template <class Char, class Split>
void check_split(const std::basic_string<Char>& path, Split split)
{
    using String = std::basic_string<Char>;
    const std::size_t slash = path.rfind('/');
    const String name = path.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    const String folder = slash == String::npos ? String(1, '.') : path.substr(0, slash);
    const String parts[] = {folder.empty() ? String(1, '/') : folder, name,
                            dot == String::npos ? String{} : name.substr(dot + 1)};
    for (std::size_t small = 0; small < 4; ++small)
    {
        std::array<Char, 256> rooms[3];
        std::span<Char> outputs[3];
        for (std::size_t part = 0; part < 3; ++part)
        {
            rooms[part].fill('#');
            outputs[part] = {rooms[part].data(), parts[part].size() + (part == small ? 0 : 1)};
        }
        const bool fits = small == 3 || outputs[small].empty();
        require(split(path.c_str(), outputs[0], outputs[1], outputs[2]) == fits);
        require(fits || errno == ENAMETOOLONG);
        for (std::size_t part = 0; part < 3; ++part)
            require(
                rooms[part][outputs[part].size()] == '#' &&
                (outputs[part].empty() || rooms[part].data() == (fits ? parts[part] : String{})));
    }
}

void check_text(const std::string& text)
{
    constexpr std::size_t most = 8;
    std::array<char, most + 2> room;
    room.fill('#');
    const std::span<char> output = std::span{room}.first(most + 1);
    // Cut where a character ends, and no earlier.
    mirovan::copy_cut(output, text);
    const std::size_t cut = std::strlen(room.data());
    require(text.starts_with(room.data()) && (cut + 3 >= most || cut == text.size()));
    if (mirovan::is_utf8(text))
        for (std::size_t length = cut; length <= std::min(text.size(), most); ++length)
            require(mirovan::is_utf8(text.substr(0, length)) == (length == cut));
    require(mirovan::shell_word(text).size() >= text.size() + 2);

    const std::size_t start = text.find('a');
    const std::size_t end = start == std::string::npos ? start : text.find('b', start + 1);
    const bool fits = end != std::string::npos && end - start - 1 <= most;
    require(Fundix_String_GetStartEndA(text.c_str(), output, "a", "b") == fits);
    require(room.data() == (fits ? text.substr(start + 1, end - start - 1) : "") &&
            room.back() == '#');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    size = std::min<std::size_t>(size, 240);
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const std::string text = bytes.c_str();
    std::wstring wide(size / sizeof(wchar_t), L'\0');
    std::memcpy(wide.data(), data, wide.size() * sizeof(wchar_t));
    check_narrow(bytes);
    check_wide(wide.c_str());
    check_split(text, Fundix_String_GetFileAndPathA);
    check_split(std::wstring(text.begin(), text.end()), Fundix_String_GetFileAndPathW);
    check_text(text);
    return 0;
}
