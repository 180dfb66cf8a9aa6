#include "mirovan.hpp"

#include "tests/support/support.h"

#include <ranges>
#include <sys/resource.h>

namespace
{

using namespace mirovan;
using std::chrono::milliseconds;
using Names = std::set<std::string>;

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
    const auto thrown_by = [](const std::function<void()>& call)
    {
        try
        {
            call();
        }
        catch (const error& thrown)
        {
            return thrown;
        }
        return error{{}, 0, "nothing was thrown"};
    };
    const error missing = thrown_by([] { file::attributes(L"/nonexistent-\u20ac"); });
    EXPECT_EQ(missing.code(), ERROR_MIROVAN_FILE_ATTR_NOTFOUND);
    EXPECT_EQ(missing.system(), std::errc::no_such_file_or_directory);
    EXPECT_STREQ(missing.what(), "attributes: /nonexistent-\u20ac: The file does not exist: "
                                 "No such file or directory");
    const auto nul = [](const char* text) { return std::string{text, std::strlen(text) + 5}; };
    for (const std::function<void()>& cut_short :
         std::initializer_list<std::function<void()>>{
             [&] { file::attributes(nul("/etc/passwd\0.jpg")); },
             [&] { file::attributes(std::wstring(L"/etc/passwd\0.jpg", 16)); },
             [&] { file::copy("/etc/passwd", nul("/dev/null\0.jpg")); },
             [&] { file::list(nul("/etc\0.jpg")); }, [&] { file::walk(nul("/etc\0.jpg")); },
             [&] { hardware::volume(nul("/etc\0.jpg")); },
             [&] { process::output(nul("true\0 1234")); },
             [&] { process::create("/bin/true", nul("one\0 1234")); },
             [&] { process::stop_matching(nul("none\0 1234")); },
             [&] {
                 process::execute({"echo", nul("a\0 1234")});
             },
             [] { process::execute({}); },
             [&] { system::run(nul("true\0 1234"), std::chrono::seconds{1}); }})
        EXPECT_EQ(thrown_by(cut_short).code(), std::errc::invalid_argument)
            << thrown_by(cut_short).what();
}

TEST(CxxHeader, Files)
{
    const test::Scratch scratch;
    std::filesystem::current_path(scratch.path());
    const std::string content{"a\0b", 3};
    file::save(L"d\u00E9/\U0001F389", content);
    file::copy(std::wstring{L"d\u00E9/\U0001F389"}, L"d\u00E9/2");
    EXPECT_THROW(file::copy("d\u00E9/2", "d\u00E9/\U0001F389", file::existing::refuse), error);
    EXPECT_EQ(test::read_file("d\u00E9/2"), content);
    EXPECT_EQ(file::attributes(std::u32string{U"d\u00E9/\U0001F389"}).size, 3U);
    EXPECT_THROW(file::save("x", {content.data(), std::size_t{1} << 32U}), error);
    file::create_folders("x/y");
    file::create_zero_filled("x/zero.bin", 5000);
    EXPECT_EQ(file::attributes("x/zero.bin").size, 5000U);

    const auto listed = file::list(".", file::kind::all, file::depth::whole_tree);
    EXPECT_EQ(Names(listed.begin(), listed.end()),
              (Names{"./d\u00E9", "./d\u00E9/\U0001F389", "./d\u00E9/2", "./x", "./x/y",
                     "./x/zero.bin"}));
    const auto zeros = file::list("x/*.bin");
    ASSERT_EQ(zeros.size(), 1U);
    EXPECT_EQ(zeros[0], "x/zero.bin");
    file::empty_folder("x");
    EXPECT_TRUE(file::list("x", file::kind::all).empty());
    EXPECT_THROW(file::list("y"), error);
    std::error_code code;
    file::list("missing.bin", code);
    EXPECT_EQ(code, std::errc::no_such_file_or_directory) << "is no pattern";
    file::delete_folder("x");
    EXPECT_FALSE(std::filesystem::exists("x"));
    std::filesystem::current_path("/");
}

TEST(CxxHeader, Walks)
{
    const test::Scratch scratch;
    std::filesystem::current_path(scratch.path());
    for (const char* name : {"a/in.txt", "b/deep/x", "b/deep/y/z"})
        scratch.file(name);
    Names seen;
    auto walk = file::walk(".", {.with_status = true});
    for (const file::entry& entry : walk)
    {
        seen.insert(entry.path.lexically_normal());
        EXPECT_EQ(entry.status->modified, std::chrono::time_point_cast<std::chrono::nanoseconds>(
                                              std::chrono::file_clock::to_sys(
                                                  std::filesystem::last_write_time(entry.path))));
        if (entry.path.filename() == "a")
            walk.skip();
    }
    EXPECT_EQ(seen, (Names{"a", "b", "b/deep", "b/deep/x", "b/deep/y", "b/deep/y/z"}));
    const std::pair<file::walk_options, std::vector<std::string>> cases[] = {
        {{.max_depth = 1}, {"b/deep"}},
        {{.max_depth = 2, .pattern = "[x]", .same_volume = true}, {"b/deep/x"}},
        {{.pattern = "[dz]*"}, {"b/deep", "b/deep/y/z"}},
        {{.pattern = "[dyz]*", .folders_last = true}, {"b/deep/y/z", "b/deep/y", "b/deep"}}};
    for (const auto& [options, expected] : cases)
    {
        std::vector<std::string> paths;
        for (const file::entry& entry : file::walk("b", options))
            paths.push_back(entry.path);
        EXPECT_EQ(paths, expected);
    }
    int steps = 0;
    const auto stop = [&](const file::entry&)
    { return ++steps == 2 ? file::next::stop : file::next::go_on; };
    file::for_each_entry(".", {}, stop);
    EXPECT_EQ(steps, 2);
    std::filesystem::current_path("/");
}

TEST(CxxHeader, SystemHardwareAndProcesses)
{
    const test::Environment set{"LANG", "xx_YY"};
    EXPECT_EQ(system::version().release + "\n", test::shell_output("uname -r"));
    EXPECT_EQ(system::user_name() + "\n", test::shell_output("id -un"));
    EXPECT_EQ(system::host_name() + "\n", test::shell_output("uname -n"));
    EXPECT_EQ(system::language(), "xx_YY");
    EXPECT_LE(system::idle_percent(), 100U);
    EXPECT_EQ(hardware::processor().online, system::processor_count());
    EXPECT_LT(system::start_time(), process::start_time());
    system::run("exec sleep 60", std::chrono::seconds{0});
    system::load_sampler sampler;
    const auto load = sampler.load();
    EXPECT_GE(load.each.size(), 1U);
    EXPECT_TRUE(load.total >= 0 && load.total <= 1);
    const test::Commands commands;
    commands.add("system_profiler", "echo '    One:'; echo '      Writable: Yes'");
    const auto volumes = hardware::volume_names();
    EXPECT_EQ(Names(volumes.begin(), volumes.end()), Names{"One:"});

    EXPECT_EQ(process::output("seq 1 40000").size(), test::shell_output("seq 1 40000").size());
    EXPECT_EQ(process::output("seq 1 9", {2, 3}), "3\n4\n");
    EXPECT_EQ(process::path(), std::filesystem::read_symlink("/proc/self/exe"));
    EXPECT_EQ(process::is_admin(), geteuid() == 0);
    process::set_affinity_tag(pthread_self(), -3);
    EXPECT_EQ(process::affinity_tag(pthread_self()), -3);
    const int child = process::create("/bin/sleep", "100");
    process::set_priority(7, child);
    EXPECT_EQ(process::priority(child), getpriority(PRIO_PROCESS, static_cast<id_t>(child)));
    process::stop(child);
    EXPECT_THROW(process::stop(child), error);
    EXPECT_THROW(process::create("/nonexistent-mirovan"), error);
}

TEST(CxxHeader, Commands)
{
    using process::end;
    auto result = process::execute({"sh", "-c", "cat; echo err >&2; pwd; echo $X; kill -9 $$"},
                                   {.folder = "/",
                                    .environment = {{"X=1", "PATH=/bin:/usr/bin"}},
                                    .input = std::string{"a\0b\n", 4}});
    EXPECT_EQ(result.output, (std::string{"a\0b\n", 4} + "/\n1\n"));
    EXPECT_EQ(result.errors, "err\n");
    EXPECT_EQ(std::tuple(result.how, result.signal, result.status(), result.ok()),
              (std::tuple{end::signalled, SIGKILL, 137, false}));
    result = process::execute_line("echo 1; echo 2 >&2", {.merge_errors = true});
    EXPECT_EQ(std::tuple(result.output, result.status(), result.ok()),
              (std::tuple{"1\n2\n", 0, true}));
    result =
        process::execute({"sleep", "60"}, {.limit = milliseconds{20}, .grace = milliseconds{0}});
    EXPECT_EQ(std::pair(result.how, result.signal), std::pair(end::limit, SIGKILL));
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[1]);
    EXPECT_EQ(process::execute({"sleep", "60"}, {.stop_descriptor = ends[0]}).how, end::stopped);
    close(ends[0]);
    std::string seen;
    const auto take = [&](std::string_view piece)
    {
        seen = piece;
        return false;
    };
    EXPECT_EQ(process::execute({"yes"}, {.on_output = take}).how, end::stopped);
    EXPECT_TRUE(seen.starts_with("y\ny\n"));
    const auto refuse = [](std::string_view) -> bool { throw std::out_of_range{""}; };
    EXPECT_THROW(process::execute({"yes"}, {.on_output = refuse}), std::out_of_range);
    std::error_code code;
    process::execute({"/nonexistent-mirovan"}, code);
    EXPECT_EQ(code, std::errc::no_such_file_or_directory);

    const int child = process::run("/bin/sleep", "sleep", "60");
    EXPECT_EQ(process::wait(child, milliseconds{1}).how, end::running);
    process::usage_sampler usage{child};
    EXPECT_LT(usage.usage(), 0.5);
    const auto all = process::processes();
    EXPECT_TRUE(std::any_of(all.begin(), all.end(),
                            [&](const auto& each)
                            { return each.id == child && each.parent == getpid(); }));
    kill(child, SIGTERM);
    EXPECT_EQ(process::wait(child).signal, SIGTERM);
    EXPECT_EQ(usage.usage(), std::nullopt);
    EXPECT_THROW(process::wait(child), error);
}

} // namespace
