#include "tests/support/meanwhile.h"
#include "tests/support/narrow_place.h"
#include "tests/support/support.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <iomanip>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using test::widened;
using Lines = std::vector<std::string>;

std::string narrowed(const std::wstring& text)
{
    return fs::path{std::u32string{text.begin(), text.end()}}.string();
}

Lines sorted(Lines lines)
{
    std::sort(lines.begin(), lines.end());
    return lines;
}

/// What find prints, in the order of the folders; each path or line by itself.
Lines find(const std::string& options, char end = '\0')
{
    std::istringstream output{test::shell_output("find " + options)};
    Lines lines;
    for (std::string line; std::getline(output, line, end);)
        lines.push_back(line);
    return lines;
}

/// The enumeration into a list and into an array, in both string forms.
class Enumeration : public test::InBothForms
{
protected:
    /// What the list form appends; its exceptions pass.
    static Lines list(const std::string& path, bool recurse, int type, const char* filter = nullptr)
    {
        const std::wstring wide_filter = widened(filter != nullptr ? filter : "");
        std::list<std::string> found;
        std::list<std::wstring> wide;
        EXPECT_SUCCEEDS(GetParam() ? m_FileSdk.Mirovan_File_EnumFileW(
                                         widened(path).c_str(), &wide, recurse, type,
                                         filter != nullptr ? wide_filter.c_str() : nullptr)
                                   : m_FileSdk.Mirovan_File_EnumFileA(path.c_str(), &found, recurse,
                                                                      type, filter));
        std::transform(wide.begin(), wide.end(), std::back_inserter(found), narrowed);
        return {found.begin(), found.end()};
    }

    /// What the array form gives, counted first.
    static bool rows(const std::string& path, Lines& paths, bool recurse, int type)
    {
        const auto enumerate = [&](void*** table, int* count)
        {
            return GetParam()
                       ? Mirovan_File_EnumFileW(widened(path).c_str(),
                                                reinterpret_cast<wchar_t***>(table), count, recurse,
                                                type)
                       : Mirovan_File_EnumFileA(path.c_str(), reinterpret_cast<char***>(table),
                                                count, recurse, type);
        };
        int count = -1;
        const bool counted = enumerate(nullptr, &count);
        void* untouched = nullptr;
        void** table = &untouched;
        EXPECT_EQ(enumerate(&table, nullptr), counted);
        EXPECT_EQ(table == &untouched, count == -1) << "both are written, or none is";
        paths.clear();
        for (int row = 0; row < count; ++row)
            paths.push_back(GetParam() ? narrowed(static_cast<wchar_t*>(table[row]))
                                       : static_cast<char*>(table[row]));
        if (counted)
        {
            EXPECT_EQ(table[count], nullptr);
            Fundix_Memory_Free(&table, count);
        }
        return enumerate(nullptr, nullptr);
    }

    void plant_tree() const
    {
        for (const std::string name : {"a/b/c/deep.txt", "a/$RECYCLE.BIN/x", "$Recycle.Bin/y",
                                       "new\nline/ \t.TXT", "-x", "System Volume Information/z",
                                       "\xC3\xA4\xF0\x9F\x8E\x89/\xE2\x82\xAC.tXt", ".hid/.f"})
            scratch_.file("tree/" + name, "x");
        for (int i = 0; i < 300; ++i)
            scratch_.file("tree/many/" + std::to_string(i) + (i % 3 != 0 ? ".txt" : ""));
        scratch_.folder("tree/empty");
        fs::create_symlink("../a", "tree/many/to-a.txt");
        fs::create_symlink("loop", "tree/loop");
        ASSERT_EQ(mkfifo("tree/fifo", 0600), 0);
    }
};
IN_BOTH_FORMS(Enumeration);

TEST_P(Enumeration, AgreesWithFind)
{
    plant_tree();
    const std::string pruned = R"(tree -mindepth 1 \( -name '$RECYCLE.BIN' -o )"
                               R"(-name 'System Volume Information' \) -prune -o )";
    const std::string kinds[] = {"", "! -type d -print0", "-type d -print0", "-print0"};
    Lines table;
    for (const int type : {1, 2, 3})
    {
        const Lines tree = list("tree", true, type);
        EXPECT_EQ(tree, find(pruned + kinds[type])) << type;
        EXPECT_SUCCEEDS(rows("tree", table, true, type));
        EXPECT_EQ(table, tree);
        const Lines level = list("tree/", false, type);
        EXPECT_EQ(level, find("tree/ -mindepth 1 -maxdepth 1 " + kinds[type]));
        EXPECT_SUCCEEDS(rows("tree", table, false, type));
        EXPECT_EQ(table, level);
    }
    EXPECT_EQ(list("tree", true, 1, "TxT"), find(pruned + "! -type d -iname '*.txt*' -print0"));
    for (const int type : {0, 4, -1, -2})
        EXPECT_TRUE(list("tree", true, type).empty()) << type;
}

TEST_P(Enumeration, FilterIsTheStartOfTheExtension)
{
    for (const std::string name : {"a.txt", "B.TXT", "c.txt2", "d.tar.gz", "e.", "README", ".txt",
                                   "..t", "d.text", "\xC3\xA4.\xC3\xA4"})
        scratch_.file("f/" + name);
    scratch_.folder("f/folder.doc");
    const std::pair<const char*, Lines> cases[] = {
        {"TXT", {"f/B.TXT", "f/a.txt", "f/c.txt2"}},
        {"t", {"f/..t", "f/B.TXT", "f/a.txt", "f/c.txt2", "f/d.text"}},
        {"gz", {"f/d.tar.gz"}},
        {"tar", {}},
        {".txt", {}},
        {"\xC3\xA4", {"f/\xC3\xA4.\xC3\xA4"}}};
    for (const bool recurse : {false, true})
    {
        for (const auto& [filter, paths] : cases)
            EXPECT_EQ(sorted(list("f", recurse, 1, filter)), paths) << filter;
        EXPECT_EQ(list("f", recurse, 1, "").size(), 10U);
        EXPECT_EQ(list("f", recurse, 3, "gz").size(), 2U);
    }
}

TEST_P(Enumeration, StartsWithThePathAsGiven)
{
    scratch_.file("folder/x.txt");
    fs::create_symlink("folder", "link");
    for (const std::string& start : Lines{"folder", "./folder", "folder/", "folder//", "link",
                                          "link/", "folder/../folder/.", scratch_ / "folder"})
        EXPECT_EQ(list(start, true, 1), Lines{start + (start.ends_with('/') ? "" : "/") + "x.txt"});
}

TEST_P(Enumeration, PatternsOfTheArrayForm)
{
    for (const char* name :
         {"top.txt", "f/a.txt", "f/b.Txt", "f/c.doc", "f/*", "f/sub/d.txt", "g*/e", "g/h"})
        scratch_.file(name);
    constexpr auto none = ERROR_MIROVAN_FILE_ENUM_NOTDIR;
    constexpr auto empty = ERROR_MIROVAN_FILE_ENUM_EMPTY;
    const bool is_wide = GetParam();
    const Lines texts = {"f/a.txt", "f/b.Txt"};
    const Lines all = is_wide ? Lines{} : Lines{"f/*", "f/a.txt", "f/b.Txt", "f/c.doc", "f/sub"};
    const uint64_t none_if_wide = is_wide ? uint64_t{none} : 0;
    const struct
    {
        std::string pattern;
        int type;
        Lines paths;
        uint64_t code;
    } cases[] = {{"f/*.TXT", 1, texts, 0},
                 {"f/.TXT", 1, texts, 0},
                 {"f//missing.tx", 1, texts, 0},
                 {"f/missing.tx", 3, {"f/a.txt", "f/b.Txt", "f/sub"}, 0},
                 {"missing.tx", 1, {"./top.txt"}, 0},
                 {"/missing.tx", 1, {}, empty},
                 {"f/*.none", 1, {}, empty},
                 {"f/a.txt", 1, {}, none},
                 {"f/none", 1, {}, none},
                 {"none/*.txt", 1, {}, none},
                 {"f/x*", 3, {}, none},
                 {"f*", 3, all, none_if_wide},
                 {"f/*.", 3, {}, none},
                 // An existing file of that name is no folder; the narrow form sees the star first.
                 {"f/*", 3, all, none_if_wide},
                 {"g*", 1, {is_wide ? "g*/e" : "g/h"}, 0},
                 {"f/*." + std::string(63, 'e'), 1, {}, empty},
                 {"f/*." + std::string(64, 'e'), 1, {}, none},
                 {"f/" + std::string(255, 'n') + ".txt", 1, texts, 0},
                 {"f/" + std::string(256, 'n') + ".txt", 1, {}, none},
                 {std::string(1020, 'n') + ".txt", 1, {}, none},
                 {"", 3, {}, none}};
    for (const auto& [pattern, type, expected, code] : cases)
    {
        Lines paths;
        EXPECT_FAILS(Mirovan_File_GetFileAttrA(nullptr, nullptr),
                     ERROR_MIROVAN_FILE_ATTR_PARAMETER);
        const bool result = rows(pattern, paths, false, type);
        // That the path was not found as given is seen afterwards.
        EXPECT_TRUE(!result || access(pattern.c_str(), F_OK) == 0 ||
                    Mirovan_GetLastError(nullptr) == ERROR_MIROVAN_FILE_ATTR_NOTFOUND)
            << pattern;
        EXPECT_TRUE(code == 0 ? test::succeeded(result) : test::failed_with(result, code))
            << pattern;
        EXPECT_EQ(sorted(paths), expected) << pattern;
    }
    Lines paths;
    EXPECT_FAILS(rows(scratch_.folder("empty"), paths, true, 3), empty, ENOENT);
}

TEST_P(Enumeration, FoldersOfAnotherUser)
{
    for (const char* name :
         {"t/all/in.txt", "t/unsearchable/lost", "t/unsearchable/sub/x", "t/closed/lost"})
        scratch_.file(name);
    ASSERT_EQ(chmod("t/unsearchable", 0444), 0);
    ASSERT_EQ(chmod("t/closed", 0), 0);
    test::as_ordinary_user(
        [&]
        {
            EXPECT_EQ(sorted(list("t", true, 3)),
                      (Lines{"t/all", "t/all/in.txt", "t/closed", "t/unsearchable"}));
            EXPECT_TRUE(list("t/unsearchable", false, 3).empty());
            EXPECT_TRUE(list("t/closed", true, 3).empty());
            Lines paths;
            EXPECT_FAILS(rows("t/closed", paths, true, 3), ERROR_MIROVAN_FILE_ENUM_EMPTY, EACCES);
            EXPECT_THROW(list("t/unsearchable/sub", true, 3), fs::filesystem_error);
            EXPECT_FALSE(Mirovan_IsErrorOccur);
            EXPECT_FAILS(rows("t/unsearchable/sub", paths, true, 3), ERROR_MIROVAN_FILE_ENUM_NOTDIR,
                         EACCES);
        });
}

TEST_P(Enumeration, ThrowsAsTheStandardLibraryDoes)
{
    fs::create_symlink("loop", "loop");
    test::in_child(
        [&]
        {
            for (const auto& [path, reason] : {std::pair{std::string{"loop"}, ELOOP},
                                               {std::string(300, 'n'), ENAMETOOLONG},
                                               {std::string(1024, '/'), ENAMETOOLONG},
                                               {"/", EMFILE}})
            {
                // For this row alone: UBSan needs a descriptor to check the first exception.
                const rlimit none{3, 3};
                ASSERT_TRUE(reason != EMFILE || setrlimit(RLIMIT_NOFILE, &none) == 0);
                Lines paths;
                EXPECT_FAILS(rows(path, paths, true, 3), ERROR_MIROVAN_FILE_ENUM_NOTDIR, reason);
                EXPECT_THROW(list(path, true, 3), fs::filesystem_error) << path;
            }
        });
}

TEST_P(Enumeration, DownToThePathLimit)
{
    test::make_deep(scratch_.folder("top"), "d", 600);
    test::in_a_narrow_place(
        [&]
        {
            EXPECT_EQ(list("top", true, 2).size(), (1023U - 3) / 2);
            EXPECT_EQ(list("top", true, 1).size(), 6U);
        });
    scratch_.file("limit/123456");
    scratch_.file("limit/1234567");
    const std::string start = "limit" + std::string(1023 - 5 - 6, '/');
    EXPECT_EQ(list(start, true, 1), Lines{start + "123456"});
}

TEST_P(Enumeration, OfAFolderThatChanges)
{
    scratch_.file("stays/file");
    const test::Meanwhile other{[]
                                {
                                    mkdir("stays/comes", 0755);
                                    rmdir("stays/comes");
                                }};
    for (int round = 0; round < 1000; ++round)
        EXPECT_EQ(list(".", true, 1), Lines{"./stays/file"});
}

TEST(EnumerationOfInvalidText, EndsOrGoesThrough)
{
    const test::Scratch scratch;
    const std::string path = scratch.file("folder/bad\xFF.txt");
    const std::string folder = scratch / "folder";
    const std::wstring wide_folder = widened(folder);
    std::list<std::string> names;
    std::list<std::wstring> wide_names;
    const auto narrow =
        [&](const std::string& start, bool recurse, int type, const char* filter = nullptr)
    { return m_FileSdk.Mirovan_File_EnumFileA(start.c_str(), &names, recurse, type, filter); };
    const auto wide =
        [&](const std::wstring& start, bool recurse, int type, const wchar_t* filter = nullptr)
    { return m_FileSdk.Mirovan_File_EnumFileW(start.c_str(), &wide_names, recurse, type, filter); };
    EXPECT_SUCCEEDS(narrow(folder, false, 1, "t"));
    EXPECT_EQ(names, std::list<std::string>{path});
    EXPECT_SUCCEEDS(narrow(folder, true, 2));
    EXPECT_THROW(narrow(scratch.path(), true, 3, "none"), std::system_error);
    EXPECT_EQ(names, (std::list<std::string>{path, folder})) << "what was appended stays";
    EXPECT_FALSE(Mirovan_IsErrorOccur);
    EXPECT_SUCCEEDS(wide(wide_folder, true, 1, L"none"));
    EXPECT_THROW(wide(wide_folder, false, 1), std::system_error);
    EXPECT_THROW(wide(L"/\xD800", true, 1), std::system_error);
    fs::create_directory(folder + "/\xFE");
    EXPECT_THROW(wide(wide_folder, true, 0), std::system_error);
    int count = -1;
    constexpr auto failed = ERROR_MIROVAN_FILE_ENUM_NOTDIR;
    EXPECT_FAILS(Mirovan_File_EnumFileA(folder.c_str(), nullptr, &count, true, 1), failed, EILSEQ);
    EXPECT_FAILS(Mirovan_File_EnumFileW(wide_folder.c_str(), nullptr, &count, true, 1), failed,
                 EILSEQ);

    constexpr auto refused = ERROR_MIROVAN_FILE_ENUM_PARAMETER;
    std::list<std::wstring>* none = nullptr;
    EXPECT_FAILS(m_FileSdk.Mirovan_File_EnumFileA(nullptr, &names, true, 3, nullptr), refused);
    EXPECT_FAILS(m_FileSdk.Mirovan_File_EnumFileW(L"/", none, true, 3, nullptr), refused, EINVAL);
    EXPECT_FAILS(Mirovan_File_EnumFileW(nullptr, nullptr, &count, true, 3), refused, EINVAL);
    EXPECT_FAILS(Mirovan_File_EnumFileA(nullptr, nullptr, &count, true, 3),
                 ERROR_MIROVAN_FILE_ATTR_PARAMETER, EINVAL);
    EXPECT_EQ(count, -1);
}

using Answer = std::function<int(const MIROVAN_WALK_ENTRY&)>;

/// An entry as find -printf prints it with the format below.
constexpr const char* short_format = "%d %y %p %f";
constexpr const char* full_format = " %m %s %b %T@ %C@ %D %i %n %U %G %l";
std::string line_of(const MIROVAN_WALK_ENTRY& entry)
{
    constexpr char kinds[] = "?fdlo";
    const auto time = [](int64_t value)
    {
        const std::string digits = std::to_string(value % 1'000'000'000 + 1'000'000'000);
        return std::to_string(value / 1'000'000'000) + '.' + digits.substr(1) + '0';
    };
    std::ostringstream line;
    line << entry.nDepth << ' ' << kinds[entry.nKind] << ' ' << entry.lpszPath << ' '
         << entry.lpszName;
    if ((entry.nKnown & MIROVAN_WALK_KNOWN_STATUS) != 0)
        line << ' ' << std::oct << entry.nPermissions << std::dec << ' ' << entry.nFileSize << ' '
             << entry.nAllocatedSize / 512 << ' ' << time(entry.nModifyTime) << ' '
             << time(entry.nStatusTime) << ' ' << entry.nDevice << ' ' << entry.nInode << ' '
             << entry.nLinkCount << ' ' << entry.nUserId << ' ' << entry.nGroupId << ' '
             << (entry.lpszLinkTarget != nullptr ? entry.lpszLinkTarget : "");
    if (entry.nErrno != 0)
        line << " errno " << entry.nErrno;
    return line.str();
}

/// What a walk reports; options without a size are not passed at all.
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
    EXPECT_SUCCEEDS(
        Mirovan_File_Walk(path.c_str(), options.nSize != 0 ? &options : nullptr, take, &context));
    return context.lines;
}

MIROVAN_WALK options(uint32_t flags, int32_t depth = 0, const char* pattern = nullptr)
{
    return {sizeof(MIROVAN_WALK), flags, depth, 0, pattern};
}

int take_none(const MIROVAN_WALK_ENTRY* /*entry*/, void* /*context*/)
{
    ADD_FAILURE() << "was called";
    return MIROVAN_WALK_STOP;
}

TEST(FileWalk, AgreesWithFind)
{
    const test::Scratch scratch;
    for (const char* name : {"a/b/c/deep.txt", ".hid/.f", "bad\xFF/x", "a/\xC3\xA4.txt", " /y"})
        scratch.file(name, name);
    scratch.folder("empty");
    fs::create_symlink(scratch / "a", scratch / "link");
    fs::create_symlink(std::string(700, 'n'), scratch / "dangling");
    ASSERT_EQ(mkfifo((scratch / "fifo").c_str(), 0600), 0);
    ASSERT_EQ(chmod((scratch / "a/b").c_str(), 01755), 0);
    const auto found = [](const std::string& path, const std::string& tests, bool status)
    {
        return find("'" + path + "' -mindepth 1 " + tests + " -printf '" + short_format +
                        (status ? full_format : "") + R"(\n' | sed -E 's/^([0-9]+) [pscb]/\1 o/')",
                    '\n');
    };
    const std::pair<MIROVAN_WALK, const char*> cases[] = {
        {{}, ""},
        {options(0), ""},
        {options(MIROVAN_WALK_STATUS), ""},
        {options(MIROVAN_WALK_FOLDERS_LAST), "-depth"},
        {options(MIROVAN_WALK_FOLDERS_LAST | MIROVAN_WALK_STATUS, 2), "-depth -maxdepth 2"},
        {options(MIROVAN_WALK_SAME_VOLUME, 2), "-xdev -maxdepth 2"},
        {options(MIROVAN_WALK_STATUS, 0, "*.txt"), "-name '*.txt'"},
        {options(MIROVAN_WALK_FOLDERS_LAST, 0, "[ab]"), "-depth -name '[ab]'"}};
    for (const std::string end : {"", "/"})
        for (const auto& [walk_options, tests] : cases)
            EXPECT_EQ(walk(scratch.path() + end, walk_options),
                      found(scratch.path() + end, tests,
                            (walk_options.nFlags & MIROVAN_WALK_STATUS) != 0))
                << tests;
    // Reading a folder may change its access time, so that a file's stands for all.
    const timespec times[] = {{111, 222}, {333, 444}};
    ASSERT_EQ(utimensat(AT_FDCWD, (scratch / "a/b/c/deep.txt").c_str(), times, 0), 0);
    walk(scratch / "a/b/c", options(MIROVAN_WALK_STATUS),
         [](const MIROVAN_WALK_ENTRY& entry)
         {
             EXPECT_EQ(entry.nAccessTime, 111'000'000'222);
             return MIROVAN_WALK_CONTINUE;
         });
    EXPECT_EQ(walk(scratch / "link", {}).size(), 4U);
}

TEST(FileWalk, IsSteeredByItsCallback)
{
    const test::Scratch scratch;
    for (const char* name : {"a/in/deep", "b/x", "c", "vanishing/1", "vanishing/2", "vanishing/3"})
        scratch.file(name);
    const auto skip = [](const MIROVAN_WALK_ENTRY& entry)
    {
        // Its own operations leave the walk's result alone.
        Mirovan_File_GetFileAttrA("/nonexistent-mirovan", nullptr);
        return entry.nDepth == 1 ? MIROVAN_WALK_SKIP : MIROVAN_WALK_CONTINUE;
    };
    EXPECT_EQ(walk(scratch.path(), {}, skip), walk(scratch.path(), options(0, 1)));
    for (const uint32_t flags : {0U, 4U})
        for (std::size_t most = 1; most < 5; ++most)
        {
            std::size_t count = 0;
            const auto stop = [&](const MIROVAN_WALK_ENTRY&)
            { return ++count == most ? MIROVAN_WALK_STOP : MIROVAN_WALK_CONTINUE; };
            EXPECT_EQ(walk(scratch.path(), options(flags), stop).size(), most);
        }
    // What goes while the walk is under way is reported as gone.
    std::size_t gone = 0;
    walk(scratch / "vanishing", options(MIROVAN_WALK_STATUS),
         [&](const MIROVAN_WALK_ENTRY& entry)
         {
             fs::remove_all(scratch / "vanishing");
             gone += entry.nErrno == ENOENT && entry.nKnown == 0;
             return MIROVAN_WALK_CONTINUE;
         });
    EXPECT_EQ(gone, 2U);
}

TEST(FileWalk, ReportsWhatCannotBeRead)
{
    const test::Scratch scratch;
    scratch.file("open/file");
    const std::string closed = scratch.folder("closed");
    ASSERT_EQ(chmod(closed.c_str(), 0), 0);
    test::as_ordinary_user(
        [&]
        {
            const std::string line = "1 d " + closed + " closed errno " + std::to_string(EACCES);
            for (const uint32_t flags : {0U, 4U})
            {
                EXPECT_EQ(walk(scratch.path(), options(flags, 0, "none")), Lines{line});
                EXPECT_EQ(walk(scratch.path(), options(flags)).size(), 3U);
            }
            EXPECT_FAILS(Mirovan_File_Walk(closed.c_str(), nullptr, take_none, nullptr),
                         ERROR_MIROVAN_FILE_WALK_FAILED, EACCES);
        });
}

TEST(FileWalk, HasNoLimitOfDepthOrLength)
{
    const test::Scratch scratch;
    constexpr int levels = 3'000;
    test::make_deep(scratch.path(), "level", levels);
    test::in_a_narrow_place(
        [&]
        {
            for (const uint32_t flags : {0U, 4U})
            {
                std::size_t longest = 0;
                walk(scratch.path(), options(flags),
                     [&](const MIROVAN_WALK_ENTRY& entry)
                     {
                         longest = std::max(longest, std::strlen(entry.lpszPath));
                         return MIROVAN_WALK_CONTINUE;
                     });
                EXPECT_EQ(longest, scratch.path().size() + levels * 6);
            }
            std::string start = scratch.path();
            for (int level = 0; level < levels - 10; ++level)
                start += "/level";
            EXPECT_EQ(walk(start, {}).size(), 10U);
        });
}

TEST(FileWalk, StaysOnItsVolume)
{
    const test::Scratch scratch;
    const std::string inside = scratch.folder("inside");
    test::in_child(
        [&]
        {
            test::enter_namespaces();
            ASSERT_EQ(mount("none", inside.c_str(), "tmpfs", 0, nullptr), 0);
            fs::create_directory(inside + "/hidden");
            EXPECT_EQ(walk(scratch.path(), options(0)).size(), 2U);
            EXPECT_EQ(walk(scratch.path(), options(MIROVAN_WALK_SAME_VOLUME)).size(), 1U);
        });
}

TEST(FileWalk, Failures)
{
    const test::Scratch scratch;
    const MIROVAN_WALK small = {sizeof(MIROVAN_WALK) - 1, 0, 0, 0, nullptr};
    const MIROVAN_WALK unknown = options(8);
    const MIROVAN_WALK negative = options(0, -1);
    constexpr auto refused = ERROR_MIROVAN_FILE_WALK_PARAMETER;
    EXPECT_FAILS(Mirovan_File_Walk(nullptr, nullptr, take_none, nullptr), refused, EINVAL);
    EXPECT_FAILS(Mirovan_File_Walk("/", nullptr, nullptr, nullptr), refused, EINVAL);
    for (const MIROVAN_WALK* walk : {&small, &unknown, &negative})
        EXPECT_FAILS(Mirovan_File_Walk("/", walk, take_none, nullptr), refused, EINVAL);
    for (const auto& [path, reason] : {std::pair{std::string{}, ENOENT},
                                       {scratch / "none", ENOENT},
                                       {scratch.file("file"), ENOTDIR},
                                       {std::string(5000, 'n'), ENAMETOOLONG}})
        EXPECT_FAILS(Mirovan_File_Walk(path.c_str(), nullptr, take_none, nullptr),
                     ERROR_MIROVAN_FILE_WALK_FAILED, reason);
}

} // namespace
