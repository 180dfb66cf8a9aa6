#include "base/memory.h"

#include "mirovan.h"
#include "platform/memory_pages.h"

#include <algorithm>
#include <cstdlib>

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
    // A table that takes less is not worth preparing for; one that takes more is prepared for in
    // steps, so that no more lies ready at a time.
    constexpr std::size_t least_prepared = std::size_t{512} << 10U;
    constexpr std::size_t most_prepared = std::size_t{16} << 20U;
    constexpr std::size_t row_overhead = 16;
    const std::size_t row_size = std::min(nMemSize, most_prepared) + row_overhead;
    const std::size_t rows_at_once = most_prepared / row_size + 1;
    const auto rows = static_cast<std::size_t>(nListCount);
    for (std::size_t row = 0; row < rows; ++row)
    {
        if (row % rows_at_once == 0)
        {
            const std::size_t next = std::min(rows - row, rows_at_once) * row_size;
            if (next >= least_prepared)
                mirovan::platform::prepare_heap(std::min(next, most_prepared));
        }
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
