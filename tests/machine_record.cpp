#include "tests/support/machine.h"

#include "mirovan.h"

#include <cstdio>
#include <dlfcn.h>

/// Prints which library is loaded and what it says of the machine.
int main()
{
    Dl_info library{};
    dladdr(reinterpret_cast<const void*>(&Mirovan_GetVersion), &library);
    std::printf("library %s\n%s", library.dli_fname, test::report_record().c_str());
    std::printf("%s", test::serial_record().c_str());
    return 0;
}
