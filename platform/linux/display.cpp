#include "platform/linux/display.h"

#include "platform/linux/read_text.h"

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <memory>
#include <set>
#include <string_view>

namespace mirovan::platform
{
namespace
{

// What this file needs of the X client library, in the layout that the X protocol gives its setup
// block. XCB rather than Xlib, which ends the process if the server disconnects.
struct Screen
{
    std::uint32_t root;
    std::uint32_t default_colormap;
    std::uint32_t white_pixel;
    std::uint32_t black_pixel;
    std::uint32_t current_input_masks;
    std::uint16_t width_in_pixels;
    std::uint16_t height_in_pixels;
};
struct ScreenIterator
{
    Screen* data;
    int remaining;
    int index;
};
struct Connection;
struct Setup;

struct CloseLibrary
{
    void operator()(void* library) const { dlclose(library); }
};

template <class Function>
Function* symbol(void* library, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(library, name));
}

/// "1920x1080", "U:1920x1080p-60" or "1920,1080": the two numbers.
DisplaySize parse_size(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon != std::string_view::npos)
        text.remove_prefix(colon + 1);
    const char* const end = text.data() + text.size();
    DisplaySize size;
    const auto width = std::from_chars(text.data(), end, size.width);
    if (width.ec != std::errc{} || width.ptr == end || (*width.ptr != 'x' && *width.ptr != ','))
        return {};
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    return height.ec == std::errc{} ? size : DisplaySize{};
}

DisplaySize size_in(const std::string& path)
{
    std::string text;
    return read_text(path.c_str(), text) ? parse_size(text) : DisplaySize{};
}

struct CloseFolder
{
    void operator()(DIR* folder) const { closedir(folder); }
};

/// The names in a folder, in order; none when it cannot be read.
std::set<std::string> sorted_names(const std::string& path)
{
    std::set<std::string> names;
    const std::unique_ptr<DIR, CloseFolder> folder{opendir(path.c_str())};
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr)
        names.insert(entry->d_name);
    return names;
}

} // namespace

DisplaySize x_display()
{
    const char* name = std::getenv("DISPLAY");
    if (name == nullptr || *name == '\0')
        return {};
    const std::unique_ptr<void, CloseLibrary> library{dlopen("libxcb.so.1", RTLD_NOW | RTLD_LOCAL)};
    if (!library)
        return {};
    auto* connect = symbol<Connection*(const char*, int*)>(library.get(), "xcb_connect");
    auto* disconnect = symbol<void(Connection*)>(library.get(), "xcb_disconnect");
    auto* has_error = symbol<int(Connection*)>(library.get(), "xcb_connection_has_error");
    auto* get_setup = symbol<const Setup*(Connection*)>(library.get(), "xcb_get_setup");
    auto* get_screens =
        symbol<ScreenIterator(const Setup*)>(library.get(), "xcb_setup_roots_iterator");
    auto* next_screen = symbol<void(ScreenIterator*)>(library.get(), "xcb_screen_next");
    if (connect == nullptr || disconnect == nullptr || has_error == nullptr ||
        get_setup == nullptr || get_screens == nullptr || next_screen == nullptr)
        return {};

    int number = 0;
    const std::unique_ptr<Connection, void (*)(Connection*)> connection{connect(name, &number),
                                                                        disconnect};
    if (has_error(connection.get()) != 0)
        return {};
    ScreenIterator screen = get_screens(get_setup(connection.get()));
    for (; number > 0 && screen.remaining > 1; --number)
        next_screen(&screen); // GCOVR_EXCL_LINE: machine
    if (screen.remaining == 0)
        return {};
    return {screen.data->width_in_pixels, screen.data->height_in_pixels};
}

DisplaySize drm_display(const std::string& root)
{
    const std::string drm = root + "/class/drm/";
    for (const std::string& output : sorted_names(drm))
    {
        std::string status;
        if (!read_text((drm + output + "/status").c_str(), status) ||
            status.rfind("connected", 0) != 0)
            continue;
        if (const DisplaySize size = size_in(drm + output + "/modes"))
            return size;
    }
    return {};
}

DisplaySize framebuffer_display(const std::string& root)
{
    const std::string graphics = root + "/class/graphics/";
    for (const std::string& framebuffer : sorted_names(graphics))
    {
        // Beside fb0, fb1 and so on there is fbcon, which is none.
        if (framebuffer.rfind("fb", 0) != 0 || framebuffer.find_first_of("0123456789") != 2)
            continue;
        for (const char* file : {"/mode", "/virtual_size"})
            if (const DisplaySize size = size_in(graphics + framebuffer + file))
                return size;
    }
    return {};
}

} // namespace mirovan::platform
