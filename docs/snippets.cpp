/* Examples for functions and classes of mirovan.hpp, shown in the reference. Each is behind a comment
   with its name; the body is shown. */
#include <mirovan.hpp>

#include <cstdio>
#include <iostream>
#include <thread>

/* error */
static void error()
{
    try
    {
        mirovan::file::save("/proc/folder/name", "content");
    }
    catch (const mirovan::error& reason)
    {
        std::cerr << reason.what() << '\n';
        if (reason.code() == ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED)
            std::cerr << "errno " << reason.system().value() << '\n';
    }
}

/* attributes */
static void attributes()
{
    std::error_code ec;
    const auto found = mirovan::file::attributes("/etc/passwd", ec);
    if (ec == std::errc::no_such_file_or_directory)
        std::cout << "no such file\n";
    else if (!ec)
        std::cout << found.size << " bytes\n";
}

/* save */
static void save()
{
    mirovan::file::save("notes/today.txt", "first line\n"); // creates the folder notes
}

/* copy */
static void copy()
{
    namespace file = mirovan::file;
    std::error_code ec;
    file::copy("notes/today.txt", "backup/today.txt", file::existing::refuse, ec);
    if (ec == ERROR_MIROVAN_FILE_COPY_EXIST)
        std::cout << "a backup exists\n";
}

/* list */
static void list()
{
    namespace file = mirovan::file;
    for (const std::filesystem::path& path : file::list("notes/*.txt"))
        std::cout << path << '\n';
    std::cout << file::list("notes", file::kind::all, file::depth::whole_tree).size()
              << " entries\n";
}

/* walk */
static void walk()
{
    namespace file = mirovan::file;
    std::uint64_t bytes = 0;
    auto entries = file::walk("notes", {.with_status = true});
    for (const file::entry& entry : entries)
    {
        if (entry.path.filename() == ".git")
            entries.skip();
        else if (entry.kind == file::entry_kind::file && entry.status)
            bytes += entry.status->size;
    }
    std::cout << bytes << " bytes\n";
}

/* for_each_entry */
static void for_each_entry()
{
    namespace file = mirovan::file;
    file::for_each_entry("notes", {.max_depth = 2},
                         [](const file::entry& entry)
                         {
                             std::cout << entry.path << '\n';
                             return entry.error == 0 ? file::next::go_on : file::next::stop;
                         });
}

/* delete_folder */
static void delete_folder()
{
    mirovan::file::empty_folder("notes"); // keeps the folder
    mirovan::file::delete_folder("backup");
}

/* volumes */
static void volumes()
{
    for (const auto& volume : mirovan::hardware::volumes())
        if (volume.available)
            std::cout << volume.mount_point << ' ' << *volume.available << " bytes available\n";
}

/* output */
static void output()
{
    std::cout << mirovan::process::output("uname -a", {.count = 1});
}

/* execute */
static void execute()
{
    using namespace std::chrono_literals;
    const auto result = mirovan::process::execute({"sort"}, {.input = "b\na\n", .limit = 5s});
    if (result.ok())
        std::cout << result.output; // a and b
    else
        std::cerr << "status " << result.status() << ": " << result.errors;
}

/* execute_line */
static void execute_line()
{
    const auto print = [](std::string_view chunk) // as the output arrives
    { return std::fwrite(chunk.data(), 1, chunk.size(), stdout) == chunk.size(); };
    mirovan::process::execute_line("for i in 1 2 3; do echo $i; done", {.on_output = print});
}

/* wait */
static void wait()
{
    using namespace std::chrono_literals;
    const int child = mirovan::process::create("/bin/true");
    const auto result = mirovan::process::wait(child, 10s);
    if (result.how == mirovan::process::end::exited)
        std::cout << "exit status " << result.exit_status << '\n';
}

/* processes */
static void processes()
{
    for (const auto& process : mirovan::process::processes())
        if (process.resident_size.value_or(0) > 1 << 30)
            std::cout << process.id << ' ' << process.name << '\n';
}

/* usage_sampler */
static void usage_sampler()
{
    using namespace std::chrono_literals;
    mirovan::process::usage_sampler sampler; // this process
    std::this_thread::sleep_for(10ms);
    if (const auto usage = sampler.usage())
        std::cout << *usage << " processors\n";
}

/* memory_details */
static void memory_details()
{
    const auto memory = mirovan::system::memory_details();
    if (memory.available)
        std::cout << (*memory.available >> 20) << " MiB available\n";
}

/* identity */
static void identity()
{
    const auto system = mirovan::system::identity();
    std::cout << system.name << ' ' << system.version << " on " << system.architecture << '\n';
}

/* load_sampler */
static void load_sampler()
{
    using namespace std::chrono_literals;
    mirovan::system::load_sampler sampler;
    std::this_thread::sleep_for(100ms);
    std::cout << 100 * sampler.load().total << " % busy\n";
}

/* Runs all. */
int main()
{
    error();
    attributes();
    save();
    copy();
    list();
    walk();
    for_each_entry();
    delete_folder();
    volumes();
    output();
    execute();
    execute_line();
    wait();
    processes();
    usage_sampler();
    memory_details();
    identity();
    load_sampler();
}
