#include "tests/support/meanwhile.h"
#include "tests/support/narrow_place.h"
#include "tests/support/support.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace
{

namespace fs = std::filesystem;
using test::widened;
using Paths = std::vector<std::wstring>;

/// Both forms; paths are compared wide.
class Enumeration : public testing::TestWithParam<bool>
{
protected:
    static std::wstring wide(const std::string& path) { return widened(path); }
    static std::wstring wide(const std::wstring& path) { return path; }

    /// What the list form appends; its exceptions pass.
    static Paths list(const std::string& path, bool recurse, int type, const char* filter = nullptr)
    {
        const std::wstring wide_filter = widened(filter != nullptr ? filter : "");
        std::list<std::wstring> found;
        std::list<std::string> narrow;
        EXPECT_SUCCEEDS(GetParam() ? m_FileSdk.Mirovan_File_EnumFileW(
                                         widened(path).c_str(), &found, recurse, type,
                                         filter != nullptr ? wide_filter.c_str() : nullptr)
                                   : m_FileSdk.Mirovan_File_EnumFileA(path.c_str(), &narrow,
                                                                      recurse, type, filter));
        std::transform(narrow.begin(), narrow.end(), std::back_inserter(found), widened);
        return {found.begin(), found.end()};
    }

    template <class Char, class Enumerate>
    static bool rows_of(const Char* path, Paths& paths, bool recurse, int type, Enumerate enumerate)
    {
        int count = -1;
        const bool counted = enumerate(path, nullptr, &count, recurse, type);
        Char** const untouched = reinterpret_cast<Char**>(1);
        Char** table = untouched;
        const bool result = enumerate(path, &table, nullptr, recurse, type);
        EXPECT_EQ(counted, result);
        EXPECT_EQ(table == untouched, count == -1) << "both are written, or none is";
        for (int row = 0; row < count; ++row)
            paths.push_back(wide(table[row]));
        if (result)
            Fundix_Memory_Free(reinterpret_cast<void***>(&table), count);
        return enumerate(path, nullptr, nullptr, recurse, type);
    }

    /// What the array form gives, counted first.
    static bool rows(const std::string& path, Paths& paths, bool recurse, int type)
    {
        paths.clear();
        return GetParam()
                   ? rows_of(widened(path).c_str(), paths, recurse, type, Mirovan_File_EnumFileW)
                   : rows_of(path.c_str(), paths, recurse, type, Mirovan_File_EnumFileA);
    }

    static Paths sorted(Paths paths)
    {
        std::sort(paths.begin(), paths.end());
        return paths;
    }

    /// The names below the scratch folder, as sorted paths.
    Paths below(const std::vector<std::string>& names) const
    {
        Paths paths;
        for (const auto& name : names)
            paths.push_back(widened(scratch_ / name));
        return sorted(paths);
    }

    /// What find prints, except below the folders that a walk leaves out.
    static Paths found(const std::string& options)
    {
        std::istringstream output{test::shell_output("find " + options + " -print0")};
        Paths paths;
        for (std::string path; std::getline(output, path, '\0');)
            paths.push_back(widened(path));
        return paths;
    }

    void make_tree() const
    {
        for (const char* name : {"a/b/c/deep.txt", "a/$RECYCLE.BIN/x", "$Recycle.Bin/y",
                                 "new\nline/ \t.TXT", "-x", "System Volume Information/z",
                                 "\xC3\xA4\xF0\x9F\x8E\x89/\xE2\x82\xAC.tXt", ".hid/.f"})
            scratch_.file(name, "x");
        for (int i = 0; i < 300; ++i)
            scratch_.file("many/" + std::to_string(i) + (i % 3 != 0 ? ".txt" : ""));
        scratch_.folder("empty");
        fs::create_symlink(scratch_ / "a", scratch_ / "many/to-a.txt");
        fs::create_symlink("loop", scratch_ / "loop");
        ASSERT_EQ(mkfifo((scratch_ / "fifo").c_str(), 0600), 0);
    }

    test::Scratch scratch_;
};

TEST_P(Enumeration, AgreesWithFind)
{
    make_tree();
    const test::Held before = test::Held::now();
    const std::string pruned =
        R"(\( -name '$RECYCLE.BIN' -o -name 'System Volume Information' \) -prune -o )";
    const char* const kinds[] = {"", "! -type d", "-type d", ""};
    const std::string start = "'" + scratch_.path() + "' -mindepth 1 ";
    for (const int type : {1, 2, 3})
    {
        const Paths tree = list(scratch_.path(), true, type);
        EXPECT_EQ(sorted(tree), sorted(found(start + pruned + kinds[type]))) << type;
        const Paths level = list(scratch_.path(), false, type);
        EXPECT_EQ(sorted(level), sorted(found(start + "-maxdepth 1 " + kinds[type]))) << type;
        Paths table;
        EXPECT_SUCCEEDS(rows(scratch_.path(), table, true, type));
        EXPECT_EQ(table, tree);
        EXPECT_SUCCEEDS(rows(scratch_.path() + "/", table, false, type));
        EXPECT_EQ(table, level);
    }
    EXPECT_EQ(sorted(list(scratch_.path(), true, 1, "TxT")),
              sorted(found(start + pruned + "! -type d -iname '*.txt*'")));
    for (const int type : {0, 4, -1, -2})
        EXPECT_TRUE(list(scratch_.path(), true, type).empty()) << type;
    EXPECT_EQ(test::Held::now(), before);
}

TEST_P(Enumeration, KeepsTheOrderOfTheFolders)
{
    make_tree();
    Paths expected;
    for (const auto& entry : fs::directory_iterator{scratch_.path()})
        expected.push_back(widened(entry.path()));
    EXPECT_EQ(list(scratch_.path(), false, 3), expected);

    // What is in a folder follows the folder, before anything that is not in it.
    std::wstring previous = widened(scratch_.path());
    for (const auto& path : list(scratch_.path(), true, 3))
    {
        const std::wstring parent = path.substr(0, path.rfind(L'/'));
        EXPECT_TRUE(previous == parent ||
                    previous.compare(0, parent.size() + 1, parent + L'/') == 0)
            << testing::PrintToString(path);
        previous = path;
    }
}

TEST_P(Enumeration, FilterIsTheStartOfTheExtension)
{
    for (const char* name : {"a.txt", "B.TXT", "c.txt2", "d.tar.gz", "e.", "README", ".txt", "..t",
                             "d.text", "\xC3\xA4.\xC3\xA4"})
        scratch_.file(name);
    scratch_.folder("folder.doc");
    const struct
    {
        const char* filter;
        std::vector<std::string> names;
    } cases[] = {{"TXT", {"a.txt", "B.TXT", "c.txt2"}},
                 {"t", {"a.txt", "B.TXT", "c.txt2", "..t", "d.text"}},
                 {"gz", {"d.tar.gz"}},
                 {"tar", {}},
                 {".txt", {}},
                 {"\xC3\xA4", {"\xC3\xA4.\xC3\xA4"}}};
    for (const bool recurse : {false, true})
    {
        for (const auto& [filter, names] : cases)
            EXPECT_EQ(sorted(list(scratch_.path(), recurse, 1, filter)), below(names)) << filter;
        EXPECT_EQ(list(scratch_.path(), recurse, 1, "").size(), 10U);
        EXPECT_EQ(list(scratch_.path(), recurse, 3, "gz").size(), 2U);
    }
}

TEST_P(Enumeration, StartsWithThePathAsGiven)
{
    scratch_.file("folder/x.txt");
    fs::create_symlink("folder", scratch_ / "link");
    test::in_child(
        [&]
        {
            ASSERT_EQ(chdir(scratch_.path().c_str()), 0);
            for (const std::string start : {"folder", "./folder", "folder/", "folder//", "link",
                                            "link/", "folder/../folder/."})
            {
                const std::string path = start + (start.back() == '/' ? "" : "/") + "x.txt";
                EXPECT_EQ(list(start, true, 1), Paths{widened(path)});
            }
        });
    std::list<std::string> twice{"first"};
    const std::string file = scratch_ / "folder/x.txt";
    for (int i = 0; i < 2; ++i)
        EXPECT_SUCCEEDS(m_FileSdk.Mirovan_File_EnumFileA((scratch_ / "folder").c_str(), &twice,
                                                         false, 3, nullptr));
    EXPECT_EQ(twice, (std::list<std::string>{"first", file, file}));
}

TEST_P(Enumeration, PatternsOfTheArrayForm)
{
    for (const char* name : {"f/a.txt", "f/b.Txt", "f/c.doc", "f/*", "f/sub/d.txt", "g*/e", "g/h"})
        scratch_.file(name);
    constexpr auto failed = ERROR_MIROVAN_FILE_ENUM_NOTDIR;
    const bool is_wide = GetParam();
    const std::vector<std::string> all{"f/a.txt", "f/b.Txt", "f/c.doc", "f/*", "f/sub"};
    const std::vector<std::string> none;
    const struct
    {
        std::string pattern;
        int type;
        std::vector<std::string> names;
        Mirovan_ErrorCode code;
    } cases[] = {{"f/*.TXT", 1, {"f/a.txt", "f/b.Txt"}, {}},
                 {"f/missing.tx", 3, {"f/a.txt", "f/b.Txt", "f/sub"}, {}},
                 {"f/*.none", 1, none, ERROR_MIROVAN_FILE_ENUM_EMPTY},
                 {"f/a.txt", 1, none, failed},
                 {"f/none", 1, none, failed},
                 {"none/*.txt", 1, none, failed},
                 {"f/x*", 3, none, failed},
                 {"f*", 3, is_wide ? none : all, is_wide ? failed : Mirovan_ErrorCode{}},
                 {"f/*.", 3, none, failed},
                 // An existing file of that name is no folder; the narrow form sees the star first.
                 {"f/*", 3, is_wide ? none : all, is_wide ? failed : Mirovan_ErrorCode{}},
                 {"g*", 1, {is_wide ? "g*/e" : "g/h"}, {}},
                 {"f/*." + std::string(64, 'e'), 1, none, failed},
                 {"f/" + std::string(256, 'n') + ".txt", 1, none, failed},
                 {std::string(1020, 'n') + ".txt", 1, none, failed}};
    for (const auto& [pattern, type, names, code] : cases)
    {
        Paths paths;
        EXPECT_FAILS(Mirovan_File_GetFileAttrA(nullptr, nullptr),
                     ERROR_MIROVAN_FILE_ATTR_PARAMETER);
        const bool result = rows(scratch_ / pattern, paths, false, type);
        // That the path was not found as given is seen afterwards.
        EXPECT_TRUE(!result || fs::exists(scratch_ / pattern) ||
                    Mirovan_GetLastError(nullptr) == ERROR_MIROVAN_FILE_ATTR_NOTFOUND)
            << pattern;
        EXPECT_TRUE(code == Mirovan_ErrorCode{} ? test::succeeded(result)
                                                : test::failed_with(result, code))
            << pattern;
        EXPECT_EQ(sorted(paths).size(), names.size()) << pattern;
        EXPECT_EQ(sorted(paths), below(names)) << pattern;
    }
    Paths paths;
    EXPECT_FAILS(rows("", paths, false, 3), failed, ENOENT);
    EXPECT_FAILS(rows(scratch_.folder("empty"), paths, true, 3), ERROR_MIROVAN_FILE_ENUM_EMPTY,
                 ENOENT);
}

TEST_P(Enumeration, FoldersOfAnotherUser)
{
    for (const char* name :
         {"all/in.txt", "unsearchable/lost", "unsearchable/sub/x", "closed/lost"})
        scratch_.file(name);
    ASSERT_EQ(chmod((scratch_ / "unsearchable").c_str(), 0444), 0);
    ASSERT_EQ(chmod((scratch_ / "closed").c_str(), 0), 0);
    test::as_ordinary_user(
        [&]
        {
            EXPECT_EQ(sorted(list(scratch_.path(), true, 3)),
                      below({"all", "all/in.txt", "unsearchable", "closed"}));
            EXPECT_TRUE(list(scratch_ / "unsearchable", false, 3).empty());
            EXPECT_TRUE(list(scratch_ / "closed", true, 3).empty());
            Paths paths;
            EXPECT_FAILS(rows(scratch_ / "closed", paths, true, 3), ERROR_MIROVAN_FILE_ENUM_EMPTY,
                         EACCES);
            EXPECT_THROW(list(scratch_ / "unsearchable/sub", true, 3), fs::filesystem_error);
            EXPECT_FALSE(Mirovan_IsErrorOccur);
            EXPECT_FAILS(rows(scratch_ / "unsearchable/sub", paths, true, 3),
                         ERROR_MIROVAN_FILE_ENUM_NOTDIR, EACCES);
        });
}

TEST_P(Enumeration, ThrowsAsTheStandardLibraryDoes)
{
    fs::create_symlink("loop", scratch_ / "loop");
    const struct
    {
        std::string path;
        int reason;
    } cases[] = {{scratch_ / "loop", ELOOP},
                 {scratch_ / std::string(300, 'n'), ENAMETOOLONG},
                 {scratch_ / (std::string(1023 - scratch_.path().size(), '/')), ENAMETOOLONG}};
    for (const auto& [path, reason] : cases)
    {
        Paths paths;
        EXPECT_FAILS(rows(path, paths, true, 3), ERROR_MIROVAN_FILE_ENUM_NOTDIR, reason) << path;
        EXPECT_THROW(list(path, true, 3), fs::filesystem_error) << path;
    }
    test::in_child(
        [&]
        {
            const rlimit none{3, 3};
            ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
            Paths paths;
            EXPECT_FAILS(rows("/", paths, true, 3), ERROR_MIROVAN_FILE_ENUM_NOTDIR, EMFILE);
            EXPECT_THROW(list("/", false, 3), fs::filesystem_error);
        });
}

TEST_P(Enumeration, DownToThePathLimit)
{
    test::make_deep(scratch_.path(), "d", 600);
    test::in_child(
        [&]
        {
            test::in_a_narrow_place(
                [&]
                {
                    const Paths folders = list(scratch_.path(), true, 2);
                    EXPECT_EQ(folders.size(), (1023 - scratch_.path().size()) / 2);
                    EXPECT_EQ(list(scratch_.path(), true, 1).size(), 5U);
                });
        });
    scratch_.file("limit/123456");
    scratch_.file("limit/1234567");
    const std::string limit = scratch_ / "limit";
    const std::string start = limit + std::string(1023 - limit.size() - 6, '/');
    EXPECT_EQ(list(start, true, 1), Paths{widened(start + "123456")});
}

TEST_P(Enumeration, OfAFolderThatChanges)
{
    scratch_.file("stays/file");
    const test::Meanwhile other{[folder = scratch_ / "stays/comes"]
                                {
                                    mkdir(folder.c_str(), 0755);
                                    rmdir(folder.c_str());
                                }};
    for (int round = 0; round < 3000; ++round)
        EXPECT_EQ(list(scratch_.path(), true, 1).size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Forms, Enumeration, testing::Bool(),
                         [](const auto& form) { return form.param ? "Wide" : "Narrow"; });

TEST(EnumerationOfInvalidText, EndsOrGoesThrough)
{
    const test::Scratch scratch;
    const std::string path = scratch.file("folder/bad\xFF.txt");
    const std::string folder = scratch / "folder";
    const std::wstring wide_folder = widened(folder);
    std::list<std::string> names;
    EXPECT_SUCCEEDS(m_FileSdk.Mirovan_File_EnumFileA(folder.c_str(), &names, false, 1, "t"));
    EXPECT_EQ(names, std::list<std::string>{path});
    EXPECT_SUCCEEDS(m_FileSdk.Mirovan_File_EnumFileA(folder.c_str(), &names, true, 2, nullptr));
    EXPECT_THROW(m_FileSdk.Mirovan_File_EnumFileA(scratch.path().c_str(), &names, true, 3, "none"),
                 std::system_error);
    EXPECT_EQ(names, (std::list<std::string>{path, folder})) << "what was appended stays";
    EXPECT_FALSE(Mirovan_IsErrorOccur);
    std::list<std::wstring> wide;
    EXPECT_THROW(m_FileSdk.Mirovan_File_EnumFileW(wide_folder.c_str(), &wide, false, 1, nullptr),
                 std::system_error);
    EXPECT_SUCCEEDS(m_FileSdk.Mirovan_File_EnumFileW(wide_folder.c_str(), &wide, true, 1, L"none"));
    EXPECT_THROW(m_FileSdk.Mirovan_File_EnumFileW(L"/\xD800", &wide, true, 1, nullptr),
                 std::system_error);
    int count = -1;
    EXPECT_FAILS(Mirovan_File_EnumFileA(folder.c_str(), nullptr, &count, true, 1),
                 ERROR_MIROVAN_FILE_ENUM_NOTDIR, EILSEQ);
    EXPECT_FAILS(Mirovan_File_EnumFileW(wide_folder.c_str(), nullptr, &count, true, 1),
                 ERROR_MIROVAN_FILE_ENUM_NOTDIR, EILSEQ);
    EXPECT_EQ(count, -1);
    std::filesystem::create_directory(folder + "/\xFE");
    EXPECT_THROW(m_FileSdk.Mirovan_File_EnumFileW(wide_folder.c_str(), &wide, true, 0, nullptr),
                 std::system_error);
}

TEST(EnumerationArguments, AreRefused)
{
    constexpr auto refused = ERROR_MIROVAN_FILE_ENUM_PARAMETER;
    std::list<std::string> list;
    std::list<std::wstring>* none = nullptr;
    int count = -1;
    EXPECT_FAILS(m_FileSdk.Mirovan_File_EnumFileA(nullptr, &list, true, 3, nullptr), refused,
                 EINVAL);
    EXPECT_FAILS(m_FileSdk.Mirovan_File_EnumFileW(L"/", none, true, 3, nullptr), refused, EINVAL);
    EXPECT_FAILS(Mirovan_File_EnumFileW(nullptr, nullptr, &count, true, 3), refused, EINVAL);
    EXPECT_FAILS(Mirovan_File_EnumFileA(nullptr, nullptr, &count, true, 3),
                 ERROR_MIROVAN_FILE_ATTR_PARAMETER, EINVAL);
    EXPECT_EQ(count, -1);
}

} // namespace
