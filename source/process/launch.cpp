#include "base/string.h"
#include "source/operation.h"
#include "source/process/child.h"
#include "source/table.h"

#include <cstring>
#include <spawn.h>
#include <string_view>
#include <vector>

namespace mirovan
{
namespace
{

using RowBuffer = char[MIROVAN_PATH_SIZE];

/// An argument vector: a row table with a text in each row.
class ArgumentTable
{
public:
    explicit ArgumentTable(const std::vector<std::string_view>& texts)
        : rows_{static_cast<int>(texts.size())}
    {
        if (!make_table(&table_, rows_, sizeof(RowBuffer)))
            throw std::bad_alloc{};
        for (std::size_t row = 0; row < texts.size(); ++row)
            copy_cut({table_[row], sizeof(RowBuffer)}, texts[row]);
    }
    ~ArgumentTable() { Fundix_Memory_Free(reinterpret_cast<void***>(&table_), rows_); }
    ArgumentTable(const ArgumentTable&) = delete;
    ArgumentTable& operator=(const ArgumentTable&) = delete;

    char* const* get() const { return table_; }

private:
    char** table_ = nullptr;
    int rows_;
};

bool fits(const char* text)
{
    return strnlen(text, sizeof(RowBuffer)) < sizeof(RowBuffer);
}

void append_words(std::vector<std::string_view>& words, std::string_view text)
{
    constexpr char blank = ' ';
    for (;;)
    {
        text.remove_prefix(std::min(text.find_first_not_of(blank), text.size()));
        if (text.empty())
            return;
        const std::string_view word = text.substr(0, text.find(blank));
        words.push_back(word);
        text.remove_prefix(word.size());
    }
}

bool create_process(unsigned long* id, const char* path, const char* parameters)
{
    if (id == nullptr || path == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    if (!fits(path) || (parameters != nullptr && !fits(parameters)))
        return fail(ERROR_MIROVAN_PROCESS_EXEC, ENAMETOOLONG);
    RowBuffer file;
    if (!Fundix_String_GetFileAndPathA(path, {}, file, {}))
        return fail(ERROR_MIROVAN_PROCESS_EXEC, errno);
    std::vector<std::string_view> words{file};
    if (parameters != nullptr)
        append_words(words, parameters);
    const ArgumentTable arguments{words};
    pid_t child = 0;
    const int error = posix_spawn(&child, path, nullptr, nullptr, arguments.get(), nullptr);
    if (error != 0)
        return fail(ERROR_MIROVAN_PROCESS_EXEC, error);
    *id = static_cast<unsigned long>(child);
    return true;
}

bool run_process(unsigned long* id, const char* path, const char* argument0, const char* argument1)
{
    if (id == nullptr || path == nullptr || argument0 == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    char* const arguments[] = {const_cast<char*>(argument0), const_cast<char*>(argument1), nullptr};
    const pid_t child = start_child(path, arguments);
    if (child < 0)
        return fail(ERROR_MIROVAN_PROCESS_FORK, errno);
    *id = static_cast<unsigned long>(child);
    return true;
}

} // namespace
} // namespace mirovan

bool CMirovan_Process::Mirovan_Process_CreateProcess(unsigned long* pnPid,
                                                     const char* lpszProcessPath,
                                                     const char* lpszArgs, bool /*bOption*/)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_EXEC>(mirovan::create_process, pnPid,
                                                          lpszProcessPath, lpszArgs);
}

bool CMirovan_Process::Mirovan_Process_RunProcess(unsigned long* pnPid, const char* lpszProcessPath,
                                                  const char* lpszArg0, const char* lpszArg1,
                                                  bool /*bOption*/)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_FORK>(mirovan::run_process, pnPid,
                                                          lpszProcessPath, lpszArg0, lpszArg1);
}
