#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace mirovan::platform
{
namespace
{

struct CloseDirectory
{
    void operator()(DIR* directory) const { closedir(directory); }
};

int set_one(int which, id_t who, int priority)
{
    return static_cast<int>(syscall(SYS_setpriority, which, who, priority));
}

/// Sets a thread's priority and returns whether it had another one; a thread that has ended needs
/// none.
bool follow(id_t thread, int priority)
{
    errno = 0;
    const int current = getpriority(PRIO_PROCESS, thread);
    return errno == 0 && current != priority && set_one(PRIO_PROCESS, thread, priority) == 0;
}

bool follow_all(const char* tasks, int priority)
{
    const std::unique_ptr<DIR, CloseDirectory> folder{opendir(tasks)};
    bool changed = false;
    const dirent* entry = nullptr;
    while (folder && (entry = readdir(folder.get())) != nullptr)
    {
        id_t thread = 0;
        const char* const end = entry->d_name + std::strlen(entry->d_name);
        if (std::from_chars(entry->d_name, end, thread).ptr == end)
            changed |= follow(thread, priority);
    }
    return changed;
}

} // namespace
} // namespace mirovan::platform

extern "C" int mirovan_linux_setpriority(int which, id_t who, int priority) noexcept;

int mirovan_linux_setpriority(int which, id_t who, int priority) noexcept
{
    using namespace mirovan::platform;
    const int result = set_one(which, who, priority);
    if (result != 0 || which != PRIO_PROCESS)
        return result;
    const int kept = errno;
    char tasks[32];
    const id_t process = who == 0 ? static_cast<id_t>(getpid()) : who;
    static_cast<void>(std::snprintf(tasks, sizeof tasks, "/proc/%u/task", process));
    // Once more whenever a thread had to be changed: it may have started another one before.
    constexpr int rounds = 8;
    const int reached = getpriority(PRIO_PROCESS, who);
    for (int round = 0; round < rounds && follow_all(tasks, reached); ++round)
        ;
    errno = kept;
    return 0;
}
