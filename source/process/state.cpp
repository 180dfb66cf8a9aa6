#include "source/operation.h"

#include <algorithm>
#include <string_view>

namespace mirovan
{
namespace
{

bool state_number(char letter, unsigned long* number)
{
    if (number == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    constexpr std::string_view letters = "RSDZTW";
    *number = std::min(letters.find(letter), letters.size());
    return true;
}

} // namespace
} // namespace mirovan

bool CMirovan_Process::Mirovan_Process_AppState(char cState, unsigned long* pnState)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_PARAMETER>(mirovan::state_number, cState,
                                                               pnState);
}
