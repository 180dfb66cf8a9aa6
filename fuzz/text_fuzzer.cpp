// Charset helpers against iconv, the path splitters against the standard library's own reading of a
// path, and the text helpers against their bounds.
#include "base/charset.h"
#include "base/shell_word.h"
#include "base/string.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iconv.h>
#include <string>

namespace
{

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// What iconv makes of UTF-8; whether it is valid is the result. It lets values above the last
/// character of Unicode pass, which is no text.
bool widen_by_iconv(std::string text, std::wstring& wide)
{
    static const iconv_t converter = iconv_open("WCHAR_T", "UTF-8");
    wide.assign(text.size() + 1, L'\0');
    char* in = text.data();
    char* out = reinterpret_cast<char*>(wide.data());
    std::size_t in_left = text.size();
    std::size_t out_left = wide.size() * sizeof(wchar_t);
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    const bool valid = iconv(converter, &in, &in_left, &out, &out_left) == 0;
    wide.resize(wide.size() - out_left / sizeof(wchar_t));
    return valid &&
           std::none_of(wide.begin(), wide.end(), [](wchar_t value) { return value > 0x10FFFF; });
}

void check_charset(const std::string& text)
{
    std::wstring expected;
    std::wstring wide;
    const bool valid = widen_by_iconv(text, expected);
    require(mirovan::is_utf8(text) == valid && mirovan::widen(text, wide) == valid);
    if (!valid)
        return;
    require(wide == expected);
    // Back again, into a room that fits to the byte, and into one that does not.
    const std::string up_to_nul = text.c_str();
    std::array<char, 1024> room;
    room.fill('#');
    const std::size_t needed = up_to_nul.size() + 1;
    if (needed > room.size() - 1)
        return;
    require(Fundix_Charset_UnicodeToUTF(wide.c_str(), std::span{room}.first(needed), nullptr));
    require(up_to_nul == room.data() && room[needed] == '#');
    require(
        !Fundix_Charset_UnicodeToAnsi(wide.c_str(), std::span{room}.first(needed - 1), nullptr));
    require(needed == 1 || room[0] == '\0');
}

void check_wide(const std::uint8_t* data, std::size_t size)
{
    std::wstring wide(size / sizeof(wchar_t), L'\0');
    std::memcpy(wide.data(), data, wide.size() * sizeof(wchar_t));
    std::array<char, 64> room;
    std::wstring back;
    if (Fundix_Charset_UnicodeToUTF(wide.c_str(), room, nullptr))
        require(mirovan::widen(room.data(), back) && back == wide.c_str());
    else
        require(room[0] == '\0');
}

void check_split(const std::string& path)
{
    std::array<char, 64> folder{};
    std::array<char, 32> file{};
    std::array<char, 16> extension{};
    if (!Fundix_String_GetFileAndPathA(path.c_str(), folder, file, extension))
    {
        require(folder[0] == '\0' && file[0] == '\0' && extension[0] == '\0');
        return;
    }
    const std::string whole = path.c_str();
    const std::size_t slash = whole.rfind('/');
    const std::string name = slash == std::string::npos ? whole : whole.substr(slash + 1);
    require(name == file.data());
    const std::size_t dot = name.rfind('.');
    require((dot == std::string::npos ? "" : name.substr(dot + 1)) == extension.data());
    if (slash == std::string::npos)
        require(std::strcmp(folder.data(), ".") == 0);
    else
        require(whole.substr(0, std::max<std::size_t>(slash, 1)) == folder.data());
}

void check_text(const std::string& text)
{
    std::array<char, 16> room;
    room.fill('#');
    mirovan::copy_cut(std::span{room}.first(9), text.c_str());
    require(room[9] == '#' && std::string{text.c_str()}.rfind(room.data(), 0) == 0);
    require(!mirovan::is_utf8(text.c_str()) || mirovan::is_utf8(room.data()));
    Fundix_String_GetStartEndA(text.c_str(), std::span{room}.first(9), "a", "b");
    require(room[9] == '#' && std::strlen(room.data()) < 9);
    require(mirovan::shell_word(text).size() >= text.size() + 2);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    check_charset(text);
    check_wide(data, size);
    check_split(text);
    check_text(text);
    return 0;
}
