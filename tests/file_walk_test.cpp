#include "tests/support/narrow_place.h"
#include "tests/support/support.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

int take_none(const MIROVAN_WALK_ENTRY* /*entry*/, void* /*context*/)
{
    ADD_FAILURE() << "was called";
    return MIROVAN_WALK_STOP;
}

class FileWalk : public testing::Test
{
protected:
    using Answer = std::function<int(const MIROVAN_WALK_ENTRY&)>;

    /// What a walk reports, a line an entry as find -printf prints it.
    Lines walk(const std::string& path, const MIROVAN_WALK& options, const Answer& answer = {})
    {
        struct Context
        {
            Lines lines;
            const Answer& answer;
        } context{{}, answer};
        const auto take = [](const MIROVAN_WALK_ENTRY* entry, void* given)
        {
            auto& to = *static_cast<Context*>(given);
            to.lines.push_back(line_of(*entry));
            return to.answer ? to.answer(*entry) : static_cast<int>(MIROVAN_WALK_CONTINUE);
        };
        EXPECT_SUCCEEDS(Mirovan_File_Walk(path.c_str(), &options, take, &context));
        return context.lines;
    }

    static std::string line_of(const MIROVAN_WALK_ENTRY& entry)
    {
        constexpr char kinds[] = "?fdlo";
        std::ostringstream line;
        line << entry.nDepth << ' ' << kinds[entry.nKind] << ' ' << entry.lpszPath << ' '
             << entry.lpszName;
        if ((entry.nKnown & MIROVAN_WALK_KNOWN_STATUS) != 0)
            line << ' ' << std::oct << entry.nPermissions << std::dec << ' ' << entry.nFileSize
                 << ' ' << entry.nAllocatedSize / 512 << ' ' << entry.nModifyTime / 1'000'000'000
                 << ' ' << entry.nStatusTime / 1'000'000'000 << ' ' << entry.nDevice << ' '
                 << entry.nInode << ' ' << entry.nLinkCount << ' ' << entry.nUserId << ' '
                 << entry.nGroupId << ' '
                 << (entry.lpszLinkTarget != nullptr ? entry.lpszLinkTarget : "");
        if (entry.nErrno != 0)
            line << " errno " << entry.nErrno;
        return line.str();
    }

    static Lines find(const std::string& path, const std::string& options, bool status)
    {
        constexpr const char* short_line = "%d %y %p %f";
        constexpr const char* full_line = " %m %s %b %T@ %C@ %D %i %n %U %G %l";
        std::istringstream output{test::shell_output("find '" + path + "' -mindepth 1 " + options +
                                                     " -printf '" + short_line +
                                                     (status ? full_line : "") +
                                                     "\\n' | sed -E 's/^([0-9]+) [pscb]/\\1 o/; "
                                                     "s/([0-9]{9,})[.][0-9]+ /\\1 /g'")};
        Lines lines;
        for (std::string line; std::getline(output, line);)
            lines.push_back(line);
        return lines;
    }

    static MIROVAN_WALK options(uint32_t flags, int32_t depth = 0, const char* pattern = nullptr)
    {
        return {sizeof(MIROVAN_WALK), flags, depth, 0, pattern};
    }

    static Lines sorted(Lines lines)
    {
        std::sort(lines.begin(), lines.end());
        return lines;
    }

    test::Scratch scratch_;
};

TEST_F(FileWalk, AgreesWithFind)
{
    for (const char* name : {"a/b/c/deep.txt", ".hid/.f", "bad\xFF/x", "a/\xC3\xA4.txt", " /y"})
        scratch_.file(name, name);
    scratch_.folder("empty");
    fs::create_symlink(scratch_ / "a", scratch_ / "link");
    fs::create_symlink(std::string(700, 'n'), scratch_ / "dangling");
    ASSERT_EQ(mkfifo((scratch_ / "fifo").c_str(), 0600), 0);
    ASSERT_EQ(chmod((scratch_ / "a/b").c_str(), 01755), 0);
    const test::Held before = test::Held::now();
    const struct
    {
        MIROVAN_WALK walk;
        const char* find;
    } cases[] = {
        {options(0), ""},
        {options(MIROVAN_WALK_STATUS), ""},
        {options(MIROVAN_WALK_FOLDERS_LAST), "-depth"},
        {options(MIROVAN_WALK_FOLDERS_LAST | MIROVAN_WALK_STATUS, 2), "-depth -maxdepth 2"},
        {options(MIROVAN_WALK_SAME_VOLUME, 1), "-xdev -maxdepth 1"},
        {options(MIROVAN_WALK_STATUS, 0, "*.txt"), "-name '*.txt'"},
        {options(MIROVAN_WALK_FOLDERS_LAST, 0, "[ab]"), "-name '[ab]'"}};
    for (const std::string end : {"", "/"})
        for (const auto& [walk_options, find_options] : cases)
            EXPECT_EQ(sorted(walk(scratch_.path() + end, walk_options)),
                      sorted(find(scratch_.path() + end, find_options,
                                  (walk_options.nFlags & MIROVAN_WALK_STATUS) != 0)))
                << find_options;
    // Reading a folder may change its access time, so that a file's stands for all.
    const timespec times[] = {{111, 222}, {333, 444}};
    ASSERT_EQ(utimensat(AT_FDCWD, (scratch_ / "a/b/c/deep.txt").c_str(), times, 0), 0);
    walk(scratch_ / "a/b/c", options(MIROVAN_WALK_STATUS),
         [](const MIROVAN_WALK_ENTRY& entry)
         {
             EXPECT_EQ(entry.nAccessTime, 111'000'000'222);
             EXPECT_EQ(entry.nModifyTime, 333'000'000'444);
             return MIROVAN_WALK_CONTINUE;
         });
    // The order of folders and what is in them: find's own.
    EXPECT_EQ(walk(scratch_.path(), options(0)), find(scratch_.path(), "", false));
    EXPECT_EQ(walk(scratch_.path(), options(MIROVAN_WALK_FOLDERS_LAST)),
              find(scratch_.path(), "-depth", false));
    EXPECT_EQ(walk(scratch_ / "link", options(0)).size(), 4U);
    EXPECT_EQ(test::Held::now(), before);
}

TEST_F(FileWalk, IsSteeredByItsCallback)
{
    for (const char* name : {"a/in/deep", "b/x", "c"})
        scratch_.file(name);
    const auto skip_a = [](const MIROVAN_WALK_ENTRY& entry)
    {
        // Its own operations leave the walk's result alone.
        Mirovan_File_GetFileAttrA("/nonexistent-mirovan", nullptr);
        return std::string{entry.lpszName} == "a" ? MIROVAN_WALK_SKIP : MIROVAN_WALK_CONTINUE;
    };
    EXPECT_EQ(sorted(walk(scratch_.path(), options(0), skip_a)),
              sorted(find(scratch_.path(), "! -path '*/a/*'", false)));
    for (const uint32_t flags : {0U, 4U})
        for (std::size_t most = 1; most < 5; ++most)
        {
            std::size_t count = 0;
            EXPECT_EQ(walk(scratch_.path(), options(flags),
                           [&](const MIROVAN_WALK_ENTRY&)
                           { return ++count == most ? MIROVAN_WALK_STOP : MIROVAN_WALK_CONTINUE; })
                          .size(),
                      most);
        }
    // What goes while the walk is under way is reported as gone.
    const std::string root = scratch_.folder("vanishing");
    for (const char* name : {"1", "2", "3"})
        scratch_.file("vanishing/" + std::string{name});
    std::size_t gone = 0;
    walk(root, options(MIROVAN_WALK_STATUS),
         [&](const MIROVAN_WALK_ENTRY& entry)
         {
             fs::remove_all(root);
             gone += entry.nErrno == ENOENT && entry.nKnown == 0;
             return MIROVAN_WALK_CONTINUE;
         });
    EXPECT_EQ(gone, 2U);
}

TEST_F(FileWalk, ReportsWhatCannotBeRead)
{
    for (const char* name : {"closed/lost", "open/file"})
        scratch_.file(name);
    const std::string closed = scratch_ / "closed";
    ASSERT_EQ(chmod(closed.c_str(), 0), 0);
    test::as_ordinary_user(
        [&]
        {
            const std::string line = "1 d " + closed + " closed errno " + std::to_string(EACCES);
            for (const uint32_t flags : {0U, 4U})
            {
                const Lines lines = walk(scratch_.path(), options(flags, 0, "none"));
                EXPECT_EQ(lines, Lines{line});
                EXPECT_EQ(walk(scratch_.path(), options(flags)).size(), 3U);
            }
            EXPECT_FAILS(Mirovan_File_Walk(closed.c_str(), nullptr, take_none, nullptr),
                         ERROR_MIROVAN_FILE_WALK_FAILED, EACCES);
        });
}

TEST_F(FileWalk, HasNoLimitOfDepthOrLength)
{
    test::make_deep(scratch_.path(), "level", 10'000);
    test::in_child(
        [&]
        {
            test::in_a_narrow_place(
                [&]
                {
                    std::size_t longest = 0;
                    for (const uint32_t flags : {0U, 4U})
                        walk(scratch_.path(), options(flags),
                             [&](const MIROVAN_WALK_ENTRY& entry)
                             {
                                 longest = std::max(longest, std::strlen(entry.lpszPath));
                                 return MIROVAN_WALK_CONTINUE;
                             });
                    EXPECT_EQ(longest, scratch_.path().size() + 10'000 * 6);
                    std::string start = scratch_.path();
                    for (int level = 0; level < 9'990; ++level)
                        start += "/level";
                    EXPECT_GE(walk(start, options(0)).size(), 10U);
                });
        });
}

TEST_F(FileWalk, StaysOnItsVolume)
{
    const std::string inside = scratch_.folder("inside");
    test::in_child(
        [&]
        {
            test::enter_namespaces();
            ASSERT_EQ(mount("none", inside.c_str(), "tmpfs", 0, nullptr), 0);
            fs::create_directory(inside + "/hidden");
            EXPECT_EQ(walk(scratch_.path(), options(0)).size(), 2U);
            EXPECT_EQ(walk(scratch_.path(), options(MIROVAN_WALK_SAME_VOLUME)).size(), 1U);
        });
}

TEST_F(FileWalk, Failures)
{
    const MIROVAN_WALK small = {sizeof(MIROVAN_WALK) - 1, 0, 0, 0, nullptr};
    const MIROVAN_WALK unknown = options(8);
    const MIROVAN_WALK negative = options(0, -1);
    constexpr auto refused = ERROR_MIROVAN_FILE_WALK_PARAMETER;
    EXPECT_FAILS(Mirovan_File_Walk(nullptr, nullptr, take_none, nullptr), refused, EINVAL);
    EXPECT_FAILS(Mirovan_File_Walk("/", nullptr, nullptr, nullptr), refused, EINVAL);
    for (const MIROVAN_WALK* walk : {&small, &unknown, &negative})
        EXPECT_FAILS(Mirovan_File_Walk("/", walk, take_none, nullptr), refused, EINVAL);
    for (const auto& [path, reason] : {std::pair{std::string{}, ENOENT},
                                       {scratch_ / "none", ENOENT},
                                       {scratch_.file("file"), ENOTDIR},
                                       {std::string(5000, 'n'), ENAMETOOLONG}})
        EXPECT_FAILS(Mirovan_File_Walk(path.c_str(), nullptr, take_none, nullptr),
                     ERROR_MIROVAN_FILE_WALK_FAILED, reason);
}

} // namespace
