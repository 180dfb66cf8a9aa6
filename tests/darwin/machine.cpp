// What Darwin tells of the machine and its processes. The figures come from the layer for Linux, in Darwin's
// records and with its refusals.
#include "darwin.h"

#include "mirovan.h"
#include "platform/host.h"
#include "platform/linux/process_text.h"
#include "platform/linux/read_text.h"

#include <algorithm>
#include <libproc.h>
#include <mach/mach.h>
#include <string>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/resource.h>
#include <sys/sysctl.h>
#include <sys/utsname.h>
#include <vector>

using namespace darwin;

// The same with the errno of Linux. The layer's own calls are found by their labels.
#define SAME(result, name, parameters, arguments)                                                  \
    DARWIN_CALL result darwin_##name parameters                                                    \
    {                                                                                              \
        const Call call;                                                                           \
        return name arguments;                                                                     \
    }
SAME(int, getpriority, (__priority_which_t which, id_t who), (which, who))
SAME(int, setpriority, (__priority_which_t which, id_t who, int priority), (which, who, priority))
SAME(int, proc_pidpath, (int process, void* to, uint32_t size), (process, to, size))

DARWIN_CALL unsigned darwin_mach_task_self_;
unsigned darwin_mach_task_self_ = 1;

namespace
{

template <std::size_t Size>
void copy_text(char (&to)[Size], const char* from)
{
    std::strncpy(to, from, Size - 1)[Size - 1] = '\0';
}

/// The letter that Linux has for a process's state; that of a dead one when there is none.
char state_of(int process)
{
    std::string text;
    const std::string path = "/proc/" + std::to_string(process) + "/stat";
    if (!mirovan::platform::read_one_piece(path.c_str(), text))
        return errno == ENOENT ? 'X' : '\0';
    const auto stat = mirovan::platform::parse_process_stat(text);
    return stat ? stat->state : fails(EIO, '\0');
}

/// Others' processes are closed to all but the superuser.
bool foreign(int process)
{
    struct stat status = {};
    const std::string path = "/proc/" + std::to_string(process);
    return geteuid() != 0 && stat(path.c_str(), &status) == 0 && status.st_uid != geteuid();
}

int refused(int process)
{
    const char state = state_of(process);
    if (state == '\0')
        return errno;
    return state == 'Z' || state == 'X' ? ESRCH : foreign(process) ? EPERM : 0;
}

template <class Record>
int hand_out(const Record& record, void* to, int size)
{
    if (size < static_cast<int>(sizeof record))
        return fails(ENOMEM, 0);
    std::memcpy(to, &record, sizeof record);
    return sizeof record;
}

int all_info(int process, void* to, int size)
{
    proc_taskallinfo found{};
    if (proc_pidinfo(process, PROC_PIDTASKALLINFO, 0, &found, sizeof found) != sizeof found)
        return 0;
    const char state = state_of(process);
    darwin_proc_taskallinfo record{.pbsd_pbi_status = static_cast<uint32_t>(
                                       state == 'T' || state == 't' ? darwin_SSTOP : darwin_SRUN),
                                   .pbsd_pbi_pid = static_cast<uint32_t>(process),
                                   .pbsd_pbi_ppid = found.pbsd.pbi_ppid,
                                   .pbsd_pbi_uid = found.pbsd.pbi_uid,
                                   .pbsd_pbi_nice = found.pbsd.pbi_nice,
                                   .pbsd_pbi_start_tvsec = found.pbsd.pbi_start_tvsec,
                                   .pbsd_pbi_start_tvusec = found.pbsd.pbi_start_tvusec,
                                   .ptinfo_pti_virtual_size = found.ptinfo.pti_virtual_size,
                                   .ptinfo_pti_resident_size = found.ptinfo.pti_resident_size,
                                   .ptinfo_pti_total_user = found.ptinfo.pti_total_user,
                                   .ptinfo_pti_total_system = found.ptinfo.pti_total_system,
                                   .ptinfo_pti_faults = found.ptinfo.pti_faults,
                                   .ptinfo_pti_pageins = found.ptinfo.pti_pageins,
                                   .ptinfo_pti_threadnum = found.ptinfo.pti_threadnum,
                                   .ptinfo_pti_numrunning = state == 'R'};
    copy_text(record.pbsd_pbi_comm, found.pbsd.pbi_comm);
    copy_text(record.pbsd_pbi_name, found.pbsd.pbi_comm);
    return hand_out(record, to, size);
}

int information(int process, int flavour, uint64_t argument, void* to, int size)
{
    if (const int error = refused(process); error != 0)
        return fails(error, 0);
    switch (flavour)
    {
    case darwin_PROC_PIDTASKALLINFO:
        return all_info(process, to, size);
    case darwin_PROC_PIDLISTTHREADS: // one stands for all of them
        return hand_out(uint64_t{1} << 32 | static_cast<unsigned>(process), to, size);
    case darwin_PROC_PIDTHREADINFO:
    {
        proc_threadinfo found{};
        if (argument != (uint64_t{1} << 32 | static_cast<unsigned>(process)))
            return fails(ESRCH, 0);
        const auto all = static_cast<uint64_t>(process);
        if (proc_pidinfo(process, PROC_PIDTHREADINFO, all, &found, sizeof found) != sizeof found)
            return 0;
        return hand_out(darwin_proc_threadinfo{.pth_cpu_usage = found.pth_cpu_usage}, to, size);
    }
    default:
        unknown("flavour", flavour);
    }
}

} // namespace

DARWIN_CALL int darwin_proc_pidinfo(int process, int flavour, uint64_t argument, void* to, int size)
{
    const Call call;
    return within_memory(0, [&] { return information(process, flavour, argument, to, size); });
}

namespace
{

void fill(darwin_statfs& to, const struct statfs& from)
{
    to = {.f_bsize = from.f_bsize,
          .f_blocks = from.f_blocks,
          .f_bfree = from.f_bfree,
          .f_bavail = from.f_bavail,
          .f_flags = from.f_flags}; // the layer has Darwin's numbers
    copy_text(to.f_fstypename, from.f_fstypename);
    copy_text(to.f_mntonname, from.f_mntonname);
    copy_text(to.f_mntfromname, from.f_mntfromname);
    std::memcpy(to.f_fsid_val, &from.f_fsid, sizeof to.f_fsid_val);
}

} // namespace

DARWIN_CALL int darwin_statfs(const char* path, struct darwin_statfs* to)
{
    const Call call;
    struct statfs found = {};
    if (strnlen(path, 1024) == 1024)
        return fails(ENAMETOOLONG, -1);
    if (statfs(path, &found) != 0)
        return -1;
    fill(*to, found);
    errno = 0;
    return 0;
}
/// Every process's few facts, of others too.
DARWIN_CALL int darwin_sysctl(int* name, unsigned length, void* to, std::size_t* size, void* set,
                              std::size_t set_size)
{
    const Call call;
    if (length != 4)
        return sysctl(name, length, to, size, set, set_size);
    kinfo_proc found{};
    std::size_t found_size = sizeof found;
    if (sysctl(name, length, &found, &found_size, nullptr, 0) != 0)
        return -1;
    darwin_kinfo_proc record{};
    record.kp_proc_p_un___p_starttime_tv_sec = found.kp_proc.p_starttime.tv_sec;
    record.kp_proc_p_un___p_starttime_tv_usec = static_cast<int>(found.kp_proc.p_starttime.tv_usec);
    record.kp_proc_p_stat = found.kp_proc.p_stat;
    record.kp_proc_p_pid = found.kp_proc.p_pid;
    record.kp_proc_p_nice = found.kp_proc.p_nice;
    copy_text(record.kp_proc_p_comm, found.kp_proc.p_comm);
    record.kp_eproc_e_ucred_cr_uid = found.kp_eproc.e_ucred.cr_uid;
    record.kp_eproc_e_ppid = found.kp_eproc.e_ppid;
    if (found_size == 0 || *size < sizeof record)
        return found_size == 0 ? static_cast<int>(*size = 0) : fails(ENOMEM, -1);
    std::memcpy(to, &record, *size = sizeof record);
    return 0;
}

DARWIN_CALL int darwin_uname(struct darwin_utsname* to)
{
    const Call call;
    utsname found;
    const int result = uname(&found);
    if (result == 0)
    {
        copy_text(to->sysname, found.sysname);
        copy_text(to->nodename, found.nodename);
        copy_text(to->release, found.release);
        copy_text(to->version, found.version);
        copy_text(to->machine, found.machine);
    }
    return result;
}

DARWIN_CALL long darwin_sysconf(int name)
{
    const Call call;
    const long here = linux_value(darwin_limits, name, -1);
    if (here < 0)
        unknown("limit", name);
    return sysconf(static_cast<int>(here));
}

DARWIN_CALL locale_t darwin_newlocale(int mask, const char* name, locale_t base)
{
    const Call call;
    return newlocale(linux_flags(darwin_locale_masks, mask, "locale mask"), name, base);
}

/// A thread that has ended has the handle 0.
DARWIN_CALL kern_return_t darwin_thread_policy_set(thread_act_t thread,
                                                   thread_policy_flavor_t flavour,
                                                   thread_policy_t policy,
                                                   mach_msg_type_number_t count)
{
    return thread == 0 ? static_cast<kern_return_t>(darwin_MACH_SEND_INVALID_DEST)
                       : thread_policy_set(thread, flavour, policy, count);
}
DARWIN_CALL kern_return_t darwin_thread_policy_get(thread_act_t thread,
                                                   thread_policy_flavor_t flavour,
                                                   thread_policy_t policy,
                                                   mach_msg_type_number_t* count,
                                                   boolean_t* standard)
{
    return thread == 0 ? static_cast<kern_return_t>(darwin_MACH_SEND_INVALID_DEST)
                       : thread_policy_get(thread, flavour, policy, count, standard);
}

/// Never done, unless the program has a call of its own.
DARWIN_CALL int darwin_reboot(int how)
{
    const Call call;
    if (auto* const own = dlsym(RTLD_DEFAULT, "reboot"); own != dlsym(RTLD_NEXT, "reboot"))
        return reinterpret_cast<int (*)(int)>(own)(how);
    record("reboot %#x", how);
    return fails(EPERM, -1);
}

// The errno that a caller is told is one of this machine.

extern "C" uint64_t original_Mirovan_GetLastError(int*);
extern "C" uint64_t original_Mirovan_GetThreadError(bool*, int*);

DARWIN_CALL uint64_t wrapped_Mirovan_GetLastError(int* number)
{
    const uint64_t code = original_Mirovan_GetLastError(number);
    if (number != nullptr)
        *number = linux_error(*number);
    return code;
}
DARWIN_CALL uint64_t wrapped_Mirovan_GetThreadError(bool* occurred, int* number)
{
    const uint64_t code = original_Mirovan_GetThreadError(occurred, number);
    if (number != nullptr)
        *number = linux_error(*number);
    return code;
}

struct Receiver
{
    int (*take)(const MIROVAN_WALK_ENTRY*, void*);
    void* context;
};
extern "C" bool original_Mirovan_File_Walk(const char*, const MIROVAN_WALK*,
                                           int (*)(const MIROVAN_WALK_ENTRY*, void*), void*);

DARWIN_CALL bool wrapped_Mirovan_File_Walk(const char* path, const MIROVAN_WALK* options,
                                           int (*take)(const MIROVAN_WALK_ENTRY*, void*),
                                           void* context)
{
    Receiver receiver{take, context};
    const auto renumber = [](const MIROVAN_WALK_ENTRY* entry, void* to)
    {
        MIROVAN_WALK_ENTRY seen = *entry;
        seen.nErrno = linux_error(seen.nErrno);
        const auto* wanted = static_cast<const Receiver*>(to);
        return wanted->take(&seen, wanted->context);
    };
    return original_Mirovan_File_Walk(path, options, take == nullptr ? nullptr : +renumber,
                                      &receiver);
}
