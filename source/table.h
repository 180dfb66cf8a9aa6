#pragma once

#include <cstddef>

/// Allocates a null-terminated array of nListCount rows of nMemSize zero bytes each.
///
/// With a count of 0, and when memory runs out (the result is false then), the table variable
/// becomes null and there is nothing to release. A null pppTable is accepted.
bool Fundix_Memory_Malloc(void*** pppTable, int nListCount, std::size_t nMemSize);

namespace mirovan
{

/// The same for rows of one type; the public table variables are all of this form.
template <class Row>
bool make_table(Row*** table, int rows, std::size_t row_size)
{
    return Fundix_Memory_Malloc(reinterpret_cast<void***>(table), rows, row_size);
}

} // namespace mirovan
