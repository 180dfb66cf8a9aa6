#include "base/string.h"
#include "platform/spawn.h"
#include "source/operation.h"
#include "source/process/start.h"

#include <cstring>
#include <string>
#include <vector>

namespace mirovan
{
namespace
{

using PathBuffer = char[MIROVAN_PATH_SIZE];

bool fits(const char* text)
{
    return strnlen(text, sizeof(PathBuffer)) < sizeof(PathBuffer);
}

/// Ends the words of a string in place and appends them; only spaces separate them.
void append_words(std::vector<char*>& words, char* text)
{
    constexpr const char* separator = " ";
    for (text += std::strspn(text, separator); *text != '\0'; text += std::strspn(text, separator))
    {
        words.push_back(text);
        text += std::strcspn(text, separator);
        if (*text != '\0')
            *text++ = '\0';
    }
}

bool create_process(unsigned long* id, const char* path, const char* parameters)
{
    if (id == nullptr || path == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    if (!fits(path) || (parameters != nullptr && !fits(parameters)))
        return fail(ERROR_MIROVAN_PROCESS_EXEC, ENAMETOOLONG);
    PathBuffer file;
    if (!Fundix_String_GetFileAndPathA(path, {}, file, {}))
        return fail(ERROR_MIROVAN_PROCESS_EXEC, errno);
    std::vector<char*> arguments{file};
    std::string words = parameters == nullptr ? "" : parameters;
    append_words(arguments, words.data());
    arguments.push_back(nullptr);
    const pid_t child = start_program({.program = path, .arguments = arguments.data()});
    if (child < 0)
        return fail(ERROR_MIROVAN_PROCESS_EXEC, errno);
    *id = static_cast<unsigned long>(child);
    return true;
}

/// Starts a program as fork() and exec() would: when the program cannot be executed, there is a
/// child all the same, which exits with status 127.
pid_t fork_and_execute(const Launch& launch)
{
    const pid_t child = start_program(launch);
    if (child >= 0 || errno == EAGAIN || errno == ENOMEM)
        return child;
    char* const nothing[] = {nullptr};
    return start_shell("exit 127", {.environment = nothing});
}

bool run_process(unsigned long* id, const char* path, const char* argument0, const char* argument1)
{
    if (id == nullptr || path == nullptr || argument0 == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    char* const arguments[] = {const_cast<char*>(argument0), const_cast<char*>(argument1), nullptr};
    const pid_t child = fork_and_execute(
        {.program = path, .arguments = arguments, .environment = platform::environment()});
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
