#include "base/memory.h"

#include "mirovan.h"
#include "platform/memory_pages.h"

#include <algorithm>
#include <cstdlib>

namespace
{

/// Has the heap hold the rows of a table before they are allocated: in steps, so that no more than a
/// step lies ready at a time. A step that takes little is not worth it.
class RowPreparation
{
public:
    RowPreparation(std::size_t rows, std::size_t size)
        : rows_{rows}, size_{std::min(size, most) + overhead}, rows_in_step_{most / size_ + 1}
    {
    }

    /// Called for each row in turn, before it is allocated.
    void reach(std::size_t row) const
    {
        if (row % rows_in_step_ != 0)
            return;
        const std::size_t step = std::min(rows_ - row, rows_in_step_) * size_;
        if (step >= least)
            mirovan::platform::prepare_heap(std::min(step, most));
    }

private:
    static constexpr std::size_t least = std::size_t{512} << 10U;
    static constexpr std::size_t most = std::size_t{16} << 20U;
    static constexpr std::size_t overhead = 16; ///< Of a block, where the heap keeps its size.

    std::size_t rows_;
    std::size_t size_;
    std::size_t rows_in_step_;
};

} // namespace

bool Fundix_Memory_Malloc(void*** pppTable, int nListCount, std::size_t nMemSize)
{
    if (pppTable == nullptr)
        return true;
    *pppTable = nullptr;
    if (nListCount <= 0)
        return true;

    auto** table =
        static_cast<void**>(std::calloc(static_cast<std::size_t>(nListCount) + 1, sizeof(void*)));
    if (table == nullptr)
        return false;
    const RowPreparation preparation{static_cast<std::size_t>(nListCount), nMemSize};
    for (std::size_t row = 0; row < static_cast<std::size_t>(nListCount); ++row)
    {
        preparation.reach(row);
        table[row] = std::calloc(1, nMemSize);
        if (table[row] == nullptr)
        {
            Fundix_Memory_Free(&table, static_cast<int>(row));
            return false;
        }
    }
    *pppTable = table;
    return true;
}

bool Fundix_Memory_Free(void*** pppTable, int nListCount)
{
    if (pppTable == nullptr)
        return false;
    if (*pppTable == nullptr)
        return true;
    for (int row = 0; row < nListCount; ++row)
        std::free((*pppTable)[row]);
    std::free(*pppTable);
    *pppTable = nullptr;
    return true;
}
