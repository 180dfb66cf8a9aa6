#include "base/memory.h"

#include "mirovan.h"

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
    for (int row = 0; row < nListCount; ++row)
    {
        table[row] = std::calloc(1, nMemSize);
        if (table[row] == nullptr)
        {
            Fundix_Memory_Free(&table, row);
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
