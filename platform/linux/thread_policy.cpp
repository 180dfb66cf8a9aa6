#include "platform/linux/process_text.h"
#include "platform/linux/read_text.h"
#include "platform/linux/tag_table.h"

#include <cerrno>
#include <mach/mach.h>
#include <new>
#include <pthread.h>
#include <string>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

namespace mirovan::platform
{
namespace
{

// The kernel has nothing of a thread's that another thread may write and read, that new threads do
// not inherit, and that has no meaning of its own. So the tags stand here, for as many threads as
// a process can well have; the memory is used as they come.
constexpr std::size_t most_tagged_threads = 16384;
constinit TagTable<most_tagged_threads> tags;

constexpr unsigned id_bits = 22; // The kernel's own limit of thread ids is 2 to the 22nd.

/// The key of a live thread of this process; 0 when there is no such thread.
ThreadKey key_of(std::uint64_t id)
{
    std::string text;
    const std::string path = "/proc/self/task/" + std::to_string(id) + "/stat";
    if (id == 0 || !read_one_piece(path.c_str(), text))
        return 0;
    const auto stat = parse_process_stat(text);
    return stat ? stat->start_ticks << id_bits | id : 0;
}

bool is_alive(ThreadKey key)
{
    return key_of(key & ((1U << id_bits) - 1)) == key;
}

/// Whether a handle is the address of a thread's control block, whose first word, by the rules of
/// thread-local storage on this processor, holds that address. Read through the kernel, which
/// survives any address.
bool leads_to_thread(pthread_t handle)
{
    std::uintptr_t first_word = 0;
    iovec local{&first_word, sizeof first_word};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): that is what the thread library makes a handle of.
    iovec remote{reinterpret_cast<void*>(handle), sizeof first_word};
    const ssize_t got = process_vm_readv(getpid(), &local, 1, &remote, 1, 0);
    if (got < 0)
        return errno != EFAULT; // Forbidden in some sandboxes: then the caller is trusted.
    return first_word == static_cast<std::uintptr_t>(handle);
}

/// The id behind a handle, which the thread library tells only as a part of the thread's clock.
pid_t thread_id(pthread_t handle)
{
    clockid_t clock = 0;
    if (!leads_to_thread(handle) || pthread_getcpuclockid(handle, &clock) != 0)
        return 0;
    constexpr int clock_kind_bits = 3;
    return ~(clock >> clock_kind_bits);
}

kern_return_t set_tag(thread_act_t thread, integer_t tag)
{
    const ThreadKey key = key_of(thread);
    if (key == 0)
        return KERN_INVALID_ARGUMENT;
    return tags.set(key, tag, is_alive) ? KERN_SUCCESS : KERN_RESOURCE_SHORTAGE;
}

kern_return_t get_tag(thread_act_t thread, integer_t& tag)
{
    const ThreadKey key = key_of(thread);
    if (key == 0)
        return KERN_INVALID_ARGUMENT;
    tag = tags.get(key);
    return KERN_SUCCESS;
}

} // namespace
} // namespace mirovan::platform

mach_port_t pthread_mach_thread_np(pthread_t handle)
{
    return static_cast<mach_port_t>(mirovan::platform::thread_id(handle));
}

// The parameters are those of the home platform.
// NOLINTBEGIN(readability-non-const-parameter)

kern_return_t thread_policy_set(thread_act_t thread, thread_policy_flavor_t flavor,
                                thread_policy_t policy_info, mach_msg_type_number_t count)
{
    if (flavor != THREAD_AFFINITY_POLICY || count < THREAD_AFFINITY_POLICY_COUNT)
        return KERN_INVALID_ARGUMENT;
    try
    {
        return mirovan::platform::set_tag(thread, *policy_info);
    }
    catch (const std::bad_alloc&)
    {
        return KERN_RESOURCE_SHORTAGE;
    }
}

kern_return_t thread_policy_get(thread_act_t thread, thread_policy_flavor_t flavor,
                                thread_policy_t policy_info, mach_msg_type_number_t* count,
                                boolean_t* get_default)
{
    if (flavor != THREAD_AFFINITY_POLICY || *count < THREAD_AFFINITY_POLICY_COUNT)
        return KERN_INVALID_ARGUMENT;
    *count = THREAD_AFFINITY_POLICY_COUNT;
    if (*get_default)
    {
        *policy_info = THREAD_AFFINITY_TAG_NULL;
        return KERN_SUCCESS;
    }
    try
    {
        return mirovan::platform::get_tag(thread, *policy_info);
    }
    catch (const std::bad_alloc&)
    {
        return KERN_RESOURCE_SHORTAGE;
    }
}

// NOLINTEND(readability-non-const-parameter)
