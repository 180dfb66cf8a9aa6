#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace mirovan::platform
{

/// Identifies a thread for all time: its id, and the clock tick in which it started, as no id is
/// given out twice within a tick. Above 1.
using ThreadKey = std::uint64_t;

/// One tag for each of the threads of a process, without a lock. The tag of a thread that was given
/// none is 0.
///
/// An entry belongs to its thread for good, and is taken over only when the table is full and that
/// thread has ended: whoever finds an entry of a live thread may rely on it. Two threads that tag a
/// third one for the first time at once may make two entries; then only the one that stands first
/// is ever looked at.
template <std::size_t Slots>
class TagTable
{
public:
    std::int32_t get(ThreadKey thread) const
    {
        for (const Slot& slot : slots_)
        {
            const ThreadKey owner = slot.owner;
            if (owner == thread)
                return slot.tag;
            if (owner == nobody)
                break;
        }
        return 0;
    }

    /// @param is_alive whether the thread of a key lives.
    /// @return false when every entry belongs to a live thread.
    template <class IsAlive>
    bool set(ThreadKey thread, std::int32_t tag, IsAlive&& is_alive)
    {
        for (Slot& slot : slots_)
        {
            const ThreadKey owner = slot.owner;
            if (owner == thread)
            {
                slot.tag = tag;
                return true;
            }
            if (owner == nobody)
                break;
        }
        if (tag == 0)
            return true;
        for (Slot& slot : slots_)
            if (slot.owner == nobody && take(slot, nobody, thread, tag))
                return true;
        for (Slot& slot : slots_)
        {
            const ThreadKey owner = slot.owner;
            if (owner != being_taken && !is_alive(owner) && take(slot, owner, thread, tag))
                return true;
        }
        return false;
    }

private:
    static constexpr ThreadKey nobody = 0;
    static constexpr ThreadKey being_taken = 1;

    struct Slot
    {
        std::atomic<ThreadKey> owner = nobody;
        std::atomic<std::int32_t> tag = 0;
    };

    /// The new owner can be seen only when the tag is in place.
    static bool take(Slot& slot, ThreadKey from, ThreadKey thread, std::int32_t tag)
    {
        if (!slot.owner.compare_exchange_strong(from, being_taken))
            return false;
        slot.tag = tag;
        slot.owner = thread;
        return true;
    }

    std::array<Slot, Slots> slots_;
};

} // namespace mirovan::platform
