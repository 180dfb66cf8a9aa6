#include "mirovan.hpp"

#include "tests/support/support.h"

#include <cstring>
#include <functional>
#include <pthread.h>
#include <ranges>
#include <stdexcept>
#include <sys/resource.h>
#include <tuple>
#include <unistd.h>

namespace
{

using namespace mirovan;

static_assert(std::ranges::random_access_range<file::path_list>);

TEST(CxxHeader, FailuresAreThrownOrReported)
{
    std::error_code code;
    EXPECT_EQ(file::attributes("/nonexistent-mirovan", code).size, 0U);
    EXPECT_EQ(code, ERROR_MIROVAN_FILE_ATTR_NOTFOUND);
    EXPECT_EQ(code, std::errc::no_such_file_or_directory);
    EXPECT_EQ(code.category().name(), std::string{"mirovan"});
    EXPECT_EQ(code.message(), Mirovan_GetErrorText(ERROR_MIROVAN_FILE_ATTR_NOTFOUND));
    file::attributes("/", code);
    EXPECT_FALSE(code);
    try
    {
        file::attributes(L"/nonexistent-\u20ac");
        FAIL() << "nothing was thrown";
    }
    catch (const error& thrown)
    {
        EXPECT_EQ(thrown.code(), ERROR_MIROVAN_FILE_ATTR_NOTFOUND);
        EXPECT_EQ(thrown.system(), std::errc::no_such_file_or_directory);
        EXPECT_STREQ(thrown.what(), "attributes: /nonexistent-\u20ac: The file does not exist: "
                                    "No such file or directory");
    }
    const auto nul = [](const char* text) { return std::string{text, std::strlen(text) + 5}; };
    const std::function<void()> cut_short[] = {
        [&] { file::attributes(nul("/etc/passwd\0.jpg")); },
        [&] {
            file::attributes(std::wstring{L"/etc/passwd\0.jpg", 16});
        },
        [&] { file::copy("/etc/passwd", nul("/dev/null\0.jpg")); },
        [&] { file::list(nul("/etc\0.jpg")); },
        [&] { file::walk(nul("/etc\0.jpg")); },
        [&] { hardware::volume(nul("/etc\0.jpg")); },
        [&] { process::output(nul("true\0 1234")); },
        [&] { process::create("/bin/true", nul("one\0 1234")); },
        [&] { process::stop_matching(nul("none\0 1234")); },
        [&] { system::run(nul("true\0 1234"), std::chrono::seconds{1}); }};
    for (const auto& call : cut_short)
        try
        {
            call();
            ADD_FAILURE() << "a null character was let through";
        }
        catch (const error& thrown)
        {
            EXPECT_EQ(thrown.code(), std::errc::invalid_argument) << thrown.what();
        }
}

TEST(CxxHeader, Files)
{
    const test::Scratch scratch;
    std::error_code code;
    const std::string content{"a\0b", 3};
    const std::u32string name = U"/d\u00E9/\U0001F389";
    const std::wstring wide =
        test::widened(scratch.path()) + std::wstring{name.begin(), name.end()};
    file::save(wide, content);
    file::copy(wide, wide + L"2");
    EXPECT_THROW(file::copy(wide, wide + L"2", file::existing::refuse), error);
    EXPECT_EQ(file::attributes(std::u32string{wide.begin(), wide.end()}).size, 3U);
    EXPECT_THROW(file::save(wide, {content.data(), std::size_t{1} << 32U}), error);
    file::create_folders(scratch / "x/y");
    file::create_zero_filled(scratch / "x/zero.bin", 5000);
    EXPECT_EQ(file::attributes(scratch / "x/zero.bin").size, 5000U);

    std::set<std::string> found;
    for (const std::filesystem::path& path :
         file::list(scratch.path(), file::kind::all, file::depth::whole_tree))
        found.insert(path.lexically_relative(scratch.path()));
    EXPECT_EQ(found, (std::set<std::string>{"d\u00E9", "d\u00E9/\U0001F389",
                                            "d\u00E9/\U0001F389"
                                            "2",
                                            "x", "x/y", "x/zero.bin"}));
    const auto zeros = file::list(scratch / "x/*.bin");
    ASSERT_EQ(zeros.size(), 1U);
    EXPECT_EQ(zeros[0], scratch / "x/zero.bin");

    file::empty_folder(scratch / "x");
    EXPECT_TRUE(file::list(scratch / "x", file::kind::all).empty());
    EXPECT_THROW(file::list(scratch / "y"), error);
    file::list(scratch / "missing.bin", code);
    EXPECT_EQ(code, std::errc::no_such_file_or_directory) << "is no pattern";
    scratch.file("w/a/in.txt");
    scratch.file("w/b/in.txt");
    std::set<std::string> seen;
    auto walk = file::walk(scratch / "w", {.with_status = true});
    for (const file::entry& entry : walk)
    {
        seen.insert(entry.path.lexically_relative(scratch / "w"));
        EXPECT_EQ(entry.kind == file::entry_kind::file, entry.depth == 2);
        EXPECT_EQ(entry.status->modified, std::chrono::time_point_cast<std::chrono::nanoseconds>(
                                              std::chrono::file_clock::to_sys(
                                                  std::filesystem::last_write_time(entry.path))));
        if (entry.path.filename() == "a")
            walk.skip();
    }
    EXPECT_EQ(seen, (std::set<std::string>{"a", "b", "b/in.txt"}));
    const auto names = [&](const file::walk_options& options)
    {
        std::string all;
        for (const file::entry& entry : file::walk(scratch / "w/b", options))
            all += entry.path.filename().string() + ' ';
        return all;
    };
    scratch.file("w/b/deep/x");
    scratch.folder("w/b/deep/y");
    std::filesystem::remove(scratch / "w/b/in.txt");
    EXPECT_EQ(names({.max_depth = 1}), "deep ");
    EXPECT_EQ(names({.pattern = "x", .same_volume = true}), "x ");
    EXPECT_TRUE(names({.folders_last = true}).ends_with(" deep "));
    int steps = 0;
    file::for_each_entry(scratch / "w", {},
                         [&](const file::entry&)
                         { return ++steps == 2 ? file::next::stop : file::next::go_on; });
    EXPECT_EQ(steps, 2);
    file::delete_folder(scratch / "x");
    EXPECT_FALSE(std::filesystem::exists(scratch / "x"));
}

TEST(CxxHeader, Processes)
{
    EXPECT_EQ(process::output("seq 1 40000").size(), test::shell_output("seq 1 40000").size());
    EXPECT_EQ(process::output("seq 1 9", {2, 3}), "3\n4\n");
    EXPECT_EQ(process::info(getpid()).id, getpid());
    EXPECT_EQ(process::path(), std::filesystem::read_symlink("/proc/self/exe"));
    EXPECT_EQ(process::is_admin(), geteuid() == 0);
    EXPECT_EQ(process::priority(), getpriority(PRIO_PROCESS, 0));
    process::set_affinity_tag(pthread_self(), -3);
    EXPECT_EQ(process::affinity_tag(pthread_self()), -3);
    const int child = process::create("/bin/sleep", "100");
    EXPECT_EQ(process::info(child).name, "sleep");
    process::stop(child);
    EXPECT_THROW(process::stop(child), error);
    process::stop(process::run("/bin/sleep", "sleep", "100"));
    EXPECT_THROW(process::create("/nonexistent-mirovan"), error);
}

TEST(CxxHeader, SystemAndHardware)
{
    const test::Environment set{"LANG", "xx_YY"};
    EXPECT_EQ(system::version().release + "\n", test::shell_output("uname -r"));
    EXPECT_EQ(system::user_name() + "\n", test::shell_output("id -un"));
    EXPECT_EQ(system::host_name() + "\n", test::shell_output("uname -n"));
    EXPECT_EQ(system::language(), "xx_YY");
    EXPECT_GT(system::memory().total, system::memory().free);
    EXPECT_LE(system::idle_percent(), 100U);
    EXPECT_GT(system::processor_count(), 0);
    EXPECT_LT(system::start_time(), process::start_time());
    system::run("exec sleep 60", std::chrono::seconds{0});
    EXPECT_GT(hardware::volume("/").size, hardware::volume("/").available);
    EXPECT_EQ(hardware::processor().online, system::processor_count());
    EXPECT_EQ(hardware::serials().volume_uuid.find('\n'), std::string::npos);
    const auto volumes = hardware::volume_names();
    EXPECT_EQ(volumes.end() - volumes.begin(), static_cast<std::ptrdiff_t>(volumes.size()));
}

/// Every field against the record of the C interface, so that none can be swapped for another.
TEST(CxxHeader, FieldsAreThoseOfTheRecords)
{
    const test::Commands commands;
    commands.add("system_profiler", "case $1 in SPStorageDataType) echo '      Volume UUID: V-1';; "
                                    "*) echo '      Processor Name: Fast'; "
                                    "echo '      Model Identifier: Model1,2'; "
                                    "echo '      Processor Speed: 2.5 GHz'; "
                                    "echo '      Serial Number (system): S-1'; "
                                    "echo '      Hardware UUID: H-1';; esac");
    commands.add("ioreg", "echo '\"serial-number\" = <502d31>'");
    const auto processor = hardware::processor();
    EXPECT_EQ(std::tuple(processor.name, processor.model, processor.megahertz),
              (std::tuple{"Fast", "Model1,2", 2500}));
    const auto serials = hardware::serials();
    EXPECT_EQ(
        std::tie(serials.platform, serials.system, serials.volume_uuid, serials.hardware_uuid),
        (std::tuple{"P-1", "S-1", "V-1", "H-1"}));

    MIROVAN_FILE_ATTR c_file{};
    EXPECT_SUCCEEDS(Mirovan_File_GetFileAttrA("/etc/passwd", &c_file));
    const auto file = file::attributes("/etc/passwd");
    EXPECT_EQ(file.changed.time_since_epoch().count(), c_file.nCreateTime);
    EXPECT_EQ(file.accessed.time_since_epoch().count(), c_file.nAccessTime);
    EXPECT_EQ(file.modified.time_since_epoch().count(), c_file.nModifyTime);
    EXPECT_TRUE(file.is_file && file.is_readable && !file.is_hidden);

    MIROVAN_IDENTITY c_identity{};
    c_identity.nSize = sizeof c_identity;
    EXPECT_SUCCEEDS(Mirovan_System_GetIdentity(&c_identity));
    const auto identity = system::identity();
    EXPECT_EQ(std::tie(identity.name, identity.version, identity.kernel, identity.kernel_version,
                       identity.architecture, identity.host),
              (std::tuple{c_identity.tszSystemName, c_identity.tszSystemVersion,
                          c_identity.tszKernelName, c_identity.tszKernelVersion,
                          c_identity.tszArchitecture, c_identity.tszHostName}));
    EXPECT_EQ(std::tie(identity.page_size, identity.processors, identity.processors_online,
                       identity.processors_usable),
              std::tie(c_identity.nPageSize, c_identity.nProcessors, c_identity.nProcessorsOnline,
                       c_identity.nProcessorsUsable));
    EXPECT_EQ(identity.start_time.time_since_epoch().count(), c_identity.nStartTime);

    const auto memory = system::memory_details();
    EXPECT_EQ(memory.total, system::memory().total);
    EXPECT_GE(memory.total, memory.available);
    EXPECT_GE(memory.available, memory.free);
    system::load_sampler sampler;
    const auto load = sampler.load();
    EXPECT_GE(load.each.size(), 1U);
    EXPECT_TRUE(load.total >= 0 && load.total <= 1);
    const auto volumes = hardware::volumes();
    ASSERT_FALSE(volumes.empty());
    EXPECT_GE(volumes[0].total, volumes[0].free);
    EXPECT_GE(volumes[0].free, volumes[0].available);
}

TEST(CxxHeader, CommandsAndProcesses)
{
    using std::chrono::milliseconds;
    auto result = process::execute({"sh", "-c", "cat; echo err >&2; pwd; echo $X; kill -9 $$"},
                                   {.folder = "/",
                                    .environment = {{"X=1", "PATH=/bin:/usr/bin"}},
                                    .input = std::string{"a\0b\n", 4}});
    EXPECT_EQ(result.output, (std::string{"a\0b\n", 4} + "/\n1\n"));
    EXPECT_EQ(result.errors, "err\n");
    EXPECT_EQ(std::tuple(result.how, result.signal, result.status(), result.ok()),
              (std::tuple{process::end::signalled, SIGKILL, 137, false}));
    EXPECT_GT(result.wall_time.count(), 0);
    EXPECT_EQ(process::execute_line("echo 1; echo 2 >&2", {.merge_errors = true}).output, "1\n2\n");
    result =
        process::execute({"sleep", "60"}, {.limit = milliseconds{20}, .grace = milliseconds{0}});
    EXPECT_EQ(std::pair(result.how, result.signal), std::pair(process::end::limit, SIGKILL));
    std::string seen;
    result = process::execute({"yes"}, {.on_output = [&](std::string_view piece)
                                        {
                                            seen = piece;
                                            return false;
                                        }});
    EXPECT_EQ(result.how, process::end::stopped);
    EXPECT_TRUE(seen.starts_with("y\ny\n"));
    EXPECT_THROW(process::execute({"yes"}, {.on_output = [](std::string_view) -> bool
                                            { throw std::out_of_range{""}; }}),
                 std::out_of_range);
    std::error_code code;
    process::execute({"nonexistent-mirovan"}, code);
    EXPECT_EQ(code, std::errc::no_such_file_or_directory);
    process::execute({}, code);
    EXPECT_EQ(code, std::errc::invalid_argument);
    process::execute({"echo", std::string{"a\0b", 3}}, code);
    EXPECT_EQ(code, std::errc::invalid_argument);

    const int child = process::run("/bin/sleep", "sleep", "60");
    EXPECT_EQ(process::wait(child, milliseconds{1}).how, process::end::running);
    process::usage_sampler usage{child};
    EXPECT_LT(usage.usage(), 0.5);
    const auto record = process::get_record(child);
    EXPECT_EQ(std::tuple(record.id, record.parent, record.user_id, record.name),
              (std::tuple{child, getpid(), geteuid(), "sleep"}));
    const auto all = process::processes();
    EXPECT_EQ(std::count_if(all.begin(), all.end(),
                            [&](const process::record& each)
                            { return each.id == child && each.start_time == record.start_time; }),
              1);
    kill(child, SIGTERM);
    EXPECT_EQ(process::wait(child).signal, SIGTERM);
    EXPECT_EQ(usage.usage(), std::nullopt);
    EXPECT_THROW(process::wait(child), error);
}

} // namespace
