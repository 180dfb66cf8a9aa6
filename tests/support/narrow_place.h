#pragma once

#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace test
{

/// Runs the body with 64 descriptors to spare and a stack of 256 KiB. Only in a child process.
inline void in_a_narrow_place(std::function<void()> body)
{
    const int next = dup(0);
    close(next);
    const rlimit limit{static_cast<rlim_t>(next) + 64, static_cast<rlim_t>(next) + 64};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t{256} * 1024);
    pthread_t thread{};
    const auto run = [](void* function) -> void*
    {
        (*static_cast<std::function<void()>*>(function))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

/// Makes folders of one name, each in the one before, with a file in every hundredth.
inline void make_deep(const std::string& top, const char* name, int levels)
{
    int folder = open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int level = 0; level < levels; ++level)
    {
        ASSERT_EQ(mkdirat(folder, name, 0755), 0);
        if (level % 100 == 0)
            close(openat(folder, "file", O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        const int next = openat(folder, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(folder);
        folder = next;
    }
    close(folder);
}

} // namespace test
