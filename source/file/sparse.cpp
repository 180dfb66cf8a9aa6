#include "source/file/path.h"
#include "source/file/write.h"
#include "source/operation.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

namespace mirovan
{
namespace
{

// The kernel caches larger writes in larger blocks of memory.
constexpr long long block_size = 1024LL * 1024;

struct FreeMemory
{
    void operator()(char* memory) const { std::free(memory); }
};

/// Zero pages from the kernel, which no code has to fill.
std::unique_ptr<char, FreeMemory> make_zeros(std::size_t size)
{
    std::unique_ptr<char, FreeMemory> zeros{static_cast<char*>(std::calloc(size, 1))};
    if (!zeros)
        throw std::bad_alloc{};
    return zeros;
}

/// Writes zeros; false when not all of them could be written.
bool write_zeros(int file, long long size)
{
    const auto block = static_cast<std::size_t>(std::min(size, block_size));
    const auto memory = make_zeros(block);
    const std::string_view zeros{memory.get(), block};
    for (long long left = size; left > 0; left -= block_size)
        if (!write_all(file, zeros.substr(0, static_cast<std::size_t>(std::min(left, block_size)))))
            return false;
    return true;
}

bool create_zero_filled(const Path& path, long long size)
{
    if (path.is_null() || size <= 0)
        return fail(ERROR_MIROVAN_FILE_SPARSE_PARAMETER, EINVAL);
    if (path.error() != 0)
        return fail(ERROR_MIROVAN_FILE_SPARSE_OPEN, path.error());
    Descriptor file = open_for_writing(path.text());
    if (!file)
        return fail(ERROR_MIROVAN_FILE_SPARSE_OPEN, errno);
    return (write_zeros(file.get(), size) && file.close()) ||
           fail(ERROR_MIROVAN_FILE_SPARSE_WRITE, errno);
}

} // namespace
} // namespace mirovan

using namespace mirovan;

bool CMirovan_File::Mirovan_File_CreateSparseFileA(const char* lpszFile, long long nFileSize)
{
    return operation<ERROR_MIROVAN_FILE_SPARSE_OPEN>(create_zero_filled, lpszFile, nFileSize);
}

bool CMirovan_File::Mirovan_File_CreateSparseFileW(const wchar_t* lpwszFile, long long nFileSize)
{
    return operation<ERROR_MIROVAN_FILE_SPARSE_OPEN>(create_zero_filled, lpwszFile, nFileSize);
}
