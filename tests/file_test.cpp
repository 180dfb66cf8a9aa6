#include "tests/support/meanwhile.h"
#include "tests/support/narrow_place.h"
#include "tests/support/support.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <thread>

namespace
{

namespace fs = std::filesystem;
using test::read_file;
using test::widened;

constexpr auto no_attributes = ERROR_MIROVAN_FILE_ATTR_NOTFOUND;
constexpr auto no_copy = ERROR_MIROVAN_FILE_COPY_FAILED;
constexpr auto exists = ERROR_MIROVAN_FILE_COPY_EXIST;
constexpr auto no_folder = ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED;
constexpr auto no_save = ERROR_MIROVAN_FILE_SAVE_OPEN;
constexpr auto no_zeros = ERROR_MIROVAN_FILE_SPARSE_OPEN;
constexpr auto no_room = ERROR_MIROVAN_FILE_SPARSE_WRITE;
constexpr auto no_size = ERROR_MIROVAN_FILE_SPARSE_PARAMETER;
constexpr auto no_deletion = ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED;

const auto attributes = test::twins(Mirovan_File_GetFileAttrA, Mirovan_File_GetFileAttrW);
const auto create = test::twins(Mirovan_File_CreateMutilFolderA, Mirovan_File_CreateMutilFolderW);
const auto save_bytes = test::twins(Mirovan_File_SaveBuffToFileA, Mirovan_File_SaveBuffToFileW);
const auto zero_fill = test::twins(Mirovan_File_CreateSparseFileA, Mirovan_File_CreateSparseFileW);
const auto erase = test::twins(Mirovan_File_DeleteMutilFolderA, Mirovan_File_DeleteMutilFolderW);

bool save(const std::string& path, const std::string& bytes)
{
    return save_bytes(path, bytes.data(), static_cast<int>(bytes.size()));
}

mode_t mode_of(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : ~0U;
}

void set_mode(const std::string& path, mode_t mode)
{
    ASSERT_EQ(chmod(path.c_str(), mode), 0) << path;
}

/// Everything but the enumerations, in both string forms.
class Files : public test::InBothForms
{
protected:
    static bool copy(const std::string& from, const std::string& to, bool fail_if_exists = false)
    {
        return GetParam() ? Mirovan_File_CopyFileW(widened(from).c_str(), widened(to).c_str(),
                                                   fail_if_exists)
                          : Mirovan_File_CopyFileA(from.c_str(), to.c_str(), fail_if_exists);
    }

    void plant_tree() const
    {
        for (const char* name : {"a/b/c/deep", "a/.hidden", ".dot/.x", "new\nline", "bad\xFF\xFE",
                                 " ", "-rf", "a/\xC3\xA4"})
            scratch_.file(std::string{"tree/"} + name, "x");
        scratch_.folder("tree/empty");
        scratch_.file("outside/kept", "x");
        fs::create_symlink(scratch_ / "outside", "tree/a/link");
        fs::create_symlink("nowhere", "tree/dangling");
    }
};
IN_BOTH_FORMS(Files);

TEST_P(Files, AttributesAreThoseOfStat)
{
    const std::string odd_name = "n\xC3\xA4me \xF0\x9F\x8E\x89\n.txt";
    scratch_.file("file", "12345");
    scratch_.file(odd_name, "x");
    scratch_.file(".folder/.profile");
    fs::create_symlink(".folder", "link");
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    const timespec times[] = {{1'000'000'000, 999'999'999}, {1'100'000'000, 5}};
    ASSERT_EQ(utimensat(AT_FDCWD, "file", times, 0), 0);
    const std::vector<std::string> visible = {"file", odd_name, "link",      "link/",
                                              "fifo", "/",      "/dev/null", scratch_ / ".folder"};
    const std::vector<std::string> hidden = {".", "..", "./file", ".folder/", ".folder/.profile"};
    for (const bool is_hidden : {false, true})
        for (const std::string& path : is_hidden ? hidden : visible)
        {
            struct stat status = {};
            ASSERT_EQ(stat(path.c_str(), &status), 0) << path;
            MIROVAN_FILE_ATTR record{};
            EXPECT_SUCCEEDS(attributes(path, &record)) << path;
            EXPECT_EQ(std::tuple(record.nFileSize, record.nCreateTime, record.nAccessTime,
                                 record.nModifyTime, record.bIsFile, record.bIsHidden,
                                 record.bIsReadable),
                      std::tuple(status.st_size, status.st_ctim.tv_sec, status.st_atim.tv_sec,
                                 status.st_mtim.tv_sec, !S_ISDIR(status.st_mode), is_hidden, true))
                << path;
        }
}

TEST_P(Files, Refusals)
{
    const std::string name(300, 'n');
    const std::string path(5000, 'n');
    const std::string part(1024, 'n');
    scratch_.file("file", "kept");
    fs::create_hard_link("file", "twin");
    fs::create_symlink("file", "to-file");
    fs::create_symlink("nowhere", "dangling");
    fs::create_symlink("loop", "loop");
    scratch_.folder("folder");
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    const std::string before = test::shell_output("ls -lR");

    EXPECT_FAILS(save("", "content"), no_save, ENOENT);
    EXPECT_FAILS(save("file/x", "content"), no_save, ENOTDIR);
    EXPECT_FAILS(save("file/x/y", "content"), no_folder, ENOTDIR);
    EXPECT_FAILS(save("folder", "content"), no_save, EISDIR);
    EXPECT_FAILS(save("/dev/full", "content"), no_save, ENOSPC);
    EXPECT_FAILS(save("none/" + path, "content"), no_save, ENAMETOOLONG);
    EXPECT_FAILS(save("none/" + part.substr(5), "content"), no_save, ENAMETOOLONG);
    EXPECT_FAILS(zero_fill("none/x", 1LL), no_zeros, ENOENT);
    for (const long long size : {1LL, 4096LL, 1LL << 62})
        EXPECT_FAILS(zero_fill("/dev/full", size), no_room, ENOSPC);
    for (const long long size : {0LL, -1LL})
        EXPECT_FAILS(zero_fill("file", size), no_size, EINVAL);
    EXPECT_FAILS(copy("", "new"), no_copy, ENOENT);
    EXPECT_FAILS(copy("missing", "new"), no_copy, ENOENT);
    EXPECT_FAILS(copy("folder", "new"), no_copy, EISDIR);
    EXPECT_FAILS(copy("fifo", "new"), no_copy, EINVAL);
    EXPECT_FAILS(copy("/dev/null", "new"), no_copy, EINVAL);
    EXPECT_FAILS(copy(path, "new"), no_copy, ENAMETOOLONG);
    EXPECT_FAILS(copy("file", ""), no_copy, ENOENT);
    for (const char* same : {"file", "twin", "to-file"})
        EXPECT_FAILS(copy("file", same), no_copy, EEXIST);
    EXPECT_FAILS(copy("file", "folder"), no_copy, EISDIR);
    EXPECT_FAILS(copy("file", "fifo"), no_copy, ENXIO);
    EXPECT_FAILS(copy("file", "/dev/null"), no_copy, EINVAL);
    EXPECT_FAILS(copy("file", part), no_copy, ENAMETOOLONG);
    EXPECT_FAILS(copy("file", "file/x/y"), no_folder, ENOTDIR);
    EXPECT_FAILS(copy("file", "twin", true), exists, EEXIST);
    EXPECT_FAILS(copy("file", "dangling", true), exists, EEXIST);
    EXPECT_FAILS(copy("missing", "twin", true), exists, EEXIST);
    EXPECT_FAILS(create(""), no_folder, ENOENT);
    EXPECT_FAILS(create("\\"), no_folder, ENOENT);
    EXPECT_FAILS(create("file/below/it"), no_folder, ENOTDIR);
    EXPECT_FAILS(create("dangling"), no_folder, ENOTDIR);
    EXPECT_FAILS(create("loop/x"), no_folder, ELOOP);
    EXPECT_FAILS(create("/proc/none"), no_folder, ENOENT);
    EXPECT_FAILS(create("folder/" + name), no_folder, ENAMETOOLONG);
    EXPECT_FAILS(create(std::string(1023, '/') + "n"), no_folder, ENAMETOOLONG);
    EXPECT_FAILS(erase("loop", true), no_deletion, ELOOP);
    EXPECT_FAILS(erase(path, true), no_deletion, ENAMETOOLONG);
    const MIROVAN_FILE_ATTR kept{1, 2, 3, 4, true, true, true};
    MIROVAN_FILE_ATTR record = kept;
    EXPECT_FAILS(attributes("", &record), no_attributes, ENOENT);
    EXPECT_FAILS(attributes("dangling", &record), no_attributes, ENOENT);
    EXPECT_FAILS(attributes("file/below", &record), no_attributes, ENOTDIR);
    EXPECT_FAILS(attributes(path, &record), no_attributes, ENAMETOOLONG);

    EXPECT_EQ(std::memcmp(&record, &kept, sizeof record), 0);
    EXPECT_EQ(test::shell_output("ls -lR"), before);
    EXPECT_EQ(read_file("file"), "kept");
}

TEST_P(Files, OfAnotherUser)
{
    set_mode(scratch_.file("secret", "x"), 0);
    set_mode(scratch_.file("source", "content"), 0444);
    set_mode(scratch_.file("closed", "kept"), 0400);
    set_mode(scratch_.file("open to all", "kept"), 0666);
    scratch_.file("unsearchable/file");
    set_mode("unsearchable", 0644);
    const bool is_anothers = geteuid() == 0;
    test::as_ordinary_user(
        [&]
        {
            MIROVAN_FILE_ATTR record{};
            EXPECT_SUCCEEDS(attributes("secret", &record));
            EXPECT_EQ(std::tuple(record.bIsReadable, record.nFileSize), std::tuple(false, 1));
            EXPECT_FAILS(attributes("unsearchable/file", &record), no_attributes, EACCES);
            EXPECT_FAILS(create("/usr/mirovan"), no_folder, EACCES);
            EXPECT_SUCCEEDS(copy("source", "own"));
            EXPECT_FAILS(copy("source", "own"), no_copy, EACCES);
            EXPECT_FAILS(copy("source", "closed"), no_copy, EACCES);
            // It may write there, but not set the permission bits.
            if (is_anothers)
            {
                EXPECT_FAILS(copy("source", "open to all"), no_copy, EPERM);
            }
        });
    EXPECT_EQ(read_file("closed"), "kept");
    EXPECT_EQ(read_file("open to all"), is_anothers ? "kept" : read_file("open to all"));
}

TEST_P(Files, CopiesHaveTheContent)
{
    const std::string bytes = std::string{"\0one\xFF", 5} + std::string(3'000'000, 'x') + "end";
    const std::string source = "s\xC3\xB6urce";
    scratch_.file(source, bytes);
    scratch_.file("longer", bytes + bytes);
    scratch_.file("empty");
    fs::create_symlink(source, "link");
    for (const auto& [from, to] :
         {std::pair<std::string, std::string>{source, "a/b/\xF0\x9F\x8E\x89"},
          {"link", "longer"},
          {"empty", "longer"},
          {source, "longer"},
          {"/proc/version", "generated"},
          {"/proc/filesystems", "longer"},
          {"/sys/devices/system/cpu/online", "x/y"}})
    {
        EXPECT_SUCCEEDS(copy(from, to)) << from;
        EXPECT_FALSE(read_file(to).empty() && from != "empty") << from;
        EXPECT_EQ(read_file(to), read_file(from)) << from;
    }
    EXPECT_EQ(Mirovan_GetLastError(nullptr), ERROR_MIROVAN_FILE_ATTR_NOTFOUND);
    EXPECT_SUCCEEDS(copy("link", "bare", true));
    EXPECT_EQ(read_file("bare"), bytes);
}

TEST_P(Files, CopiesHaveThePermissionBits)
{
    scratch_.file("source", "x");
    for (const mode_t mode : {0600U, 0666U, 0755U, 0444U, 0711U, 04755U, 07777U, 0U})
        // Of what is there before; one differs in bits alone that no copy is to have.
        for (const mode_t earlier : {0U, 0640U, (mode & 0777U) | 07200U})
        {
            set_mode("source", geteuid() == 0 ? mode : mode | S_IRUSR);
            const std::string to = std::to_string(mode) + "." + std::to_string(earlier);
            if (earlier != 0)
                set_mode(scratch_.file(to, "old"), earlier);
            EXPECT_SUCCEEDS(copy("source", to));
            EXPECT_EQ(mode_of(to), mode_of("source") & 0777U) << std::oct << mode << ' ' << earlier;
        }
}

TEST_P(Files, FoldersAreThereAfterwards)
{
    fs::create_symlink(scratch_.folder("a"), "link");
    const std::pair<std::string, std::string> cases[] = {
        {"a", "a"},
        {"a/b/c", "a/b/c"},
        {"a/b/d/", "a/b/d"},
        {"e//f///", "e/f"},
        {"back\\", "back"},
        {"a/in\\side/x", "a/in\\side/x"},
        {"link/g", "a/g"},
        {"h/../i", "i"},
        {"/", "/"},
        {"\xC3\xA4/\xF0\x9F\x8E\x89 \n", "\xC3\xA4/\xF0\x9F\x8E\x89 \n"},
        {scratch_ / "n", "n"},
        {"dot/./name", "dot/name"}};
    for (const auto& [asked, made] : cases)
    {
        EXPECT_SUCCEEDS(create(asked)) << asked;
        EXPECT_TRUE(fs::is_directory(made)) << asked;
    }
    EXPECT_SUCCEEDS(create(scratch_.file("file", "kept")));
    EXPECT_EQ(read_file("file"), "kept");
}

TEST_P(Files, SavingReplacesTheContent)
{
    for (const std::string path : {"a/b/\xE2\x82\xAC.bin", "bare"})
        for (const std::string& content :
             {std::string(100'000, 'x'), std::string{"one\0two\xFF\n", 9}, std::string{},
              std::string(5'000'000, 'y')})
        {
            EXPECT_SUCCEEDS(save(path, content));
            EXPECT_EQ(read_file(path), content);
        }
    EXPECT_EQ(Mirovan_GetLastError(nullptr), ERROR_MIROVAN_FILE_ATTR_NOTFOUND);
}

TEST_P(Files, NewOnesHaveTheModeThatTheUmaskLeaves)
{
    for (const mode_t mask : {0U, 027U})
    {
        const std::string folder = "new" + std::to_string(mask);
        const mode_t earlier = umask(mask);
        EXPECT_SUCCEEDS(save(folder + "/saved", "x"));
        EXPECT_SUCCEEDS(zero_fill(folder + "/zeros", 1LL));
        umask(earlier);
        EXPECT_EQ(mode_of(folder), 0777U & ~mask);
        EXPECT_EQ(mode_of(folder + "/saved"), 0666U & ~mask);
        EXPECT_EQ(mode_of(folder + "/zeros"), 0666U & ~mask);
    }
}

TEST_P(Files, OfZerosHaveEveryByte)
{
    const std::string path = scratch_.file("z\xC3\xA9ro", std::string(20'000, 'x'));
    for (const long long size : {1LL, 4096LL, 4097LL, 10LL << 20, 300'000LL})
    {
        EXPECT_SUCCEEDS(zero_fill(path, size));
        EXPECT_EQ(read_file(path), std::string(static_cast<std::size_t>(size), '\0'));
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_EQ(lseek(file, 0, SEEK_HOLE), size) << "only the end is a hole";
        close(file);
    }
}

TEST_P(Files, KeepWhatFitsWhenTheRoomEnds)
{
    set_mode(scratch_.file("source", std::string(250'000, 's')), 0644);
    set_mode(scratch_.file("to replace", "old"), 0664);
    test::in_child(
        [&]
        {
            constexpr rlim_t room = 100'000;
            const rlimit limit{room, room};
            ASSERT_NE(std::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
            EXPECT_FAILS(save("saved", std::string(250'000, 's')), no_save, EFBIG);
            EXPECT_EQ(read_file("saved"), std::string(room, 's'));
            for (const long long size : {100'001LL, 1'000'000LL, 1LL << 40})
                EXPECT_FAILS(zero_fill("zeros", size), no_room, EFBIG);
            EXPECT_EQ(read_file("zeros"), std::string(room, '\0'));
            EXPECT_SUCCEEDS(zero_fill("zeros", static_cast<long long>(room)));
            for (const char* to : {"new", "to replace"})
            {
                EXPECT_FAILS(copy("source", to), no_copy, EFBIG);
                EXPECT_EQ(mode_of(to), 0600U) << "nobody else may read it before it is whole";
            }
        });
}

TEST_P(Files, DeletionTakesAllThatIsInTheFolder)
{
    for (const std::string end : {"", "/"})
    {
        plant_tree();
        EXPECT_SUCCEEDS(erase("tree" + end, false));
        EXPECT_TRUE(fs::is_empty("tree"));
        EXPECT_SUCCEEDS(erase("tree", false));
        plant_tree();
        EXPECT_SUCCEEDS(erase("tree" + end, true));
        EXPECT_FALSE(fs::exists("tree"));
    }
    // A link to a folder leads to its content; as the root of a tree it is itself what goes.
    plant_tree();
    for (const char* link : {"link", "link/", "link///"})
    {
        fs::create_symlink("tree", "link");
        EXPECT_SUCCEEDS(erase(link, true));
        EXPECT_FALSE(fs::is_symlink("link"));
        EXPECT_TRUE(fs::exists("tree/a/b/c/deep"));
    }
    fs::create_symlink("tree", "link");
    EXPECT_SUCCEEDS(erase("link", false));
    EXPECT_TRUE(fs::is_empty("link"));
    EXPECT_TRUE(fs::exists("outside/kept"));
}

TEST_P(Files, DeletionOfWhatIsNoFolderIsDone)
{
    scratch_.file("file");
    fs::create_symlink("file", "to-file");
    for (const bool with_root : {false, true})
        for (const char* path : {"", "missing", "file", "file/below", "to-file", "/dev/null"})
            EXPECT_SUCCEEDS(erase(path, with_root)) << path;
    EXPECT_TRUE(fs::exists("to-file"));
}

TEST_P(Files, DeletionGoesOnPastWhatCannotBeRemoved)
{
    test::as_ordinary_user(
        [&]
        {
            plant_tree();
            scratch_.file("tree/a/b/stays/file");
            scratch_.file("tree/unreadable/file");
            set_mode("tree/a/b/stays", 0555);
            set_mode("tree/unreadable", 0);
            set_mode(scratch_.folder("tree/unreadable-empty"), 0);
            EXPECT_FAILS(erase("tree", true), no_deletion, EACCES);
            EXPECT_EQ(test::shell_output("find tree 2>/dev/null | sort"),
                      "tree\ntree/a\ntree/a/b\ntree/a/b/stays\ntree/a/b/stays/file\n"
                      "tree/unreadable\n");
            EXPECT_FAILS(erase("tree/unreadable", false), no_deletion, EACCES);
            EXPECT_FAILS(erase("tree/unreadable/x", false), no_deletion, EACCES);
        });
}

TEST_P(Files, DeletionTogetherWithAnotherThread)
{
    for (int file = 0; file < 1000; ++file)
        scratch_.file("tree/" + std::to_string(file % 50) + "/" + std::to_string(file));
    std::thread other{[] { test::shell_output("rm -rf tree"); }};
    EXPECT_SUCCEEDS(erase("tree", true));
    other.join();
    EXPECT_FALSE(fs::exists("tree"));
}

TEST_P(Files, DeletionNeverFollowsALinkPutInAFoldersPlace)
{
    const test::Meanwhile attacker{[]
                                   {
                                       std::error_code failed;
                                       fs::rename("tree/a", "tree/moved", failed);
                                       fs::create_symlink("../outside", "tree/a", failed);
                                       unlink("tree/a");
                                   }};
    for (int round = 0; round < 300 && !HasFailure(); ++round)
    {
        for (const std::string folder : {"outside", "tree/a/b", "tree/a"})
        {
            std::error_code meanwhile;
            fs::create_directories(folder, meanwhile);
            std::ofstream{folder + "/kept"};
        }
        erase("tree", round % 2 == 0);
        EXPECT_TRUE(fs::exists("outside/kept")) << round;
    }
}

TEST(FileDeletion, OfThreeThousandLevelsInANarrowPlace)
{
    const test::Scratch scratch;
    test::make_deep(scratch.path(), "d", 3'000);
    test::in_a_narrow_place(
        [&] { EXPECT_SUCCEEDS(Mirovan_File_DeleteMutilFolderA(scratch.path().c_str(), false)); });
    EXPECT_TRUE(fs::is_empty(scratch.path()));
}

TEST(FileArguments, AreRefused)
{
    MIROVAN_FILE_ATTR record{};
    const auto refused =
        [](auto narrow, auto wide, uint64_t code, uint64_t no_text, auto... further)
    {
        EXPECT_FAILS(narrow(nullptr, further...), code, EINVAL);
        EXPECT_FAILS(wide(nullptr, further...), code, EINVAL);
        // Half of a surrogate pair.
        EXPECT_FAILS(wide(L"/tmp/\xD800", further...), no_text, EILSEQ);
    };
    refused(Mirovan_File_GetFileAttrA, Mirovan_File_GetFileAttrW, ERROR_MIROVAN_FILE_ATTR_PARAMETER,
            no_attributes, &record);
    refused(Mirovan_File_CreateMutilFolderA, Mirovan_File_CreateMutilFolderW,
            ERROR_MIROVAN_FILE_CREATEFOLDER_PARAMETER, no_folder);
    refused(Mirovan_File_SaveBuffToFileA, Mirovan_File_SaveBuffToFileW,
            ERROR_MIROVAN_FILE_SAVE_PARAMETER, no_save, "", 0);
    refused(Mirovan_File_CreateSparseFileA, Mirovan_File_CreateSparseFileW, no_size, no_zeros, 1LL);
    refused(Mirovan_File_DeleteMutilFolderA, Mirovan_File_DeleteMutilFolderW,
            ERROR_MIROVAN_FILE_DELETEFOLDER_PARAMETER, no_deletion, true);
    for (const bool fail_if_exists : {false, true})
    {
        refused([=](const char* from) { return Mirovan_File_CopyFileA(from, "x", fail_if_exists); },
                [=](const wchar_t* from)
                { return Mirovan_File_CopyFileW(from, L"x", fail_if_exists); },
                ERROR_MIROVAN_FILE_COPY_PARAMETER, no_copy);
        refused([=](const char* to) { return Mirovan_File_CopyFileA("x", to, fail_if_exists); },
                [=](const wchar_t* to) { return Mirovan_File_CopyFileW(L"x", to, fail_if_exists); },
                ERROR_MIROVAN_FILE_COPY_PARAMETER, no_copy);
    }
    EXPECT_FAILS(Mirovan_File_GetFileAttrA("/", nullptr), ERROR_MIROVAN_FILE_ATTR_PARAMETER);
    EXPECT_FAILS(Mirovan_File_SaveBuffToFileA("/none/x", nullptr, 0),
                 ERROR_MIROVAN_FILE_SAVE_PARAMETER);
    EXPECT_FAILS(Mirovan_File_SaveBuffToFileA("/none/x", "", -1),
                 ERROR_MIROVAN_FILE_SAVE_PARAMETER);
    EXPECT_FAILS(Mirovan_File_SaveBuffToFileW(L"/tmp/\xD800/x", "", 0), no_folder, EILSEQ);
}

TEST(FileLimits, PathsOf1024Bytes)
{
    // 1,023 bytes fit into what a wide path is converted to, counted in UTF-8; one more does not.
    MIROVAN_FILE_ATTR record{};
    const std::string null = std::string(1015, '/') + "dev/null";
    EXPECT_SUCCEEDS(Mirovan_File_GetFileAttrW(widened(null).c_str(), &record));
    EXPECT_FAILS(Mirovan_File_GetFileAttrW(widened("/" + null).c_str(), &record), no_attributes,
                 ENAMETOOLONG);
    EXPECT_SUCCEEDS(Mirovan_File_GetFileAttrA(("/" + null).c_str(), &record));
    EXPECT_SUCCEEDS(Mirovan_File_CreateMutilFolderA((std::string(1020, '/') + "tmp").c_str()));

    // New folders are limited in characters: these 400 and more have three bytes each.
    const test::Scratch scratch;
    std::wstring many = widened(scratch.path());
    for (int part = 0; part < 8; ++part)
        many += L"/" + std::wstring(49, L'\x20AC');
    EXPECT_SUCCEEDS(Mirovan_File_CreateMutilFolderW(many.c_str()));
    EXPECT_EQ(test::shell_output("find '" + scratch.path() + "' -mindepth 8 | wc -l"), "1\n");
    many += L"/" + std::wstring(1023 - many.size(), L'x');
    EXPECT_FAILS(Mirovan_File_CreateMutilFolderW(many.c_str()), no_folder, ENAMETOOLONG);
}

} // namespace
