#include "bench/neighbours/side.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using side::Folder;
using side::require;

long walk(Folder folder, bool texts)
{
    long files = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator{folder + "/tree"})
        files += entry.is_regular_file() && (!texts || entry.path().extension() == ".txt") ? 1 : 0;
    return files;
}

long copy(const std::string& from, const std::string& to)
{
    return fs::copy_file(from, to, fs::copy_options::overwrite_existing) ? 1 : 0;
}

long zeros(Folder folder)
{
    std::ofstream file{folder + "/out", std::ios::binary};
    for (long written = 0; written < side::large_size(); ++written)
        file << side::block();
    return file.flush() ? 1 : 0;
}

/// posix_spawn(), with its output by two pipes where it is kept.
long spawn(const std::vector<std::string>& words, bool keep)
{
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    int ends[2][2] = {};
    for (int stream = 0; keep && stream < 2; ++stream)
    {
        require(pipe2(ends[stream], O_CLOEXEC) == 0, "pipe2");
        posix_spawn_file_actions_adddup2(&actions, ends[stream][1], stream + 1);
    }
    pid_t child = 0;
    require(posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0,
            words[0]);
    posix_spawn_file_actions_destroy(&actions);
    std::string output[2];
    static char data[65536];
    pollfd streams[] = {{ends[0][0], POLLIN, 0}, {ends[1][0], POLLIN, 0}};
    if (keep)
    {
        close(ends[0][1]);
        close(ends[1][1]);
    }
    for (int open = keep ? 2 : 0; open > 0;)
    {
        require(poll(streams, 2, -1) > 0, "poll");
        for (int stream = 0; stream < 2; ++stream)
        {
            if (streams[stream].revents == 0)
                continue;
            const ssize_t got = read(streams[stream].fd, data, sizeof data);
            if (got > 0)
            {
                output[stream].append(data, static_cast<std::size_t>(got));
                continue;
            }
            close(streams[stream].fd);
            streams[stream].fd = -1;
            --open;
        }
    }
    int status = 0;
    require(waitpid(child, &status, 0) == child && status == 0, words[0]);
    return static_cast<long>(output[0].size());
}

long capture()
{
    std::string line;
    for (const std::string& word : side::command_much)
        line += word + " ";
    std::FILE* const stream = popen(line.c_str(), "r");
    std::string output;
    static char data[65536];
    for (std::size_t got = 0; (got = std::fread(data, 1, sizeof data, stream)) != 0;)
        output.append(data, got);
    pclose(stream);
    return static_cast<long>(output.size());
}

} // namespace

int main(int argc, char** argv)
{
    return side::main(
        argc, argv,
        {
            {"make",
             [](Folder folder)
             {
                 bench::make_tree(folder, static_cast<int>(side::number("NEIGHBOURS_FOLDERS")));
                 return 1L;
             }},
            {"walk", [](Folder folder) { return walk(folder, false); }},
            {"filter", [](Folder folder) { return walk(folder, true); }},
            {"copy_large", [](Folder folder) { return copy(folder + "/large", folder + "/out"); }},
            {"copy_small", [](Folder folder) { return side::each_small(folder, copy); }},
            {"delete",
             [](Folder folder) { return static_cast<long>(fs::remove_all(folder + "/doomed")); }},
            {"zeros", zeros},
            {"volume", [](Folder folder) { return fs::space(folder).capacity != 0 ? 1L : 0L; }},
            {"spawn", [](Folder) { return spawn({side::command_true}, false) + 1; }},
            {"shell", [](Folder) { return std::system("true") + 1L; }},
            {"execute", [](Folder) { return spawn(side::command_echo, true); }},
            {"capture", [](Folder) { return capture(); }},
            {"identity",
             [](Folder)
             {
                 utsname kernel{};
                 return uname(&kernel) == 0 ? sysconf(_SC_NPROCESSORS_ONLN) : 0;
             }},
        });
}
