// Preloaded in place of readdir(): a file system that does not say what its entries are.
#include <dirent.h>
#include <dlfcn.h>

extern "C" __attribute__((visibility("default"))) dirent* readdir(DIR* stream)
{
    static const auto system_readdir =
        reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
    dirent* const entry = system_readdir(stream);
    if (entry != nullptr)
        entry->d_type = DT_UNKNOWN;
    return entry;
}
