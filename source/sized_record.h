#pragma once

#include "base/string.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

/// Records that begin with their size, which the caller sets, and a mask of the known fields.
namespace mirovan
{

/// Whether a caller's record has room for the fields of the first release that had it.
template <class Record>
bool is_sized(const Record* record)
{
    return record != nullptr && record->nSize >= sizeof(Record);
}

/// An empty record of this library's own size.
template <class Record>
Record make_sized()
{
    Record record{};
    record.nSize = sizeof(Record);
    return record;
}

/// Copies into a caller's record, which may have fields of a later release: those become 0, and
/// with them their bits.
template <class Record>
void give(const Record& filled, Record* record)
{
    const std::uint32_t size = record->nSize;
    std::memcpy(static_cast<void*>(record), &filled, sizeof filled);
    record->nSize = size;
    std::memset(reinterpret_cast<char*>(record) + sizeof filled, 0, size - sizeof filled);
}

/// Sets a field and its bit if the value is known.
template <class Record, class Field, class Value>
void set_known(Record& record, std::uint32_t bit, Field Record::*field,
               const std::optional<Value>& value)
{
    if (!value)
        return;
    record.*field = static_cast<Field>(*value);
    record.nKnown |= bit;
}

/// The same for text; an empty one is not known.
template <class Record>
void set_known(Record& record, std::uint32_t bit, std::span<char> field, std::string_view text)
{
    if (text.empty())
        return;
    copy_cut(field, text);
    record.nKnown |= bit;
}

} // namespace mirovan
