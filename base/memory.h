#pragma once

#include <cstddef>

/// Makes a row table: nListCount rows of nMemSize zero bytes, then a null pointer.
///
/// With a count of 0 the table variable becomes null and nothing is to be released; so it does when
/// memory runs out, and the result is false then. A null pppTable is accepted.
bool Fundix_Memory_Malloc(void*** pppTable, int nListCount, std::size_t nMemSize);

namespace mirovan
{

/// The same for a table of rows of a type; the public table variables are all of this form.
template <class Row>
bool make_table(Row*** table, int rows, std::size_t row_size)
{
    return Fundix_Memory_Malloc(reinterpret_cast<void***>(table), rows, row_size);
}

} // namespace mirovan
