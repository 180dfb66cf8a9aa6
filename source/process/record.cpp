#include "base/string.h"
#include "source/operation.h"
#include "source/process/facts.h"
#include "source/process/process_id.h"
#include "source/sized_record.h"

#include <algorithm>
#include <mach/mach_time.h>
#include <vector>

namespace mirovan
{
namespace
{

/// Nanoseconds for the system's units of processor time.
uint64_t nanoseconds(uint64_t units)
{
    mach_timebase_info_data_t scale{};
    mach_timebase_info(&scale);
    return units / scale.denom * scale.numer + units % scale.denom * scale.numer / scale.denom;
}

/// The letter of a state as ps prints it; '\0' where it is unknown.
char state_letter(const ProcessFacts& facts)
{
    switch (facts.basic.pbi_status)
    {
    case SRUN:
        return !facts.complete ? '\0' : facts.runs() ? 'R' : 'S';
    case SSLEEP:
        return 'D';
    case SIDL:
        return 'I';
    case SSTOP:
        return 'T';
    default:
        return 'Z';
    }
}

MIROVAN_PROCESS_RECORD record_of(pid_t id)
{
    auto record = make_sized<MIROVAN_PROCESS_RECORD>();
    record.nProcessId = id;
    return record;
}

bool read_record(pid_t id, MIROVAN_PROCESS_RECORD& record)
{
    constexpr uint32_t known_to_all = MIROVAN_PROCESS_PARENT | MIROVAN_PROCESS_USER |
                                      MIROVAN_PROCESS_NAME | MIROVAN_PROCESS_NICE |
                                      MIROVAN_PROCESS_START_TIME;
    constexpr uint32_t known_if_complete = MIROVAN_PROCESS_THREADS | MIROVAN_PROCESS_MEMORY |
                                           MIROVAN_PROCESS_PROCESSOR_TIME |
                                           MIROVAN_PROCESS_PAGE_FAULTS;
    constexpr int64_t per_second = 1'000'000'000;
    constexpr int64_t per_microsecond = 1000;
    ProcessFacts facts{};
    if (!read_process(id, facts))
        return false;
    record = record_of(id);
    record.nParentId = static_cast<int32_t>(facts.basic.pbi_ppid);
    record.nUserId = facts.basic.pbi_uid;
    record.nNice = facts.basic.pbi_nice;
    record.nStartTime = static_cast<int64_t>(facts.basic.pbi_start_tvsec) * per_second +
                        static_cast<int64_t>(facts.basic.pbi_start_tvusec) * per_microsecond;
    copy_cut(record.tszName, facts.name());
    record.cState = state_letter(facts);
    record.nKnown = known_to_all | (record.cState == '\0' ? 0U : uint32_t{MIROVAN_PROCESS_STATE});
    if (!facts.complete)
        return true;
    record.nResidentSize = facts.task.pti_resident_size;
    record.nVirtualSize = facts.task.pti_virtual_size;
    record.nUserTime = nanoseconds(facts.task.pti_total_user);
    record.nSystemTime = nanoseconds(facts.task.pti_total_system);
    record.nPageFaults = static_cast<uint64_t>(facts.task.pti_faults);
    record.nThreadCount = static_cast<uint32_t>(facts.task.pti_threadnum);
    record.nKnown |= known_if_complete;
    return true;
}

/// The ids of all processes; empty, with errno set, when they cannot be listed.
std::vector<int> all_processes()
{
    std::vector<int> ids(4096);
    for (;;)
    {
        const int size = static_cast<int>(ids.size() * sizeof(int));
        const int count = proc_listallpids(ids.data(), size);
        if (count < static_cast<int>(ids.size()))
        {
            ids.resize(static_cast<std::size_t>(std::max(count, 0)));
            return ids;
        }
        ids.resize(2 * ids.size());
    }
}

bool list(bool (*take)(const MIROVAN_PROCESS_RECORD*, void*), void* context)
{
    if (take == nullptr)
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    const std::vector<int> ids = all_processes();
    if (ids.empty())
        return fail(ERROR_MIROVAN_PROCESS_LIST_FAILED, errno);
    for (const int id : ids)
    {
        MIROVAN_PROCESS_RECORD record = record_of(id);
        const bool ended = !read_record(id, record) && errno == ESRCH;
        if (!ended && !take(&record, context))
            break;
    }
    return true;
}

bool get_record(int id, MIROVAN_PROCESS_RECORD* record)
{
    if (!is_sized(record))
        return fail(ERROR_MIROVAN_PROCESS_PARAMETER, EINVAL);
    MIROVAN_PROCESS_RECORD found{};
    if (!read_record(named_process(id), found))
        return fail(ERROR_MIROVAN_PROCESS_RECORD_FAILED, errno);
    give(found, record);
    return true;
}

} // namespace
} // namespace mirovan

bool CMirovan_Process::Mirovan_Process_List(
    bool (*pfnProcess)(const MIROVAN_PROCESS_RECORD* pstRecord, void* pContext), void* pContext)
{
    return mirovan::calling_operation<ERROR_MIROVAN_PROCESS_LIST_FAILED>(mirovan::list, pfnProcess,
                                                                         pContext);
}

bool CMirovan_Process::Mirovan_Process_GetRecord(int nPid, MIROVAN_PROCESS_RECORD* pstRecord)
{
    return mirovan::operation<ERROR_MIROVAN_PROCESS_RECORD_FAILED>(mirovan::get_record, nPid,
                                                                   pstRecord);
}
