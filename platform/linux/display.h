#pragma once

#include <string>

namespace mirovan::platform
{

struct DisplaySize
{
    unsigned width = 0;
    unsigned height = 0;

    explicit operator bool() const { return width != 0 && height != 0; }
    bool operator==(const DisplaySize&) const = default;
};

/// The screen of the X server that DISPLAY names; nothing without one.
DisplaySize x_display();

/// The first connected output below <root>/class/drm, in the order of their names: its first mode,
/// which is the one that the kernel sets when it has a choice.
DisplaySize drm_display(const std::string& root);

/// The first framebuffer below <root>/class/graphics: its mode, or its size without one.
DisplaySize framebuffer_display(const std::string& root);

} // namespace mirovan::platform
