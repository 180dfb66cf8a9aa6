#pragma once

#include "base/charset.h"
#include "base/string.h"
#include "mirovan.h"

#include <cerrno>
#include <cstring>
#include <cwchar>
#include <string>
#include <strings.h>

namespace mirovan
{

/// What differs between the twins of the enumeration: the form of the strings that go in and out.
/// The algorithm is written once, over a form.
struct NarrowForm
{
    using Char = char;

    static bool split(const char* path, std::span<char> folder, std::span<char> file,
                      std::span<char> extension)
    {
        return Fundix_String_GetFileAndPathA(path, folder, file, extension);
    }

    /// Whether a text begins with another, ignoring case.
    static bool begins_with(const std::string& text, const char* start)
    {
        return strncasecmp(text.c_str(), start, std::strlen(start)) == 0;
    }

    /// A path of the system in this form; false when it has none.
    static bool convert(const std::string& path, std::string& converted)
    {
        converted = path;
        return true;
    }
};

struct WideForm
{
    using Char = wchar_t;

    static bool split(const wchar_t* path, std::span<wchar_t> folder, std::span<wchar_t> file,
                      std::span<wchar_t> extension)
    {
        return Fundix_String_GetFileAndPathW(path, folder, file, extension);
    }

    static bool begins_with(const std::wstring& text, const wchar_t* start)
    {
        return wcsncasecmp(text.c_str(), start, std::wcslen(start)) == 0;
    }

    static bool convert(const std::string& path, std::wstring& converted)
    {
        return widen(path, converted);
    }
};

} // namespace mirovan
