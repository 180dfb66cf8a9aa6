#include "source/file/folder.h"
#include "source/file/stream.h"
#include "source/operation.h"

#include <string_view>

namespace mirovan
{
namespace
{

/// Writes until nothing is left or nothing moves any more.
bool write_all(std::FILE* stream, std::string_view bytes)
{
    // Without a buffer of the stream's own the write itself tells of a full disk, and the caller's
    // buffer is not copied.
    std::setvbuf(stream, nullptr, _IONBF, 0);
    std::size_t written = 0;
    do
    {
        errno = 0;
        const std::size_t moved =
            std::fwrite(bytes.data() + written, 1, bytes.size() - written, stream);
        if (moved == 0 && written != bytes.size() && errno != EINTR)
            return false;
        written += moved;
    } while (written != bytes.size());
    return true;
}

template <class Form>
bool save_buffer(const typename Form::Char* file, const char* bytes, int length)
{
    if (file == nullptr || bytes == nullptr || length < 0)
        return fail(ERROR_MIROVAN_FILE_SAVE_PARAMETER, EINVAL);
    PathBuffer native;
    if (!prepare_target<Form>(file, native, ERROR_MIROVAN_FILE_SAVE_OPEN))
        return false;
    const Stream stream = open_for_writing(native);
    if (!stream || !write_all(stream.get(), {bytes, static_cast<std::size_t>(length)}))
        return fail(ERROR_MIROVAN_FILE_SAVE_OPEN);
    return true;
}

} // namespace
} // namespace mirovan

bool CMirovan_File::Mirovan_File_SaveBuffToFileA(const char* lpszFile, const char* lpszBuffer,
                                                 int nBufLen)
{
    using namespace mirovan;
    return run_operation(ERROR_MIROVAN_FILE_SAVE_OPEN,
                         [&] { return save_buffer<NarrowForm>(lpszFile, lpszBuffer, nBufLen); });
}

bool CMirovan_File::Mirovan_File_SaveBuffToFileW(const wchar_t* lpwszFile, const char* lpszBuffer,
                                                 int nBufLen)
{
    using namespace mirovan;
    return run_operation(ERROR_MIROVAN_FILE_SAVE_OPEN,
                         [&] { return save_buffer<WideForm>(lpwszFile, lpszBuffer, nBufLen); });
}
