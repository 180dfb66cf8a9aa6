#pragma once

#include "base/charset.h"
#include "base/string.h"
#include "mirovan.h"

#include <cerrno>
#include <cstring>

namespace mirovan
{

/// Room for a converted path.
using PathBuffer = char[MIROVAN_PATH_SIZE];

/// What differs between the twins of a file operation: the form of their strings. An algorithm is
/// written once, over a form.
struct NarrowForm
{
    using Char = char;

    /// The path as the system takes it; null, with errno set, when it cannot be converted.
    static const char* native(const char* path, PathBuffer& /*buffer*/) { return path; }

    /// The same as a copy, so that it fits a buffer in every form; the buffer is an empty text when
    /// it does not.
    static bool convert(const char* path, PathBuffer& buffer)
    {
        const std::size_t length = std::strlen(path);
        const bool fits = length < sizeof buffer;
        std::memcpy(buffer, fits ? path : "", fits ? length + 1 : 1);
        if (!fits)
            errno = ENAMETOOLONG;
        return fits;
    }

    static bool split(const char* path, std::span<char> folder, std::span<char> file,
                      std::span<char> extension)
    {
        return Fundix_String_GetFileAndPathA(path, folder, file, extension);
    }
};

struct WideForm
{
    using Char = wchar_t;

    static const char* native(const wchar_t* path, PathBuffer& buffer)
    {
        return convert(path, buffer) ? buffer : nullptr;
    }

    static bool convert(const wchar_t* path, PathBuffer& buffer)
    {
        return Fundix_Charset_UnicodeToUTF(path, buffer, nullptr);
    }

    static bool split(const wchar_t* path, std::span<wchar_t> folder, std::span<wchar_t> file,
                      std::span<wchar_t> extension)
    {
        return Fundix_String_GetFileAndPathW(path, folder, file, extension);
    }
};

} // namespace mirovan
