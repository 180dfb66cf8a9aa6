#include "source/file/folder.h"
#include "source/file/stream.h"
#include "source/operation.h"

namespace mirovan
{
namespace
{

template <class Form>
bool save_buffer(const typename Form::Char* file, const char* bytes, int length)
{
    if (file == nullptr || bytes == nullptr || length < 0)
        return fail(ERROR_MIROVAN_FILE_SAVE_PARAMETER, EINVAL);
    PathBuffer native;
    if (!prepare_target<Form>(file, native, ERROR_MIROVAN_FILE_SAVE_OPEN))
        return false;
    const Stream stream = open_for_writing(native);
    if (!stream || !write_all(stream.get(), {bytes, static_cast<std::size_t>(length)}))
        return fail(ERROR_MIROVAN_FILE_SAVE_OPEN, errno);
    return true;
}

} // namespace
} // namespace mirovan

bool CMirovan_File::Mirovan_File_SaveBuffToFileA(const char* lpszFile, const char* lpszBuffer,
                                                 int nBufLen)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_FILE_SAVE_OPEN>(save_buffer<NarrowForm>, lpszFile, lpszBuffer,
                                                   nBufLen);
}

bool CMirovan_File::Mirovan_File_SaveBuffToFileW(const wchar_t* lpwszFile, const char* lpszBuffer,
                                                 int nBufLen)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_FILE_SAVE_OPEN>(save_buffer<WideForm>, lpwszFile, lpszBuffer,
                                                   nBufLen);
}
