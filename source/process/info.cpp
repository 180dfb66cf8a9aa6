#include "base/string.h"
#include "source/calendar.h"
#include "source/operation.h"
#include "source/process/process_id.h"
#include "source/system/account.h"

#include <cstring>
#include <libproc.h>
#include <string_view>
#include <sys/proc.h>

namespace mirovan
{
namespace
{

/// Asks the system for one of its records of a process; false, with errno set, unless it comes
/// whole.
template <class Record>
bool ask(pid_t process, int flavour, Record& record)
{
    constexpr int size = sizeof(Record);
    errno = 0;
    if (proc_pidinfo(process, flavour, 0, &record, size) == size)
        return true;
    if (errno == 0)
        errno = ESRCH;
    return false;
}

std::string_view short_name(const proc_bsdinfo& process)
{
    return {process.pbi_comm, strnlen(process.pbi_comm, sizeof process.pbi_comm)};
}

void fill(tag_Mirovan_Process_Infomation& record, const proc_taskallinfo& task)
{
    constexpr int running = 0;
    constexpr int not_running = 3;
    record.nState = task.pbsd.pbi_status == SRUN ? running : not_running;
    record.nThreadCount = task.ptinfo.pti_threadnum;
    record.nVirtualSize = static_cast<uint32_t>(task.ptinfo.pti_virtual_size >> 2U);
    record.nResidentSize = static_cast<uint32_t>(task.ptinfo.pti_resident_size >> 2U);
    record.nPageIns = task.ptinfo.pti_pageins / 4;
}

bool get_info(tag_Mirovan_Process_Infomation* record, const char* name, int id)
{
    if (record == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    record->nProcessId = id;
    proc_taskallinfo task{};
    if (!ask(id, PROC_PIDTASKALLINFO, task))
        return fail(ERROR_MIROVAN_PROCESS_INFO_FAILED, errno);
    copy_cut(record->tszProcessName, name != nullptr ? name : short_name(task.pbsd));
    fill(*record, task);
    const auto user = recent_login_name(task.pbsd.pbi_uid);
    if (!user)
        return fail(ERROR_MIROVAN_PROCESS_INFO_FAILED, errno);
    copy_cut(record->tszUserName, *user);
    return true;
}

bool get_usage(int* usage, int id)
{
    if (usage == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    proc_threadinfo thread{};
    if (!ask(named_process(id), PROC_PIDTHREADINFO, thread))
        return fail(ERROR_MIROVAN_PROCESS_ACCESS, errno);
    *usage = thread.pth_cpu_usage;
    return true;
}

bool get_start_time(TARVELO_LIBTIME* calendar, int id)
{
    if (calendar == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    proc_taskallinfo task{};
    if (!ask(named_process(id), PROC_PIDTASKALLINFO, task))
        return fail(ERROR_MIROVAN_PROCESS_ACCESS, errno);
    if (!local_calendar(static_cast<std::time_t>(task.pbsd.pbi_start_tvsec), *calendar))
        return fail(ERROR_MIROVAN_PROCESS_UPTIME_TIME, errno);
    return true;
}

bool get_path(char* path, int id)
{
    if (path == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    if (proc_pidpath(named_process(id), path, MIROVAN_PATH_SIZE) <= 0)
        return fail(ERROR_MIROVAN_PROCESS_GET_FAILED, errno);
    return true;
}

} // namespace
} // namespace mirovan

bool CMirovan_Process::Mirovan_Process_GetProcessInfo(
    tag_Mirovan_Process_Infomation* pstProcessInfo, const char* lpszProcessName, int nPid)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_INFO_FAILED>(mirovan::get_info, pstProcessInfo,
                                                                 lpszProcessName, nPid);
}

bool CMirovan_Process::Mirovan_Process_GetProcessCpuUsage(int* pnCpuUsage, int nPid)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_ACCESS>(mirovan::get_usage, pnCpuUsage, nPid);
}

bool CMirovan_Process::Mirovan_Process_GetUpTime(TARVELO_LIBTIME* pstLibTime, int nPid)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_ACCESS>(mirovan::get_start_time, pstLibTime,
                                                            nPid);
}

bool CMirovan_Process::Mirovan_Process_GetPath(char* lpszProcessPath, int nPid)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_GET_FAILED>(mirovan::get_path, lpszProcessPath,
                                                                nPid);
}

bool CMirovan_Process::Mirovan_Process_IsAdmin()
{
    mirovan::clear_error();
    return geteuid() == 0;
}
