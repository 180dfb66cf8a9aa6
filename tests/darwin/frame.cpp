// What holds the converted library: both errnos, its thread variables, its memory, its end.
#include "darwin.h"

#include <cstdarg>

namespace darwin
{

thread_local int error;

void record(const char* format, ...)
{
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const char* path = std::getenv("DARWIN_RECORD");
    const int file =
        path == nullptr ? dup(STDERR_FILENO) : open(path, O_WRONLY | O_CREAT | O_APPEND, 0666);
    dprintf(file, "not done on this machine: %s\n", text);
    close(file);
}

} // namespace darwin

using namespace darwin;

#define BARE extern "C" [[gnu::visibility("hidden"), gnu::target("general-regs-only")]] void

BARE darwin_enter()
{
    error = darwin_error(errno);
}
BARE darwin_leave()
{
    errno = linux_error(error);
}
BARE darwin_before()
{
    errno = 0;
}
BARE darwin_after()
{
    if (errno != 0)
        error = darwin_error(errno);
}

extern "C"
{
    struct Segment
    {
        char* begin;
        std::size_t size;
        long protection;
    };
    extern Segment darwin_segments[];
    extern void* __dso_handle;
    int __cxa_atexit(void (*)(void*), void*, void*);
}

// Darwin's loader writes the pointers and takes the right to write away then, where there is none.
__attribute__((constructor(101))) static void protect_segments()
{
    for (const Segment* segment = darwin_segments; segment->size != 0; ++segment)
        if (mprotect(segment->begin, segment->size, static_cast<int>(segment->protection)) != 0)
            std::abort();
}

DARWIN_CALL int* darwin___error()
{
    return &error;
}
DARWIN_CALL int darwin___cxa_atexit(void (*function)(void*), void* argument, void* /*image*/)
{
    return __cxa_atexit(function, argument, &__dso_handle);
}
DARWIN_CALL void darwin_dyld_stub_binder()
{
    unknown("lazy binding", 0);
}
DARWIN_CALL unsigned long darwin___stack_chk_guard;
unsigned long darwin___stack_chk_guard = 0x00c0ffee0a0d3b1f;

DARWIN_CALL void darwin__tlv_bootstrap();
DARWIN_CALL int darwin_vfork();
// Both touch registers and the stack in ways that no compiled function may. A thread variable is found
// without changing a register but the result's; vfork returns twice to a caller whose stack it shares.
asm(R"(
    .text
    .globl darwin__tlv_bootstrap, darwin_vfork
    .hidden darwin__tlv_bootstrap, darwin_vfork
darwin__tlv_bootstrap:
    mov darwin_thread_variables@gottpoff(%rip), %rax
    add %fs:0, %rax
    add 16(%rdi), %rax
    ret
darwin_vfork:
    pop %rdi
    mov $58, %eax
    syscall
    push %rdi
    cmp $-4095, %rax
    jb 1f
    neg %eax
    mov $35, %ecx
    cmp $11, %eax
    cmove %ecx, %eax
    mov _ZN6darwin5errorE@gottpoff(%rip), %rcx
    mov %eax, %fs:(%rcx)
    mov $-1, %eax
1:  ret
)");
DARWIN_CALL void darwin___bzero(void* at, std::size_t size)
{
    std::memset(at, 0, size);
}
DARWIN_CALL void* darwin_mmap(void* at, std::size_t size, int protection, int flags, int file,
                              off_t offset)
{
    const Call call;
    return mmap(at, size, protection, linux_flags(darwin_map_flags, flags, "map flag"), file,
                offset);
}
DARWIN_CALL int darwin_pthread_setcancelstate(int state, int* earlier)
{
    const int result = pthread_setcancelstate(
        static_cast<int>(linux_value(darwin_cancel_states, state, -1)), earlier);
    if (result == 0 && earlier != nullptr)
        *earlier = static_cast<int>(darwin_value(darwin_cancel_states, *earlier, -1));
    return darwin_error(result);
}

// A lock begins with a word that tells that it is one; what follows is 0 at first on both sides.
#define ON_LOCK(name, type, call)                                                                  \
    DARWIN_CALL int darwin_##name(char* lock)                                                      \
    {                                                                                              \
        return darwin_error(call(reinterpret_cast<type*>(lock + sizeof(long))));                   \
    }
ON_LOCK(pthread_rwlock_rdlock, pthread_rwlock_t, pthread_rwlock_rdlock)
ON_LOCK(pthread_rwlock_wrlock, pthread_rwlock_t, pthread_rwlock_wrlock)
ON_LOCK(pthread_rwlock_unlock, pthread_rwlock_t, pthread_rwlock_unlock)
ON_LOCK(_ZNSt3__15mutex4lockEv, pthread_mutex_t, pthread_mutex_lock)
ON_LOCK(_ZNSt3__15mutex6unlockEv, pthread_mutex_t, pthread_mutex_unlock)
ON_LOCK(_ZNSt3__15mutexD1Ev, pthread_mutex_t, pthread_mutex_destroy)
