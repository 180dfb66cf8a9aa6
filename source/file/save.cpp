#include "source/file/folder.h"
#include "source/file/write.h"
#include "source/operation.h"

namespace mirovan
{
namespace
{

bool save_buffer(const Path& path, const char* bytes, int length)
{
    if (path.is_null() || bytes == nullptr || length < 0)
        return fail(ERROR_MIROVAN_FILE_SAVE_PARAMETER, EINVAL);
    if (!prepare_target(path, ERROR_MIROVAN_FILE_SAVE_OPEN))
        return false;
    Descriptor file = open_for_writing(path.text());
    return (file && write_all(file.get(), {bytes, static_cast<std::size_t>(length)}) &&
            file.close()) ||
           fail(ERROR_MIROVAN_FILE_SAVE_OPEN, errno);
}

} // namespace
} // namespace mirovan

using namespace mirovan;

bool CMirovan_File::Mirovan_File_SaveBuffToFileA(const char* lpszFile, const char* lpszBuffer,
                                                 int nBufLen)
{
    return operation<ERROR_MIROVAN_FILE_SAVE_OPEN>(save_buffer, lpszFile, lpszBuffer, nBufLen);
}

bool CMirovan_File::Mirovan_File_SaveBuffToFileW(const wchar_t* lpwszFile, const char* lpszBuffer,
                                                 int nBufLen)
{
    return operation<ERROR_MIROVAN_FILE_SAVE_OPEN>(save_buffer, lpwszFile, lpszBuffer, nBufLen);
}
