#include "platform/process_end.h"

#include <csignal>
#include <sys/event.h>

namespace mirovan::platform
{

Descriptor open_process_end(pid_t process)
{
    Descriptor queue{kqueue()};
    struct kevent end = {};
    EV_SET(&end, static_cast<uintptr_t>(process), EVFILT_PROC, EV_ADD | EV_ONESHOT,
           NOTE_EXIT | NOTE_EXITSTATUS, 0, nullptr);
    if (queue && kevent(queue.get(), &end, 1, nullptr, 0, nullptr) != 0)
    {
        // The status is for parents alone; the end is for everybody.
        end.fflags = NOTE_EXIT;
        if (kevent(queue.get(), &end, 1, nullptr, 0, nullptr) != 0)
            return {};
    }
    return queue; // A queue is never inherited.
}

int signal_process(const Descriptor& /*end*/, pid_t process, int number)
{
    return kill(process, number) == 0 ? 0 : errno;
}

int signal_group(const Descriptor& /*end*/, pid_t process, int number)
{
    return killpg(process, number) == 0 ? 0 : errno;
}

std::optional<int> status_of_reaped(const Descriptor& end)
{
    struct kevent ended = {};
    const timespec at_once = {};
    if (end && kevent(end.get(), nullptr, 0, &ended, 1, &at_once) == 1 &&
        (ended.fflags & NOTE_EXITSTATUS) != 0)
        return static_cast<int>(ended.data);
    return std::nullopt;
}

} // namespace mirovan::platform
