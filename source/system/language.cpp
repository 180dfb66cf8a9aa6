#include "source/operation.h"

#include <cstdlib>
#include <cstring>

namespace
{

using namespace mirovan;

bool get_language(char* language)
{
    if (language == nullptr)
        return fail(ERROR_MIROVAN_SYSTEM_PARAMETER, EINVAL);
    const char* const value = std::getenv("LANG");
    if (value == nullptr)
        *language = '\0';
    else
        std::memcpy(language, value, std::strlen(value) + 1);
    return true;
}

} // namespace

bool CMirovan_System::Mirovan_System_GetLanguage(char* lpszLanguage)
{
    return operation<ERROR_MIROVAN_SYSTEM_QUERY_FAILED>(get_language, lpszLanguage);
}
