#include "source/file/enumerate.h"

#include "source/operation.h"

#include <list>

namespace mirovan
{
namespace
{

template <class Form, class Char = typename Form::Char>
bool enumerate_into_list(const Char* path, std::list<std::basic_string<Char>>* list,
                         const Selection<Char>& selection)
{
    if (path == nullptr || list == nullptr)
        return fail(ERROR_MIROVAN_FILE_ENUM_PARAMETER, EINVAL);
    // Made from the text, so that an element takes no more memory than it needs.
    auto sink = [list](const std::basic_string<Char>& found) { list->push_back(found); };
    int denied = 0;
    return enumerate<Form>(path, selection, sink, denied);
}

} // namespace
} // namespace mirovan

using namespace mirovan;

bool CMirovan_File::Mirovan_File_EnumFileA(const char* lpszPath, std::list<std::string>* pListFile,
                                           bool bRecurse, int nListType, const char* lpszFilter)
{
    return throwing_operation(enumerate_into_list<NarrowForm>, lpszPath, pListFile,
                              Selection<char>{bRecurse, nListType, lpszFilter});
}

bool CMirovan_File::Mirovan_File_EnumFileW(const wchar_t* lpwszPath,
                                           std::list<std::wstring>* pListFile, bool bRecurse,
                                           int nListType, const wchar_t* lpwszFilter)
{
    return throwing_operation(enumerate_into_list<WideForm>, lpwszPath, pListFile,
                              Selection<wchar_t>{bRecurse, nListType, lpwszFilter});
}
