#pragma once

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <locale.h>
#include <new>
#include <pthread.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

// It pairs what the headers above define.
#include "layout.h"

#define DARWIN_CALL extern "C" [[gnu::visibility("hidden")]]

namespace darwin
{

/// The errno that the library sees. It keeps what Linux alone knows, moved out of the way.
[[gnu::tls_model("initial-exec")]] extern thread_local int error;
constexpr int moved = 10000;

template <std::size_t Size>
constexpr long linux_value(const long (&pairs)[Size][2], long value, long otherwise)
{
    for (const auto& [theirs, ours] : pairs)
        if (theirs == value)
            return ours;
    return otherwise;
}

template <std::size_t Size>
constexpr long darwin_value(const long (&pairs)[Size][2], long value, long otherwise)
{
    for (const auto& [theirs, ours] : pairs)
        if (ours == value)
            return theirs;
    return otherwise;
}

[[noreturn]] inline void unknown(const char* what, long value)
{
    std::fprintf(stderr, "the stand-in for macOS knows no %s %#lx\n", what, value);
    std::abort();
}

/// Flags one by one; one that is not known would silently do nothing.
template <std::size_t Size>
int linux_flags(const long (&pairs)[Size][2], long flags, const char* what)
{
    int found = 0;
    for (const auto& [theirs, ours] : pairs)
        if ((flags & theirs) == theirs)
        {
            found |= static_cast<int>(ours);
            flags &= ~theirs;
        }
    if (flags != 0)
        unknown(what, flags);
    return found;
}

inline int darwin_error(int number)
{
    return number == 0 ? 0 : static_cast<int>(darwin_value(darwin_errnos, number, number + moved));
}
inline int linux_error(int number)
{
    return number == 0 ? 0 : static_cast<int>(linux_value(darwin_errnos, number, number - moved));
}
inline int linux_signal(int number)
{
    return static_cast<int>(linux_value(darwin_signals, number, number));
}

/// A call of the library's to the system: what fails in it is seen there under Darwin's number.
class Call
{
public:
    Call() { errno = 0; }
    ~Call()
    {
        if (errno != 0)
            error = darwin_error(errno);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
};

template <class Result>
Result fails(int number, Result result)
{
    errno = number;
    return result;
}

/// A call that is made in a roundabout way here has no memory for it rather than an exception.
template <class Result, class Body>
Result within_memory(Result otherwise, Body body)
{
    try
    {
        return body();
    }
    catch (const std::bad_alloc&)
    {
        return fails(ENOMEM, otherwise);
    }
}

/// A function of the C library's for what stands for no call of the library's: no test makes it fail.
#define UNNOTICED(name) reinterpret_cast<decltype(&(name))>(dlsym(RTLD_NEXT, #name))

/// Puts a call aside that must not be made here.
void record(const char* format, ...) __attribute__((format(printf, 1, 2)));

} // namespace darwin
