#include "source/file/path.h"

#include "base/charset.h"

#include <cerrno>
#include <cwchar>
#include <span>
#include <string>

namespace mirovan
{

Path::Path(const wchar_t* path, std::size_t capacity)
    : text_{path != nullptr ? converted_ : nullptr}
{
    const std::span<char> buffer = std::span{converted_}.first(capacity);
    if (path == nullptr || Fundix_Charset_UnicodeToUTF(path, buffer, nullptr))
        return;
    error_ = errno;
    const wchar_t* const slash = std::wcsrchr(path, L'/');
    const std::wstring folder{path, slash != nullptr ? slash : path};
    if (!Fundix_Charset_UnicodeToUTF(folder.c_str(), buffer, nullptr))
        folder_error_ = errno;
    converted_[0] = '\0';
}

} // namespace mirovan
