#include <sys/reboot.h>

#include <cerrno>
#include <linux/reboot.h>
#include <unistd.h>

namespace kernel
{
// The function of the C library, whose name the shim header replaces.
extern "C" int c_library_reboot(int command) __asm__("reboot");
} // namespace kernel

int reboot(int howto)
{
    if (howto != RB_AUTOBOOT && howto != RB_HALT)
    {
        errno = EINVAL; // GCOVR_EXCL_LINE: interface
        return -1;      // GCOVR_EXCL_LINE: interface
    }
    // The kernel halts at once: what is still in its buffers would be lost.
    sync();
    const unsigned command = howto == RB_HALT ? LINUX_REBOOT_CMD_HALT : LINUX_REBOOT_CMD_RESTART;
    return kernel::c_library_reboot(static_cast<int>(command));
}
