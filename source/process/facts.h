#pragma once

#include <libproc.h>
#include <string_view>
#include <sys/proc.h>
#include <sys/types.h>

namespace mirovan
{

/// What the system shows of a process. macOS shows the whole record of a process of another user to
/// root alone, and of one that has ended and was not reaped to nobody; the rest of it everybody may
/// see.
struct ProcessFacts
{
    bool complete; ///< `task` is filled.
    proc_bsdinfo basic;
    proc_taskinfo task;

    /// Whether one of its threads runs. macOS gives SRUN to sleeping processes as well.
    bool runs() const { return basic.pbi_status == SRUN && task.pti_numrunning > 0; }
    std::string_view short_name() const;
    /// The longer name that the system keeps, where it does.
    std::string_view name() const;
};

/// False, with errno set, when there is no such process (ESRCH) or it cannot be read.
bool read_process(pid_t process, ProcessFacts& facts);

} // namespace mirovan
