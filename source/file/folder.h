#pragma once

#include "source/error.h"
#include "source/file/path_form.h"

namespace mirovan
{

/// Folder creation, an operation of its own: it clears the flag and sets its own codes.
template <class Form>
bool create_folder(const typename Form::Char* path);

/// Makes ready for writing to a file: converts its path, and creates its folder when that is
/// missing.
///
/// @param nearest the code for a path that is too long or cannot be converted. When the folder
///                cannot be created the code of folder creation stands.
template <class Form>
bool prepare_target(const typename Form::Char* file, PathBuffer& native, ErrorCode nearest);

} // namespace mirovan
