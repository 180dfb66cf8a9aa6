#include "source/process/facts.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <sys/sysctl.h>

namespace mirovan
{
namespace
{

bool read_all(pid_t process, ProcessFacts& facts)
{
    proc_taskallinfo info{};
    constexpr int size = sizeof info;
    errno = 0;
    if (proc_pidinfo(process, PROC_PIDTASKALLINFO, 0, &info, size) != size)
    {
        errno = errno == 0 ? ESRCH : errno;
        return false;
    }
    facts = {true, info.pbsd, info.ptinfo};
    return true;
}

bool read_public(pid_t process, ProcessFacts& facts)
{
    kinfo_proc info{};
    std::size_t size = sizeof info;
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, process};
    if (sysctl(name, std::size(name), &info, &size, nullptr, 0) != 0)
        return false;
    if (size == 0)
    {
        errno = ESRCH;
        return false;
    }
    facts = {};
    facts.basic.pbi_status = static_cast<uint32_t>(info.kp_proc.p_stat);
    facts.basic.pbi_ppid = static_cast<uint32_t>(info.kp_eproc.e_ppid);
    facts.basic.pbi_uid = info.kp_eproc.e_ucred.cr_uid;
    facts.basic.pbi_nice = info.kp_proc.p_nice;
    facts.basic.pbi_start_tvsec = static_cast<uint64_t>(info.kp_proc.p_starttime.tv_sec);
    facts.basic.pbi_start_tvusec = static_cast<uint64_t>(info.kp_proc.p_starttime.tv_usec);
    std::copy_n(info.kp_proc.p_comm,
                std::min(std::size(facts.basic.pbi_comm), std::size(info.kp_proc.p_comm)),
                facts.basic.pbi_comm);
    return true;
}

template <std::size_t Size>
std::string_view text_of(const char (&field)[Size])
{
    return {field, strnlen(field, Size)};
}

} // namespace

std::string_view ProcessFacts::short_name() const
{
    return text_of(basic.pbi_comm);
}

std::string_view ProcessFacts::name() const
{
    return basic.pbi_name[0] == '\0' ? short_name() : text_of(basic.pbi_name);
}

bool read_process(pid_t process, ProcessFacts& facts)
{
    return read_all(process, facts) ||
           ((errno == EPERM || errno == ESRCH) && read_public(process, facts));
}

} // namespace mirovan
