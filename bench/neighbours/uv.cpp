#include "bench/neighbours/side.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <uv.h>

namespace
{

using side::Folder;
using side::require;

/// Calls a function of uv_fs_ without a callback: it works at once.
template <class Function, class... Arguments>
long now(Function function, Arguments... arguments)
{
    uv_fs_t request;
    const auto result = function(nullptr, &request, arguments..., nullptr);
    require(result >= 0, "uv_fs");
    uv_fs_req_cleanup(&request);
    return static_cast<long>(result);
}

/// Counts the files below, deleting them on request.
long walk(const std::string& path, bool texts, bool remove)
{
    long files = 0;
    uv_fs_t request;
    require(uv_fs_scandir(nullptr, &request, path.c_str(), 0, nullptr) >= 0, path);
    for (uv_dirent_t entry; uv_fs_scandir_next(&request, &entry) != UV_EOF;)
    {
        const std::string below = path + "/" + entry.name;
        if (entry.type == UV_DIRENT_DIR)
        {
            files += walk(below, texts, remove);
            continue;
        }
        files += entry.type == UV_DIRENT_FILE && (!texts || side::is_text(entry.name)) ? 1 : 0;
        if (remove)
            now(uv_fs_unlink, below.c_str());
    }
    uv_fs_req_cleanup(&request);
    if (remove)
        now(uv_fs_rmdir, path.c_str());
    return files;
}

long copy(const std::string& from, const std::string& to)
{
    return now(uv_fs_copyfile, from.c_str(), to.c_str(), 0) + 1;
}

long zeros(Folder folder)
{
    const uv_file file = static_cast<uv_file>(
        now(uv_fs_open, (folder + "/out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644));
    const uv_buf_t data = uv_buf_init(const_cast<char*>(side::block().data()),
                                      static_cast<unsigned>(side::block().size()));
    for (long written = 0; written < side::large_size(); ++written)
        now(uv_fs_write, file, &data, 1U, int64_t{-1});
    return now(uv_fs_close, file) + 1;
}

struct Output
{
    uv_pipe_t pipe;
    std::string text;
    char data[65536];
};

void read(Output& output)
{
    output.pipe.data = &output;
    const auto give = [](uv_handle_t* handle, std::size_t, uv_buf_t* data)
    {
        auto& to = *static_cast<Output*>(handle->data);
        *data = uv_buf_init(to.data, sizeof to.data);
    };
    const auto take = [](uv_stream_t* stream, ssize_t length, const uv_buf_t* data)
    {
        if (length > 0)
            static_cast<Output*>(stream->data)
                ->text.append(data->base, static_cast<std::size_t>(length));
        else if (length < 0)
            uv_close(reinterpret_cast<uv_handle_t*>(stream), nullptr);
    };
    require(uv_read_start(reinterpret_cast<uv_stream_t*>(&output.pipe), give, take) == 0, "read");
}

long spawn(const std::vector<std::string>& words, bool keep)
{
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    static Output outputs[2];
    uv_loop_t* const loop = uv_default_loop();
    uv_stdio_container_t streams[3] = {};
    for (int stream = 0; keep && stream < 2; ++stream)
    {
        outputs[stream].text.clear();
        uv_pipe_init(loop, &outputs[stream].pipe, 0);
        streams[stream + 1].flags = static_cast<uv_stdio_flags>(UV_CREATE_PIPE | UV_WRITABLE_PIPE);
        streams[stream + 1].data.stream = reinterpret_cast<uv_stream_t*>(&outputs[stream].pipe);
    }
    uv_process_t process;
    uv_process_options_t options{};
    options.file = arguments[0];
    options.args = arguments.data();
    options.stdio_count = 3;
    options.stdio = streams;
    options.exit_cb = [](uv_process_t* ended, int64_t status, int)
    {
        require(status == 0, "status");
        uv_close(reinterpret_cast<uv_handle_t*>(ended), nullptr);
    };
    require(uv_spawn(loop, &process, &options) == 0, words[0]);
    for (int stream = 0; keep && stream < 2; ++stream)
        read(outputs[stream]);
    uv_run(loop, UV_RUN_DEFAULT);
    return static_cast<long>(outputs[0].text.size());
}

long load()
{
    uv_cpu_info_t* processors = nullptr;
    int count = 0;
    require(uv_cpu_info(&processors, &count) == 0, "uv_cpu_info");
    uv_free_cpu_info(processors, count);
    return count;
}

long identity()
{
    uv_utsname_t kernel;
    double uptime = 0;
    char host[256];
    std::size_t length = sizeof host;
    require(uv_os_uname(&kernel) == 0 && uv_uptime(&uptime) == 0 &&
                uv_os_gethostname(host, &length) == 0,
            "identity");
    return static_cast<long>(uv_available_parallelism());
}

} // namespace

int main(int argc, char** argv)
{
    return side::main(
        argc, argv,
        {
            {"walk", [](Folder folder) { return walk(folder + "/tree", false, false); }},
            {"filter", [](Folder folder) { return walk(folder + "/tree", true, false); }},
            {"copy_large", [](Folder folder) { return copy(folder + "/large", folder + "/out"); }},
            {"copy_small", [](Folder folder) { return side::each_small(folder, copy); }},
            {"delete", [](Folder folder) { return walk(folder + "/doomed", false, true); }},
            {"zeros", zeros},
            {"volume", [](Folder folder) { return now(uv_fs_statfs, folder.c_str()) + 1; }},
            {"spawn", [](Folder) { return spawn({side::command_true}, false) + 1; }},
            {"execute", [](Folder) { return spawn(side::command_echo, true); }},
            {"capture", [](Folder) { return spawn(side::command_much, true); }},
            {"memory",
             [](Folder) { return uv_get_free_memory() < uv_get_total_memory() ? 1L : 0L; }},
            {"load", [](Folder) { return load(); }},
            {"identity", [](Folder) { return identity(); }},
        });
}
