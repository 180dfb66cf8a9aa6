#include "platform/linux/command_folder.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <memory>

namespace mirovan::platform
{
namespace
{

struct CloseFile
{
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};

/// The absolute path of the file that an address was loaded from; empty if unknown.
std::string mapped_file(const void* address)
{
    const std::unique_ptr<std::FILE, CloseFile> maps{std::fopen("/proc/self/maps", "re")};
    if (!maps)
        return {};
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    char line[8192];
    while (std::fgets(line, sizeof line, maps.get()) != nullptr)
    {
        // A line begins with the first address and the end of a mapping: "7f00-7f80 r-xp".
        char* dash = nullptr;
        const std::uintptr_t first = std::strtoull(line, &dash, 16);
        const std::uintptr_t end = *dash == '-' ? std::strtoull(dash + 1, nullptr, 16) : 0;
        if (wanted < first || wanted >= end)
            continue;
        const char* path = std::strchr(line, '/');
        return path == nullptr ? std::string{} : std::string{path, std::strcspn(path, "\n")};
    }
    return {}; // GCOVR_EXCL_LINE: machine
}

} // namespace

std::string command_folder()
{
    Dl_info library{};
    std::string path;
    const auto* here = reinterpret_cast<const void*>(&command_folder);
    if (dladdr(here, &library) != 0 && library.dli_fname != nullptr)
        path = library.dli_fname;
    // The loader keeps a relative path as it was given, which means nothing once the current folder
    // has changed.
    if (path.empty() || path.front() != '/')
        path = mapped_file(here);
    const std::size_t folder_end = path.rfind('/');
    if (folder_end == std::string::npos)
        return MIROVAN_COMMAND_FOLDER;
    return path.substr(0, folder_end + 1) + MIROVAN_COMMAND_FOLDER_FROM_LIBRARY;
}

} // namespace mirovan::platform
