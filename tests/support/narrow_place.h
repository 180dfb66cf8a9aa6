#pragma once

#include "tests/support/support.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace test
{

/// Runs the body in a child with 64 descriptors to spare and a stack of 256 KiB.
inline void in_a_narrow_place(std::function<void()> body)
{
    const auto run = [](void* function) -> void*
    {
        (*static_cast<std::function<void()>*>(function))();
        return nullptr;
    };
    in_child(
        [&]
        {
            const int next = dup(0);
            close(next);
            const rlimit limit{static_cast<rlim_t>(next) + 64, static_cast<rlim_t>(next) + 64};
            ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
            pthread_attr_t attributes;
            pthread_attr_init(&attributes);
            pthread_attr_setstacksize(&attributes, std::size_t{256} * 1024);
            pthread_t thread{};
            ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
            pthread_join(thread, nullptr);
        });
}

/// Makes folders of one name, each in the one before, with a file in every hundredth.
inline void make_deep(const std::string& top, const char* name, int levels)
{
    in_child(
        [&]
        {
            ASSERT_EQ(chdir(top.c_str()), 0);
            for (int level = 0; level < levels; ++level)
            {
                if (level % 100 == 0)
                    close(creat("file", 0644));
                ASSERT_TRUE(mkdir(name, 0755) == 0 && chdir(name) == 0);
            }
        });
}

} // namespace test
