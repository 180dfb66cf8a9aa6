#include "source/table.h"

#include "mirovan.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <sys/mman.h>

namespace mirovan
{
namespace
{

/// What stands in front of a table, whose pointers and rows are one block.
struct alignas(std::max_align_t) BlockHeader
{
    std::size_t mapped_size; ///< 0 for a block of the heap.
};

/// Blocks from this size on are mapped and unmapped here: freeing a large heap block may change how
/// the C library serves the rest of the program.
constexpr std::size_t smallest_mapped = std::size_t{64} << 10U;

BlockHeader* allocate_block(std::size_t size)
{
    if (size < smallest_mapped)
        return static_cast<BlockHeader*>(std::calloc(size, 1));
    void* const block = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    return block == MAP_FAILED ? nullptr : new (block) BlockHeader{size};
}

void free_block(BlockHeader* block)
{
    if (block->mapped_size != 0)
        munmap(block, block->mapped_size);
    else
        std::free(block);
}

constexpr std::size_t alignment = alignof(BlockHeader);

constexpr std::size_t align_up(std::size_t size)
{
    return (size + alignment - 1) / alignment * alignment;
}

} // namespace
} // namespace mirovan

bool Fundix_Memory_Malloc(void*** pppTable, int nListCount, std::size_t nMemSize)
{
    using namespace mirovan;
    if (pppTable == nullptr)
        return true;
    *pppTable = nullptr;
    if (nListCount <= 0)
        return true;

    const auto rows = static_cast<std::size_t>(nListCount);
    const std::size_t first_row = align_up(sizeof(BlockHeader) + (rows + 1) * sizeof(void*));
    if (nMemSize > (PTRDIFF_MAX - first_row) / rows - alignment)
        return false;
    const std::size_t row_size = align_up(nMemSize);
    BlockHeader* const block = allocate_block(first_row + rows * row_size);
    if (block == nullptr)
        return false;
    auto** const table = reinterpret_cast<void**>(block + 1);
    for (std::size_t row = 0; row < rows; ++row)
        table[row] = reinterpret_cast<char*>(block) + first_row + row * row_size;
    *pppTable = table;
    return true;
}

bool Fundix_Memory_Free(void*** pppTable, int /*nListCount*/)
{
    if (pppTable == nullptr)
        return false;
    if (*pppTable == nullptr)
        return true;
    mirovan::free_block(reinterpret_cast<mirovan::BlockHeader*>(*pppTable) - 1);
    *pppTable = nullptr;
    return true;
}
