// Processes, signals and accounts as Darwin has them.
#include "darwin.h"

#include "platform/process_end.h"

#include <algorithm>
#include <poll.h>
#include <pwd.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <vector>

using namespace darwin;

namespace
{

constexpr int signal_count = 32;

sigset_t linux_set(uint32_t set)
{
    sigset_t to;
    // The signals that Linux alone has are among all.
    set == ~0U ? sigfillset(&to) : sigemptyset(&to);
    for (int number = 1; number < signal_count; ++number)
        if ((set >> (number - 1) & 1) != 0)
            sigaddset(&to, linux_signal(number));
    return to;
}

uint32_t darwin_set(const sigset_t& set)
{
    uint32_t to = 0;
    for (int number = 1; number < signal_count; ++number)
        to |= uint32_t{sigismember(&set, linux_signal(number)) == 1} << (number - 1);
    return to;
}

int change_mask(int (*change)(int, const sigset_t*, sigset_t*), int how, const uint32_t* set,
                uint32_t* earlier)
{
    const sigset_t wanted = linux_set(set == nullptr ? 0 : *set);
    sigset_t was;
    const int result =
        change(static_cast<int>(linux_value(darwin_hows, how, -1)),
               set == nullptr ? nullptr : &wanted, earlier == nullptr ? nullptr : &was);
    if (result == 0 && earlier != nullptr)
        *earlier = darwin_set(was);
    return result;
}

bool child_signal_ignored()
{
    struct sigaction action = {};
    return sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/// While SIGCHLD is ignored the waiter wakes when no child at all is left.
void outwait_all_children()
{
    siginfo_t info;
    while (UNNOTICED(waitid)(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0)
        usleep(1000);
}

} // namespace

DARWIN_CALL int darwin_sigprocmask(int how, const uint32_t* set, uint32_t* earlier)
{
    const Call call;
    return change_mask(sigprocmask, how, set, earlier);
}
DARWIN_CALL int darwin_pthread_sigmask(int how, const uint32_t* set, uint32_t* earlier)
{
    const Call call;
    return darwin_error(change_mask(pthread_sigmask, how, set, earlier));
}
DARWIN_CALL int darwin_sigaction(int number, const struct darwin_sigaction* set,
                                 struct darwin_sigaction* earlier)
{
    const Call call;
    if (number <= 0 || number >= signal_count)
        return fails(EINVAL, -1);
    struct sigaction wanted = {};
    struct sigaction was = {};
    if (set != nullptr)
    {
        wanted.sa_handler = reinterpret_cast<void (*)(int)>(set->__sigaction_u___sa_handler);
        wanted.sa_mask = linux_set(set->sa_mask);
        wanted.sa_flags = linux_flags(darwin_action_flags, set->sa_flags, "action flag");
    }
    const int result = sigaction(linux_signal(number), set == nullptr ? nullptr : &wanted,
                                 earlier == nullptr ? nullptr : &was);
    if (result == 0 && earlier != nullptr)
    {
        *earlier = {reinterpret_cast<void*>(was.sa_handler), darwin_set(was.sa_mask), 0};
        for (const auto& [theirs, ours] : darwin_action_flags)
            if ((was.sa_flags & ours) == ours)
                earlier->sa_flags |= static_cast<int>(theirs);
    }
    return result;
}
DARWIN_CALL int darwin_sigpending(uint32_t* set)
{
    const Call call;
    sigset_t found;
    const int result = sigpending(&found);
    *set = darwin_set(found);
    return result;
}
DARWIN_CALL int darwin_sigwait(const uint32_t* set, int* number)
{
    const sigset_t wanted = linux_set(*set);
    const int result = sigwait(&wanted, number);
    *number = static_cast<int>(darwin_value(darwin_signals, *number, *number));
    return darwin_error(result);
}
DARWIN_CALL int darwin_waitid(idtype_t kind, id_t id, darwin_siginfo_t* to, int options)
{
    const Call call;
    siginfo_t found = {};
    const auto has = [&](long flag, int here) { return (options & flag) != 0 ? here : 0; };
    const int result = waitid(kind, id, &found,
                              has(darwin_WEXITED, WEXITED) | has(darwin_WNOHANG, WNOHANG) |
                                  has(darwin_WNOWAIT, WNOWAIT));
    *to = {};
    to->its_si_pid = found.si_pid;
    to->its_si_code = found.si_code;
    to->its_si_status = found.si_status;
    return result;
}
DARWIN_CALL int darwin_ioctl(int file, unsigned long request, int* to)
{
    const Call call;
    if (request != static_cast<unsigned long>(darwin_FIONREAD))
        unknown("ioctl", static_cast<long>(request));
    return ioctl(file, FIONREAD, to);
}
DARWIN_CALL sighandler_t darwin_signal(int number, sighandler_t handler)
{
    const Call call;
    return signal(linux_signal(number), handler);
}
DARWIN_CALL int darwin_kill(pid_t process, int number)
{
    const Call call;
    if (UNNOTICED(kill)(process, 0) != 0)
        return -1;
    const pid_t session = getsid(std::abs(process));
    // What the tests start is of their session, the machine's own processes are not.
    if (number != 0 && (process == -1 || (session > 0 && session != getsid(0))))
    {
        record("kill %d, signal %d", process, number);
        return fails(EPERM, -1);
    }
    return kill(process, linux_signal(number));
}
DARWIN_CALL int darwin_killpg(pid_t group, int number)
{
    return darwin_kill(-group, number);
}

DARWIN_CALL pid_t darwin_waitpid(pid_t child, int* status, int options)
{
    const Call call;
    if ((options & WNOHANG) == 0 && child_signal_ignored())
    {
        outwait_all_children();
        return fails(ECHILD, -1);
    }
    return waitpid(child, status, options);
}
DARWIN_CALL pid_t darwin_wait4(pid_t child, int* status, int options, darwin_rusage* usage)
{
    const Call call;
    if ((options & WNOHANG) == 0 && child_signal_ignored())
    {
        outwait_all_children();
        return fails(ECHILD, -1);
    }
    rusage used = {};
    const pid_t result = wait4(child, status, options, &used);
    if (result > 0 && usage != nullptr)
        *usage = {.ru_utime_tv_sec = used.ru_utime.tv_sec,
                  .ru_utime_tv_usec = static_cast<int32_t>(used.ru_utime.tv_usec),
                  .ru_stime_tv_sec = used.ru_stime.tv_sec,
                  .ru_stime_tv_usec = static_cast<int32_t>(used.ru_stime.tv_usec),
                  .ru_maxrss = used.ru_maxrss, // in bytes, as the layer has it
                  .ru_minflt = used.ru_minflt,
                  .ru_majflt = used.ru_majflt};
    return result;
}

// Of the kinds of events there is one, of which a queue holds one: it becomes the descriptor of the
// process.

DARWIN_CALL int darwin_kqueue()
{
    const Call call;
    return open("/dev/null", O_RDONLY | O_CLOEXEC); // as if: a child does not inherit it
}
DARWIN_CALL int darwin_kevent(int queue, const struct darwin_kevent* changes, int change_count,
                              struct darwin_kevent* events, int event_count, const timespec* limit)
{
    const Call call;
    for (const struct darwin_kevent* change = changes; change != changes + change_count; ++change)
    {
        if (change->filter != darwin_EVFILT_PROC || (change->fflags & darwin_NOTE_EXIT) == 0)
            unknown("event", change->filter);
        const auto process = static_cast<pid_t>(change->ident);
        siginfo_t ended = {};
        const bool child =
            UNNOTICED(waitid)(P_PID, change->ident, &ended, WEXITED | WNOHANG | WNOWAIT) == 0;
        if (ended.si_pid == process) // a dead one cannot be watched
            return fails(ESRCH, -1);
        if (!child && (change->fflags & darwin_NOTE_EXITSTATUS) != 0)
            return fails(EACCES, -1);
        const mirovan::Descriptor opened = mirovan::platform::open_process_end(process);
        if (!opened || dup3(opened.get(), queue, O_CLOEXEC) < 0)
            return -1;
        errno = 0;
    }
    pollfd wanted{queue, POLLIN, 0};
    if (event_count == 0 || ppoll(&wanted, 1, limit, nullptr) != 1)
        return 0;
    *events = {.filter = static_cast<int16_t>(darwin_EVFILT_PROC),
               .fflags = static_cast<uint32_t>(darwin_NOTE_EXIT)};
    const mirovan::Descriptor end{fcntl(queue, F_DUPFD_CLOEXEC, 0)};
    if (const auto status = mirovan::platform::status_of_reaped(end))
    {
        events->fflags |= darwin_NOTE_EXITSTATUS;
        events->data = *status;
    }
    return 1;
}

// Starting programs.

namespace
{

struct Attributes
{
    posix_spawnattr_t real;
    bool close_others;
};
struct Actions
{
    posix_spawn_file_actions_t real;
    int highest;       ///< of the descriptors that are given to the child
    unsigned standard; ///< which of the first three are
};

void give(Actions& actions, int file)
{
    actions.highest = std::max(actions.highest, file);
    if (file <= STDERR_FILENO)
        actions.standard |= 1U << file;
}

std::string with_folder_before(std::string list, const std::string& folder, const char* element)
{
    const std::size_t at = (":" + list + ":").find(std::string{":"} + element + ":");
    return at == std::string::npos ? list : list.insert(at, folder + ":");
}

/// A shell finds this folder's commands where a Mac's would stand: some in /bin, some in /usr/sbin, which a
/// line may append to PATH itself.
class ShellStart
{
public:
    ShellStart(const char* path, char* const* arguments, char* const* variables)
    {
        for (; variables != nullptr && *variables != nullptr; ++variables)
            variables_.emplace_back(*variables);
        for (; *arguments != nullptr; ++arguments)
            arguments_.emplace_back(*arguments);
        // A line that asks for none of them finds everything as it was.
        if (std::strcmp(path, "/bin/sh") == 0 && arguments_.size() > 2)
            for (const char* name : {"ps ", "pkill ", "system_profiler", "ioreg"})
                if (arguments_.back().find(name) != std::string::npos)
                {
                    adapt();
                    break;
                }
    }
    char** variables() { return pointers(variables_, variable_pointers_); }
    char** arguments() { return pointers(arguments_, argument_pointers_); }

private:
    void adapt()
    {
        const std::string bin = DARWIN_COMMANDS "/bin";
        const std::string sbin = DARWIN_COMMANDS "/sbin";
        for (std::string& variable : variables_)
            if (variable.starts_with("PATH="))
            {
                const std::string list = variable.substr(5);
                std::string found = with_folder_before(list, bin, "/usr/bin");
                if (found == list)
                    found = with_folder_before(list, bin, "/bin");
                variable = "PATH=" + with_folder_before(found, sbin, "/usr/sbin");
            }
        std::string& line = arguments_.back();
        const std::size_t at = line.find("/usr/sbin:/sbin");
        if (line.find("PATH=") < at && at != std::string::npos)
            line.insert(at, sbin + ":");
    }
    static char** pointers(std::vector<std::string>& texts, std::vector<char*>& to)
    {
        for (std::string& text : texts)
            to.push_back(text.data());
        to.push_back(nullptr);
        return to.data();
    }
    std::vector<std::string> variables_, arguments_;
    std::vector<char*> variable_pointers_, argument_pointers_;
};

int start(bool on_path, pid_t* child, const char* path, Actions* const* actions,
          Attributes* const* attributes, char* const* arguments, char* const* variables)
{
    if (attributes != nullptr && (*attributes)->close_others)
    {
        for (int file = 0; actions != nullptr && file <= STDERR_FILENO; ++file)
            if (((*actions)->standard >> file & 1) == 0)
                posix_spawn_file_actions_addclose(&(*actions)->real, file);
        if (actions != nullptr)
            posix_spawn_file_actions_addclosefrom_np(&(*actions)->real, (*actions)->highest + 1);
    }
    const auto start_shell = [&]
    {
        ShellStart shell{path, arguments, variables};
        return (on_path ? posix_spawnp : posix_spawn)(
            child, path, actions == nullptr ? nullptr : &(*actions)->real,
            attributes == nullptr ? nullptr : &(*attributes)->real, shell.arguments(),
            variables == nullptr ? nullptr : shell.variables());
    };
    return darwin_error(within_memory(ENOMEM, start_shell));
}

} // namespace

DARWIN_CALL int darwin_posix_spawn(pid_t* child, const char* path, Actions* const* actions,
                                   Attributes* const* attributes, char* const* arguments,
                                   char* const* variables)
{
    const Call call;
    return start(false, child, path, actions, attributes, arguments, variables);
}
DARWIN_CALL int darwin_posix_spawnp(pid_t* child, const char* path, Actions* const* actions,
                                    Attributes* const* attributes, char* const* arguments,
                                    char* const* variables)
{
    const Call call;
    return start(true, child, path, actions, attributes, arguments, variables);
}
template <class Made, class Real>
int make(Made*& made, int (*init)(Real*))
{
    made = static_cast<Made*>(std::calloc(1, sizeof *made));
    const int error = made == nullptr ? ENOMEM : init(&made->real);
    if (error != 0)
        std::free(made);
    return darwin_error(error);
}
template <class Made, class Real>
int unmake(Made* made, int (*destroy)(Real*))
{
    const int error = destroy(&made->real);
    std::free(made);
    return darwin_error(error);
}

DARWIN_CALL int darwin_posix_spawnattr_init(Attributes** made)
{
    return make(*made, posix_spawnattr_init);
}
DARWIN_CALL int darwin_posix_spawnattr_destroy(Attributes** made)
{
    return unmake(*made, posix_spawnattr_destroy);
}
DARWIN_CALL int darwin_posix_spawn_file_actions_init(Actions** made)
{
    const int error = make(*made, posix_spawn_file_actions_init);
    if (error == 0)
        (*made)->highest = STDERR_FILENO;
    return error;
}
DARWIN_CALL int darwin_posix_spawn_file_actions_destroy(Actions** made)
{
    return unmake(*made, posix_spawn_file_actions_destroy);
}
DARWIN_CALL int darwin_posix_spawnattr_setflags(Attributes** to, short flags)
{
    (*to)->close_others = (flags & darwin_POSIX_SPAWN_CLOEXEC_DEFAULT) != 0;
    flags = static_cast<short>(flags & ~darwin_POSIX_SPAWN_CLOEXEC_DEFAULT);
    return darwin_error(posix_spawnattr_setflags(
        &(*to)->real, static_cast<short>(linux_flags(darwin_spawn_flags, flags, "spawn flag"))));
}
DARWIN_CALL int darwin_posix_spawnattr_setpgroup(Attributes** to, pid_t group)
{
    return darwin_error(posix_spawnattr_setpgroup(&(*to)->real, group));
}
DARWIN_CALL int darwin_posix_spawnattr_setsigmask(Attributes** to, const uint32_t* set)
{
    const sigset_t wanted = linux_set(*set);
    return darwin_error(posix_spawnattr_setsigmask(&(*to)->real, &wanted));
}
DARWIN_CALL int darwin_posix_spawnattr_setsigdefault(Attributes** to, const uint32_t* set)
{
    const sigset_t wanted = linux_set(*set);
    return darwin_error(posix_spawnattr_setsigdefault(&(*to)->real, &wanted));
}
DARWIN_CALL int darwin_posix_spawn_file_actions_adddup2(Actions** to, int file, int as)
{
    give(**to, as);
    return darwin_error(posix_spawn_file_actions_adddup2(&(*to)->real, file, as));
}
DARWIN_CALL int darwin_posix_spawn_file_actions_addinherit_np(Actions** to, int file)
{
    give(**to, file);
    return darwin_error(posix_spawn_file_actions_adddup2(&(*to)->real, file, file));
}
DARWIN_CALL int darwin_posix_spawn_file_actions_addclose(Actions** to, int file)
{
    return darwin_error(posix_spawn_file_actions_addclose(&(*to)->real, file));
}
DARWIN_CALL int darwin_posix_spawn_file_actions_addopen(Actions** to, int file, const char* path,
                                                        int flags, mode_t mode)
{
    give(**to, file);
    return darwin_error(posix_spawn_file_actions_addopen(
        &(*to)->real, file, path, linux_flags(darwin_open_flags, flags, "open flag"), mode));
}
DARWIN_CALL int darwin_posix_spawn_file_actions_addchdir_np(Actions** to, const char* path)
{
    return darwin_error(posix_spawn_file_actions_addchdir_np(&(*to)->real, path));
}
DARWIN_CALL char*** darwin__NSGetEnviron()
{
    return &environ;
}
DARWIN_CALL int darwin_system(const char* line)
{
    const Call call;
    return system(line);
}

// Accounts.

namespace
{

int deliver(int result, const passwd& from, darwin_passwd* to, darwin_passwd** found)
{
    if (found != nullptr && *found != nullptr)
        *to = {.pw_name = from.pw_name,
               .pw_passwd = from.pw_passwd,
               .pw_uid = from.pw_uid,
               .pw_gid = from.pw_gid,
               .pw_gecos = from.pw_gecos,
               .pw_dir = from.pw_dir,
               .pw_shell = from.pw_shell};
    return darwin_error(result);
}

} // namespace

DARWIN_CALL int darwin_getpwuid_r(uid_t user, darwin_passwd* to, char* room, std::size_t size,
                                  darwin_passwd** found)
{
    const Call call;
    passwd entry;
    passwd* here = nullptr;
    const int result = getpwuid_r(user, &entry, room, size, &here);
    *found = here == nullptr ? nullptr : to;
    return deliver(result, entry, to, found);
}
DARWIN_CALL int darwin_getpwnam_r(const char* name, darwin_passwd* to, char* room, std::size_t size,
                                  darwin_passwd** found)
{
    const Call call;
    passwd entry;
    passwd* here = nullptr;
    const int result = getpwnam_r(name, &entry, room, size, &here);
    *found = here == nullptr ? nullptr : to;
    return deliver(result, entry, to, found);
}
DARWIN_CALL int darwin_getlogin_r(char* name, std::size_t size)
{
    const Call call;
    return darwin_error(getlogin_r(name, size));
}
