#include "source/file/path_form.h"
#include "source/file/stream.h"
#include "source/operation.h"

#include <algorithm>
#include <string>

namespace mirovan
{
namespace
{

// Large enough to make the calls cheap, small enough for a processor's cache.
constexpr long long block_size = 256LL * 1024;

/// Writes zeros; false when not all of them could be written.
bool write_zeros(std::FILE* stream, std::string_view zeros, long long size)
{
    for (long long left = size; left > 0; left -= block_size)
        if (!write_all(stream,
                       zeros.substr(0, static_cast<std::size_t>(std::min(left, block_size)))))
            return false;
    return true;
}

template <class Form>
bool create_zero_filled(const typename Form::Char* file, long long size)
{
    if (file == nullptr || size <= 0)
        return fail(ERROR_MIROVAN_FILE_SPARSE_PARAMETER, EINVAL);
    const std::string zeros(block_size, '\0');
    PathBuffer converted;
    const char* native = Form::native(file, converted);
    const Stream stream = native != nullptr ? open_for_writing(native) : nullptr;
    if (!stream)
        return fail(ERROR_MIROVAN_FILE_SPARSE_OPEN);
    return write_zeros(stream.get(), zeros, size) || fail(ERROR_MIROVAN_FILE_SPARSE_WRITE);
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
