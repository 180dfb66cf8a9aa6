#include "platform/linux/process_text.h"
#include "platform/linux/read_text.h"

#include <algorithm>
#include <cerrno>
#include <mach/mach.h>
#include <mutex>
#include <new>
#include <optional>
#include <pthread.h>
#include <string>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace mirovan::platform
{
namespace
{

/// A thread of this process, with its start time, since ids are reused.
struct ThreadKey
{
    std::uint64_t id;
    std::uint64_t start;
    bool operator==(const ThreadKey&) const = default;
};

std::optional<ThreadKey> key_of(std::uint64_t id)
{
    std::string text;
    const std::string path = "/proc/self/task/" + std::to_string(id) + "/stat";
    if (id == 0 || !read_one_piece(path.c_str(), text))
        return std::nullopt;
    const auto stat = parse_process_stat(text);
    return stat ? std::optional{ThreadKey{id, stat->start_ticks}} : std::nullopt;
}

// The kernel has nothing of a thread's that another thread may write and read, that new threads do
// not inherit, and that has no meaning of its own. So the tags are kept here.
std::mutex mutex;
std::vector<std::pair<ThreadKey, std::int32_t>> tags;
std::size_t entries_to_clean = 64;

/// Removes the tags of ended threads whenever there are twice as many tags as there were left.
void clean()
{
    if (tags.size() < entries_to_clean)
        return;
    std::erase_if(tags, [](const auto& tag) { return key_of(tag.first.id) != tag.first; });
    entries_to_clean = std::max<std::size_t>(64, 2 * tags.size());
}

auto find(const ThreadKey& thread)
{
    return std::find_if(tags.begin(), tags.end(),
                        [&](const auto& tag) { return tag.first == thread; });
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

/// The id of a handle, which the thread library exposes only in the id of the thread's clock.
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
    const auto key = key_of(thread);
    if (!key)
        return KERN_INVALID_ARGUMENT;
    const std::lock_guard lock{mutex};
    if (const auto known = find(*key); known != tags.end())
        known->second = tag;
    else if (tag != THREAD_AFFINITY_TAG_NULL)
    {
        clean();
        tags.emplace_back(*key, tag);
    }
    return KERN_SUCCESS;
}

kern_return_t get_tag(thread_act_t thread, integer_t& tag)
{
    const auto key = key_of(thread);
    if (!key)
        return KERN_INVALID_ARGUMENT;
    const std::lock_guard lock{mutex};
    const auto known = find(*key);
    tag = known == tags.end() ? THREAD_AFFINITY_TAG_NULL : known->second;
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
        return KERN_INVALID_ARGUMENT; // GCOVR_EXCL_LINE: interface
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
        return KERN_INVALID_ARGUMENT; // GCOVR_EXCL_LINE: interface
    *count = THREAD_AFFINITY_POLICY_COUNT;
    if (*get_default)
    {
        *policy_info = THREAD_AFFINITY_TAG_NULL; // GCOVR_EXCL_LINE: interface
        return KERN_SUCCESS;                     // GCOVR_EXCL_LINE: interface
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
