// A process whose facts a test controls. Options: threads=N, touch=MiB, busy, name=NAME, deaf (to
// SIGINT), show (arguments, environment, descriptors, signals; then it ends). Says when it is
// ready.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <pthread.h>
#include <string_view>
#include <sys/prctl.h>
#include <unistd.h>

extern char** environ;

namespace
{

void* wait_for_ever(void*)
{
    for (;;)
        pause();
}

void show(int count, char** arguments)
{
    for (int i = 0; i < count; ++i)
        std::printf("argument %s\n", arguments[i]);
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable)
        std::printf("variable %s\n", *variable);
    DIR* folder = opendir("/proc/self/fd");
    while (const dirent* entry = readdir(folder))
        if (entry->d_name[0] != '.' && std::atoi(entry->d_name) != dirfd(folder))
            std::printf("descriptor %s\n", entry->d_name);
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    for (int number = 1; number < NSIG; ++number)
    {
        struct sigaction action = {};
        if (sigismember(&mask, number) == 1)
            std::printf("blocked %d\n", number);
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
            std::printf("ignored %d\n", number);
    }
    closedir(folder);
}

} // namespace

int main(int count, char** arguments)
{
    if (count > 1 && std::strcmp(arguments[1], "show") == 0)
    {
        show(count, arguments);
        return 0;
    }
    // Who starts the tests in the background may have it ignored.
    std::signal(SIGINT, SIG_DFL);
    bool busy = false;
    std::unique_ptr<char[]> touched;
    for (int i = 1; i < count; ++i)
    {
        const std::string_view option = arguments[i];
        const auto number = static_cast<unsigned>(
            std::atoi(arguments[i] + std::min(option.size(), option.find('=') + 1)));
        pthread_t thread{};
        if (option.starts_with("threads="))
            for (unsigned started = 1; started < number; ++started)
                pthread_create(&thread, nullptr, wait_for_ever, nullptr);
        else if (option.starts_with("touch="))
            std::memset((touched = std::make_unique<char[]>(number << 20U)).get(), 1,
                        number << 20U);
        else if (option.starts_with("name="))
            prctl(PR_SET_NAME, arguments[i] + 5);
        else if (option == "deaf")
            std::signal(SIGINT, SIG_IGN);
        busy |= option == "busy";
    }
    std::puts("ready");
    std::fflush(stdout);
    const volatile bool spinning = busy;
    while (spinning)
        ;
    wait_for_ever(nullptr);
}
