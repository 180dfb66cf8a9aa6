#include "base/string.h"
#include "source/calendar.h"
#include "source/operation.h"
#include "source/process/facts.h"
#include "source/process/process_id.h"
#include "source/system/account.h"

#include <algorithm>
#include <libproc.h>
#include <vector>

namespace mirovan
{
namespace
{

void fill(tag_Mirovan_Process_Infomation& record, const ProcessFacts& facts)
{
    constexpr int running = 0;
    constexpr int not_running = 3;
    record.nState = facts.runs() ? running : not_running;
    record.nThreadCount = facts.task.pti_threadnum;
    record.nVirtualSize = static_cast<uint32_t>(facts.task.pti_virtual_size >> 2U);
    record.nResidentSize = static_cast<uint32_t>(facts.task.pti_resident_size >> 2U);
    record.nPageIns = facts.task.pti_pageins / 4;
}

bool get_info(tag_Mirovan_Process_Infomation* record, const char* name, int id)
{
    if (record == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    record->nProcessId = id;
    ProcessFacts facts{};
    if (!read_process(id, facts))
        return fail(ERROR_MIROVAN_PROCESS_INFO_FAILED, errno);
    copy_cut(record->tszProcessName, name != nullptr ? name : facts.short_name());
    fill(*record, facts);
    const auto user = recent_login_name(facts.basic.pbi_uid);
    if (!user)
        return fail(ERROR_MIROVAN_PROCESS_INFO_FAILED, errno);
    copy_cut(record->tszUserName, *user);
    return true;
}

/// The usage of one thread of a process; false, with errno set, when there is no such thread.
bool read_usage(pid_t process, uint64_t thread, int& usage)
{
    proc_threadinfo info{};
    constexpr int size = sizeof info;
    if (proc_pidinfo(process, PROC_PIDTHREADINFO, thread, &info, size) != size)
        return false;
    usage = info.pth_cpu_usage;
    return true;
}

/// The handles of the threads of a process; empty, with errno set, when they cannot be listed.
std::vector<uint64_t> threads_of(pid_t process)
{
    constexpr std::size_t usual = 64;
    std::vector<uint64_t> threads(usual);
    for (;;)
    {
        const int size = static_cast<int>(threads.size() * sizeof(uint64_t));
        const int got = proc_pidinfo(process, PROC_PIDLISTTHREADS, 0, threads.data(), size);
        if (got < size)
        {
            threads.resize(static_cast<std::size_t>(std::max(got, 0)) / sizeof(uint64_t));
            return threads;
        }
        threads.resize(2 * threads.size());
    }
}

/// The usage of all threads that still run.
bool sum_usage(pid_t process, int& sum)
{
    bool known = false;
    sum = 0;
    for (const uint64_t thread : threads_of(process))
    {
        int usage = 0;
        if (!read_usage(process, thread, usage))
            continue;
        sum += usage;
        known = true;
    }
    return known;
}

bool get_usage(int* usage, int id)
{
    if (usage == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    const pid_t process = named_process(id);
    int found = 0;
    // No system has a thread of the handle 0; ESRCH says so.
    errno = 0;
    if (!read_usage(process, 0, found) && (errno != ESRCH || !sum_usage(process, found)))
        return fail(ERROR_MIROVAN_PROCESS_ACCESS, errno == 0 ? ESRCH : errno);
    *usage = found;
    return true;
}

bool get_start_time(TARVELO_LIBTIME* calendar, int id)
{
    if (calendar == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    ProcessFacts facts{};
    if (!read_process(named_process(id), facts))
        return fail(ERROR_MIROVAN_PROCESS_ACCESS, errno);
    if (!local_calendar(static_cast<std::time_t>(facts.basic.pbi_start_tvsec), *calendar))
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
    return mirovan::operation<ERROR_MIROVAN_PROCESS_ACCESS>([] { return geteuid() == 0; });
}
