#include "platform/memory_pages.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <sys/mman.h>
#include <unistd.h>

namespace mirovan::platform
{
namespace
{

/// Makes all pages within a block ready by one call. errno is left to the caller.
void populate(char* block, std::size_t size) noexcept
{
    // Newer than the headers of some systems. Older kernels refuse it.
    constexpr int populate_write = 23;
    const auto page = static_cast<std::uintptr_t>(getpagesize());
    const auto start = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t first = (start + page - 1) & ~(page - 1);
    const std::uintptr_t end = (start + size) & ~(page - 1);
    if (first < end)
        static_cast<void>(madvise(block + (first - start), end - first, populate_write));
}

} // namespace

void prepare_heap(std::size_t size) noexcept
{
    const int error = errno;
    // The C library maps a block of this size by itself, and learns when it is freed that the heap
    // had better serve the next one, and keep that much. What another allocator maps by itself all
    // the same is no use to smaller blocks.
    void* volatile mapped = std::malloc(size);
    std::free(mapped);
    auto* const block = static_cast<char*>(std::malloc(size));
    if (std::less<>{}(block, static_cast<char*>(sbrk(0))) && block != nullptr)
        populate(block, size);
    std::free(block);
    errno = error;
}

} // namespace mirovan::platform
