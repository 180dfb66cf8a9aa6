#include "base/charset.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <optional>

namespace
{

constexpr std::uint32_t first_surrogate = 0xD800;
constexpr std::uint32_t last_surrogate = 0xDFFF;
constexpr std::uint32_t last_scalar = 0x10FFFF;

constexpr bool is_scalar(std::uint32_t value)
{
    return value < first_surrogate || (value > last_surrogate && value <= last_scalar);
}

bool refuse(std::span<char> dest, int reason)
{
    if (!dest.empty())
        dest[0] = '\0';
    errno = reason;
    return false;
}

/// Decodes the character at the front of a non-empty text; nothing when it is malformed.
struct Decoded
{
    std::uint32_t value;
    std::size_t length;
};

std::optional<Decoded> decode_front(const unsigned char* text, std::size_t size)
{
    const unsigned lead = text[0];
    if (lead < 0x80)
        return Decoded{lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || size < length)
        return std::nullopt;
    std::uint32_t value = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i)
    {
        if ((text[i] & 0xC0U) != 0x80)
            return std::nullopt;
        value = value << 6U | (text[i] & 0x3FU);
    }
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < smallest[length] || !is_scalar(value))
        return std::nullopt;
    return Decoded{value, length};
}

/// Length of the run of ASCII at the front, looked at eight bytes at a time.
std::size_t ascii_prefix(const unsigned char* text, std::size_t size)
{
    constexpr std::uint64_t high_bits = 0x8080808080808080;
    std::size_t at = 0;
    for (; size - at >= sizeof(std::uint64_t); at += sizeof(std::uint64_t))
    {
        std::uint64_t block = 0;
        std::memcpy(&block, text + at, sizeof block);
        if ((block & high_bits) != 0)
            break;
    }
    while (at < size && text[at] < 0x80)
        ++at;
    return at;
}

} // namespace

bool Fundix_Charset_UnicodeToUTF(const wchar_t* lpwszSource, std::span<char> dest, int* pnLen)
{
    char* out = dest.data();
    // Room for a character is looked for once, against the longest form, until the end is near.
    const char* const end = dest.data() + dest.size();
    for (const wchar_t* in = lpwszSource; *in != L'\0'; ++in)
    {
        const auto value = static_cast<std::uint32_t>(*in);
        const std::size_t length = value < 0x80 ? 1 : value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
        if (static_cast<std::size_t>(end - out) <= length)
            return refuse(dest, ENAMETOOLONG);
        if (length == 1)
        {
            *out++ = static_cast<char>(value);
            continue;
        }
        if (!is_scalar(value))
            return refuse(dest, EILSEQ);
        constexpr unsigned lead_marks[] = {0, 0, 0xC0, 0xE0, 0xF0};
        auto shift = static_cast<unsigned>(length - 1) * 6;
        *out++ = static_cast<char>(lead_marks[length] | value >> shift);
        while (shift != 0)
        {
            shift -= 6;
            *out++ = static_cast<char>(0x80U | (value >> shift & 0x3FU));
        }
    }
    if (out == end)
        return refuse(dest, ENAMETOOLONG); // GCOVR_EXCL_LINE: guard
    *out = '\0';
    if (pnLen != nullptr)
        *pnLen = static_cast<int>(out - dest.data());
    return true;
}

bool Fundix_Charset_UnicodeToAnsi(const wchar_t* lpwszSource, std::span<char> dest, int* pnLen)
{
    return Fundix_Charset_UnicodeToUTF(lpwszSource, dest, pnLen);
}

namespace mirovan
{

bool is_utf8(std::string_view text) noexcept
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    std::size_t at = ascii_prefix(bytes, text.size());
    while (at < text.size())
    {
        const auto character = decode_front(bytes + at, text.size() - at);
        if (!character)
            return false;
        at += character->length;
    }
    return true;
}

bool widen(std::string_view text, std::wstring& wide)
{
    wide.clear();
    wide.reserve(text.size());
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    for (std::size_t at = 0; at < text.size();)
    {
        const auto character = decode_front(bytes + at, text.size() - at);
        if (!character)
        {
            wide.clear();
            return false;
        }
        wide.push_back(static_cast<wchar_t>(character->value));
        at += character->length;
    }
    return true;
}

} // namespace mirovan
