#pragma once

#include "mirovan.h"

#include <cstddef>

namespace mirovan
{

/// A path that a caller gave, as the system takes it. A wide path is converted once, here.
class Path
{
public:
    /// What the conversion of a wide path may take: the paths of most operations have at most 1,023
    /// bytes; that of folder creation has 1,023 characters of any length.
    static constexpr std::size_t usual_capacity = MIROVAN_PATH_SIZE;
    static constexpr std::size_t largest_capacity = std::size_t{4} * MIROVAN_PATH_SIZE;

    Path(const char* path) noexcept : text_{path} {} // NOLINT(google-explicit-constructor)
    Path(const wchar_t* path,
         std::size_t capacity = usual_capacity); // NOLINT(google-explicit-constructor)
    Path(const Path&) = delete;
    Path& operator=(const Path&) = delete;

    /// Whether the caller gave none.
    bool is_null() const noexcept { return text_ == nullptr; }

    /// Why the path cannot be used, and the part of it before the last slash: EILSEQ or
    /// ENAMETOOLONG; 0 when nothing is wrong with it.
    int error() const noexcept { return error_; }
    int folder_error() const noexcept { return folder_error_; }

    /// Null-terminated; empty when the path cannot be used.
    const char* text() const noexcept { return text_; }

private:
    const char* text_;
    int error_ = 0;
    int folder_error_ = 0;
    char converted_[largest_capacity];
};

} // namespace mirovan
