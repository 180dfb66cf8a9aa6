#include "platform/memory_pages.h"

namespace mirovan::platform
{

void prepare_heap(std::size_t /*size*/) noexcept {}

} // namespace mirovan::platform
