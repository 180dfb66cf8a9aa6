#include "tests/faults/faults.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <poll.h>
#include <pwd.h>
#include <sched.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <sys/uio.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace
{

using namespace faults;

// A child that shares the memory until its program starts finds these as its parent left them.
[[gnu::tls_model("initial-exec")]] thread_local bool armed = false;
pid_t process = 0;
Plan plan;
Report report;

struct Allocation
{
    void* block;
    unsigned call;
};
std::array<Allocation, 1 << 16> allocations;
std::size_t allocation_count = 0;

class Disarmed
{
public:
    Disarmed() { armed = false; }
    ~Disarmed() { armed = was_armed_; }
    Disarmed(const Disarmed&) = delete;
    Disarmed& operator=(const Disarmed&) = delete;

private:
    bool was_armed_ = armed;
};

/// Who makes a call: the library, what it is written in, or what that stands on. What others need
/// for themselves is not the library's to answer for.
enum class Caller
{
    library,
    cxx_library,
    c_library
};

/// Where a loaded library begins and ends.
struct Range
{
    const char* name;
    Caller caller;
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};
std::array<Range, 5> ranges = {{{"/libmirovan.", Caller::library},
                                {"/libstdc++.", Caller::cxx_library},
                                {"/libc++.", Caller::cxx_library},
                                {"/libc++abi.", Caller::cxx_library},
                                {"/libc.", Caller::c_library}}};

int note_library(dl_phdr_info* info, std::size_t /*size*/, void* /*none*/)
{
    for (Range& range : ranges)
        if (std::strstr(info->dlpi_name, range.name) != nullptr)
        {
            range.begin = info->dlpi_addr;
            for (int i = 0; i < info->dlpi_phnum; ++i)
                if (const auto& part = info->dlpi_phdr[i]; part.p_type == PT_LOAD)
                    range.end = info->dlpi_addr + part.p_vaddr + part.p_memsz;
        }
    return 0;
}

bool comes_from(const void* address, Caller farthest)
{
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    return std::any_of(ranges.begin(), ranges.end(),
                       [&](const Range& range)
                       { return range.caller <= farthest && range.begin <= at && at < range.end; });
}

/// The C library's own function. Without a guarded initialization, which may itself have to call
/// one of the functions that stand here.
template <class Function>
Function* next(std::atomic<Function*>& known, const char* name)
{
    Function* function = known;
    if (function == nullptr)
    {
        const Disarmed lookup;
        function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
        known = function;
    }
    return function;
}

bool fires(const char* function)
{
    if (plan.at == 0 || report.calls < plan.at)
        return false;
    if (report.fired == 0)
        return true;
    // A call that is interrupted is made again, for ever if need be; so this one comes to an end.
    constexpr unsigned burst = 3;
    if (report.error == EINTR && report.fired == burst)
        return false;
    return plan.mode == Mode::all ||
           (plan.mode == Mode::same && std::strcmp(function, report.function) == 0);
}

/// Counts a call and tells in which way it is to fail; 0 for not at all.
template <std::size_t Ways>
int fault_in_any_process(const char* function, const int (&ways)[Ways], const void* address,
                         Caller farthest = Caller::library)
{
    if (!armed || !comes_from(address, farthest))
        return 0;
    ++report.calls;
    if (!fires(function))
        return 0;
    const int way = ways[plan.way % Ways];
    if (report.fired++ == 0)
    {
        report.function = function;
        report.error = way;
        report.ways = Ways;
    }
    return way;
}

template <std::size_t Ways>
int fault(const char* function, const int (&ways)[Ways], const void* caller)
{
    return armed && getpid() == process ? fault_in_any_process(function, ways, caller) : 0;
}

/// The C++ library allocates what the library asks it for.
bool lacks_memory(const char* function, const void* caller)
{
    constexpr int ways[] = {ENOMEM};
    if (!armed || getpid() != process ||
        fault_in_any_process(function, ways, caller, Caller::cxx_library) == 0)
        return false;
    errno = ENOMEM;
    return true;
}

template <class Result>
Result fails(int way, Result result)
{
    if (way > 0)
        errno = way;
    return result;
}

/// It may be waiting for the library.
void end_child(id_t child)
{
    static constinit std::atomic<int (*)(pid_t, int)> known = nullptr;
    next(known, "kill")(static_cast<pid_t>(child), SIGKILL);
}

void refuse(const char* what)
{
    static_cast<void>(!write(STDERR_FILENO, what, std::strlen(what)));
    std::abort();
}

/// A stream that has met an error remembers it; the C library offers no other way to tell it.
void mark_error(std::FILE* stream)
{
    constexpr int error_seen = 0x20;
    stream->_flags |= error_seen;
}

/// What a call that failed was to fill must not be used.
template <class Output>
void spoil(Output* output)
{
    std::memset(output, 0x55, sizeof *output);
}

void* noted(void* block, const void* caller)
{
    if (block != nullptr && armed && comes_from(caller, Caller::c_library) &&
        allocation_count < allocations.size())
        allocations[allocation_count++] = {block, report.calls};
    return block;
}

void forget(void* block)
{
    for (std::size_t i = allocation_count; block != nullptr && i-- != 0;)
    {
        if (allocations[i].block != block)
            continue;
        allocations[i] = allocations[--allocation_count];
        return;
    }
}

} // namespace

#pragma GCC visibility push(default)
namespace faults
{

void faults_arm(const Plan& new_plan)
{
    dl_iterate_phdr(note_library, nullptr);
    plan = new_plan;
    report = {};
    process = getpid();
    armed = true;
}

Report faults_disarm()
{
    armed = false;
    return report;
}

std::size_t faults_forget_allocations(unsigned* first)
{
    *first = allocation_count == 0 ? 0 : allocations[0].call;
    return std::exchange(allocation_count, 0);
}

} // namespace faults

extern "C"
{

// A stand-in for a function of the C library, under a name of its own here so that it does not have
// to repeat how the system's headers declare it. `when` tells the calls that count, `instead` what
// one of them does that fails; what follows are the ways.
#define STAND_IN_WHEN(when, result, name, parameters, arguments, instead, ...)                     \
    result stand_in_##name parameters __asm__(#name);                                              \
    result stand_in_##name parameters                                                              \
    {                                                                                              \
        static constinit std::atomic<result(*) parameters> known = nullptr;                        \
        auto* const real = next(known, #name);                                                     \
        static constexpr int ways[] = {__VA_ARGS__};                                               \
        const int way = (when) ? fault(#name, ways, __builtin_return_address(0)) : 0;              \
        return way == 0 ? real arguments : (instead);                                              \
    }
#define STAND_IN(...) STAND_IN_WHEN(true, __VA_ARGS__)
// What most of them do: nothing, and report a failure by -1 or a null pointer and errno, or by the
// error itself.
#define FAILING(result, name, parameters, arguments, ...)                                          \
    STAND_IN(result, name, parameters, arguments, fails(way, result(-1)), __VA_ARGS__)
#define NULLING(result, name, parameters, arguments, ...)                                          \
    STAND_IN(result, name, parameters, arguments, fails<result>(way, nullptr), __VA_ARGS__)
#define REPORTING(name, parameters, arguments, ...)                                                \
    STAND_IN(int, name, parameters, arguments, way, __VA_ARGS__)

    // Files. That something does not exist is an answer rather than a failure, and never given.

    FAILING(int, access, (const char* path, int mode), (path, mode), EACCES, EIO, ENOMEM, ELOOP)
    FAILING(int, stat, (const char* path, struct stat* to), (path, to), EACCES, ENOMEM, EIO, ELOOP)
    FAILING(int, fstat, (int file, struct stat* to), (file, to), EIO, ENOMEM)
    FAILING(int, fstatat, (int folder, const char* path, struct stat* to, int flags),
            (folder, path, to, flags), EACCES, ENOMEM, EIO)
    FAILING(int, statx, (int folder, const char* path, int flags, unsigned mask, struct statx* to),
            (folder, path, flags, mask, to), EACCES, ENOMEM, EIO, ENOSYS)
    FAILING(int, statvfs, (const char* path, struct statvfs* to), (path, to), EACCES, EIO, ENOMEM,
            EINTR)
    FAILING(int, openat, (int folder, const char* path, int flags, mode_t mode),
            (folder, path, flags, mode), EACCES, EMFILE, ENFILE, ENOMEM, ENOSPC, EROFS, EIO, EINTR)
    STAND_IN(int, close, (int file), (file), (real(file), fails(way, -1)), EIO, ENOSPC, EDQUOT)
    STAND_IN(ssize_t, read, (int file, void* to, std::size_t size), (file, to, size),
             way == partly ? real(file, to, std::min<std::size_t>(size, 1)) : fails(way, -1L), EIO,
             partly, EINTR)
    // The same with the size of the buffer, which a hardened build calls.
    STAND_IN(ssize_t, __read_chk, (int file, void* to, std::size_t size, std::size_t room),
             (file, to, size, room),
             way == partly ? real(file, to, std::min<std::size_t>(size, 1), room) : fails(way, -1L),
             EIO, partly, EINTR)
    STAND_IN(ssize_t, write, (int file, const void* from, std::size_t size), (file, from, size),
             way == partly ? real(file, from, std::min<std::size_t>(size, 1)) : fails(way, -1L),
             ENOSPC, EIO, EDQUOT, partly, EINTR)
    STAND_IN(ssize_t, copy_file_range,
             (int from, off_t* from_at, int to, off_t* to_at, std::size_t size, unsigned flags),
             (from, from_at, to, to_at, size, flags),
             way == partly    ? real(from, from_at, to, to_at, 1, flags)
             : way == nothing ? 0
                              : fails(way, -1L),
             EXDEV, ENOSYS, EINVAL, EOPNOTSUPP, EPERM, EIO, ENOSPC, ENOMEM, partly, nothing, EINTR)
    FAILING(int, fchmod, (int file, mode_t mode), (file, mode), EPERM, EROFS, EIO)
    FAILING(int, ftruncate, (int file, off_t size), (file, size), EIO, EPERM, EINTR)
    FAILING(int, mkdir, (const char* path, mode_t mode), (path, mode), EACCES, ENOSPC, EROFS,
            EMLINK, EDQUOT, ENOMEM)
    FAILING(int, unlinkat, (int folder, const char* path, int flags), (folder, path, flags), EACCES,
            EPERM, EBUSY, EROFS, EIO, ENOMEM)
    FAILING(ssize_t, readlink, (const char* path, char* to, std::size_t size), (path, to, size),
            EACCES, ENOENT, EIO, ENOMEM)
    FAILING(ssize_t, readlinkat, (int folder, const char* path, char* to, std::size_t size),
            (folder, path, to, size), EACCES, EIO, ENOMEM)
    NULLING(DIR*, opendir, (const char* path), (path), EACCES, EMFILE, ENOMEM)
    NULLING(DIR*, fdopendir, (int file), (file), ENOMEM)
    NULLING(struct dirent*, readdir, (DIR * folder), (folder), EIO)
    STAND_IN(int, closedir, (DIR * folder), (folder), (real(folder), fails(way, -1)), EIO, EINTR)

    // Streams.

    NULLING(std::FILE*, fopen, (const char* path, const char* mode), (path, mode), EACCES, EMFILE,
            ENOMEM)
    STAND_IN(char*, fgets, (char* to, int size, std::FILE* stream), (to, size, stream),
             (mark_error(stream), fails<char*>(way, nullptr)), EIO)
    STAND_IN(int, fclose, (std::FILE * stream), (stream), (real(stream), fails(way, EOF)), ENOSPC,
             EIO)
    // Processes.

#define SPAWNING(name)                                                                             \
    REPORTING(name,                                                                                \
              (pid_t * child, const char* program, const posix_spawn_file_actions_t* actions,      \
               const posix_spawnattr_t* attributes, char* const* arguments,                        \
               char* const* variables),                                                            \
              (child, program, actions, attributes, arguments, variables), EAGAIN, ENOMEM, EACCES, \
              ENOENT, ENOEXEC)
    SPAWNING(posix_spawn)
    SPAWNING(posix_spawnp)
    REPORTING(posix_spawnattr_init, (posix_spawnattr_t * attributes), (attributes), ENOMEM)
    REPORTING(posix_spawn_file_actions_init, (posix_spawn_file_actions_t * actions), (actions),
              ENOMEM)
    REPORTING(posix_spawn_file_actions_adddup2,
              (posix_spawn_file_actions_t * actions, int file, int to), (actions, file, to), ENOMEM)
    REPORTING(posix_spawn_file_actions_addchdir_np,
              (posix_spawn_file_actions_t * actions, const char* path), (actions, path), ENOMEM)
    REPORTING(posix_spawn_file_actions_addclosefrom_np,
              (posix_spawn_file_actions_t * actions, int first), (actions, first), ENOMEM)
    FAILING(int, pipe2, (int* ends, int flags), (ends, flags), EMFILE, ENFILE)
    STAND_IN_WHEN(command == F_DUPFD_CLOEXEC, int, fcntl, (int file, int command, long value),
                  (file, command, value), fails(way, -1), EMFILE)
    FAILING(int, poll, (pollfd * files, nfds_t count, int limit), (files, count, limit), EINTR,
            ENOMEM)
    FAILING(int, ioctl, (int file, unsigned long request, void* argument),
            (file, request, argument), ENOTTY, EINVAL)
    // Somebody else has reaped the child.
    STAND_IN(pid_t, wait4, (pid_t child, int* status, int options, rusage* usage),
             (child, status, options, usage),
             (way == EINTR ? 0 : real(child, status, 0, usage), fails(way, -1)), ECHILD, EINTR)
    STAND_IN(int, waitid, (idtype_t type, id_t child, siginfo_t* info, int options),
             (type, child, info, options),
             (end_child(child), real(type, child, info, WEXITED), fails(way, -1)), ECHILD)
    FAILING(int, getpriority, (int which, id_t who), (which, who), ESRCH, EACCES)
    FAILING(long, syscall, (long number, long a, long b, long c, long d, long e, long f),
            (number, a, b, c, d, e, f), EACCES, EPERM, ESRCH)
    FAILING(ssize_t, process_vm_readv,
            (pid_t whose, const iovec* to, unsigned long tos, const iovec* from,
             unsigned long froms, unsigned long flags),
            (whose, to, tos, from, froms, flags), EPERM, ENOSYS, ENOMEM, EFAULT)
    REPORTING(pthread_getcpuclockid, (pthread_t thread, clockid_t* clock), (thread, clock), ESRCH,
              ENOENT)
    STAND_IN_WHEN(action != nullptr && earlier != nullptr, int, sigaction,
                  (int number, const struct sigaction* action, struct sigaction* earlier),
                  (number, action, earlier), (spoil(earlier), fails(way, -1)), EINVAL)
    STAND_IN_WHEN(earlier != nullptr, int, pthread_sigmask,
                  (int how, const sigset_t* mask, sigset_t* earlier), (how, mask, earlier),
                  (spoil(earlier), way), EINVAL)
    STAND_IN_WHEN(handler != SIG_DFL, sighandler_t, signal, (int number, sighandler_t handler),
                  (number, handler), fails(way, SIG_ERR), EINVAL)

    int stand_in_kill(pid_t target, int number) __asm__("kill");
    int stand_in_kill(pid_t target, int number)
    {
        static constinit std::atomic<int (*)(pid_t, int)> known = nullptr;
        auto* const real = next(known, "kill");
        static constexpr int ways[] = {EPERM, ESRCH};
        siginfo_t state{};
        const auto child = static_cast<id_t>(std::abs(target));
        if (target == 0 || target == -1 ||
            waitid(P_PID, child, &state, WEXITED | WNOHANG | WNOWAIT) != 0)
            refuse("a signal for a process that is no child\n");
        const int way = fault("kill", ways, __builtin_return_address(0));
        return way == 0 ? real(target, number) : fails(way, -1);
    }

    int stand_in_reboot(int command) __asm__("reboot");
    int stand_in_reboot(int /*command*/)
    {
        static constexpr int ways[] = {EPERM};
        const int way = fault("reboot", ways, __builtin_return_address(0));
        return way == 0 ? 0 : fails(way, -1);
    }

    void stand_in_sync() __asm__("sync");
    void stand_in_sync() {}

    // The session is always that of an ordinary user's.
    int stand_in_getlogin_r(char* name, std::size_t size) __asm__("getlogin_r");
    int stand_in_getlogin_r(char* name, std::size_t size)
    {
        static constexpr int ways[] = {ENOTTY, ENXIO, EMFILE, ENOMEM};
        const int way = fault("getlogin_r", ways, __builtin_return_address(0));
        if (way == 0)
            std::snprintf(name, size, "nobody");
        return way;
    }

    // What the system knows.

    STAND_IN(int, getpwuid_r,
             (uid_t user, passwd* record, char* texts, std::size_t size, passwd** found),
             (user, record, texts, size, found), (*found = nullptr, way), EIO, EMFILE, ENFILE,
             ENOMEM, ERANGE, EINTR)
    STAND_IN(int, getpwnam_r,
             (const char* user, passwd* record, char* texts, std::size_t size, passwd** found),
             (user, record, texts, size, found), (*found = nullptr, way), EIO, EMFILE, ENFILE,
             ENOMEM, ERANGE, EINTR)
    FAILING(int, uname, (utsname * system), (system), EFAULT)
    FAILING(int, sched_getaffinity, (pid_t id, std::size_t size, cpu_set_t* set), (id, size, set),
            EPERM, ESRCH)
    FAILING(int, gethostname, (char* name, std::size_t size), (name, size), ENAMETOOLONG, EPERM)
    FAILING(int, sysinfo, (struct sysinfo * info), (info), EFAULT, EPERM)
    STAND_IN_WHEN(what == _SC_NPROCESSORS_ONLN || what == _SC_NPROCESSORS_CONF, long, sysconf,
                  (int what), (what), fails(way, -1L), EINVAL)
    FAILING(int, nanosleep, (const timespec* time, timespec* left), (time, left), EINTR)
    NULLING(std::tm*, localtime_r, (const std::time_t* time, std::tm* local), (time, local),
            EOVERFLOW, ENOMEM)
    NULLING(locale_t, newlocale, (int mask, const char* name, locale_t base), (mask, name, base),
            ENOMEM)
    STAND_IN(int, dladdr, (const void* address, Dl_info* info), (address, info), 0 * way, nothing)
    NULLING(void*, dlopen, (const char* file, int mode), (file, mode), nothing)
    STAND_IN(int, dlclose, (void* library), (library), (real(library), -1), nothing)

    STAND_IN(void*, mmap,
             (void* address, std::size_t size, int protection, int flags, int file, off_t offset),
             (address, size, protection, flags, file, offset), fails(way, MAP_FAILED), ENOMEM)

    // Memory, also what the C and C++ libraries need for themselves.

    void* __libc_malloc(std::size_t size);                          // NOLINT
    void* __libc_calloc(std::size_t count, std::size_t size);       // NOLINT
    void* __libc_realloc(void* block, std::size_t size);            // NOLINT
    void* __libc_memalign(std::size_t alignment, std::size_t size); // NOLINT
    void __libc_free(void* block);                                  // NOLINT

#define ALLOCATING(name, parameters, arguments, real, forgotten)                                   \
    void* stand_in_##name parameters __asm__(#name);                                               \
    void* stand_in_##name parameters                                                               \
    {                                                                                              \
        const void* const caller = __builtin_return_address(0);                                    \
        if (lacks_memory(#name, caller))                                                           \
            return nullptr;                                                                        \
        void* const made = real arguments;                                                         \
        if (made != nullptr)                                                                       \
            forget(forgotten);                                                                     \
        return noted(made, caller);                                                                \
    }
    ALLOCATING(malloc, (std::size_t size), (size), __libc_malloc, nullptr)
    ALLOCATING(calloc, (std::size_t count, std::size_t size), (count, size), __libc_calloc, nullptr)
    ALLOCATING(realloc, (void* block, std::size_t size), (block, size), __libc_realloc, block)
    ALLOCATING(aligned_alloc, (std::size_t alignment, std::size_t size), (alignment, size),
               __libc_memalign, nullptr)

    void stand_in_free(void* block) __asm__("free");
    void stand_in_free(void* block)
    {
        forget(block);
        __libc_free(block);
    }
}
#pragma GCC visibility pop
