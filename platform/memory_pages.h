#pragma once

#include <cstddef>

namespace mirovan::platform
{

/// Has the heap hold this much memory that is free and whose pages are ready, for many blocks that
/// are about to be allocated: touching new pages one by one costs more than all else that is done
/// with them. Only a hint: does nothing where it cannot help. errno stays as it is.
void prepare_heap(std::size_t size) noexcept;

} // namespace mirovan::platform
