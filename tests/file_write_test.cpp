#include "tests/support/support.h"

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using test::read_file;
using test::widened;

/// Folder creation, saving and zero-filled files, in both forms.
class FileWriting : public testing::TestWithParam<bool>
{
protected:
    static bool create(const std::string& path)
    {
        return GetParam() ? Mirovan_File_CreateMutilFolderW(widened(path).c_str())
                          : Mirovan_File_CreateMutilFolderA(path.c_str());
    }
    static bool save(const std::string& path, const std::string& bytes)
    {
        const int length = static_cast<int>(bytes.size());
        return GetParam()
                   ? Mirovan_File_SaveBuffToFileW(widened(path).c_str(), bytes.data(), length)
                   : Mirovan_File_SaveBuffToFileA(path.c_str(), bytes.data(), length);
    }
    static bool zero_fill(const std::string& path, long long size)
    {
        return GetParam() ? Mirovan_File_CreateSparseFileW(widened(path).c_str(), size)
                          : Mirovan_File_CreateSparseFileA(path.c_str(), size);
    }

    test::Scratch scratch_;
    test::Held before_ = test::Held::now();
};

TEST_P(FileWriting, FoldersAreThereAfterwards)
{
    fs::create_symlink(scratch_.folder("a"), scratch_ / "link");
    const struct
    {
        std::string asked, made;
    } cases[] = {{"a", "a"},
                 {"a/b/c", "a/b/c"},
                 {"a/b/d/", "a/b/d"},
                 {"e//f///", "e/f"},
                 {"back\\", "back"},
                 {"a/in\\side/x", "a/in\\side/x"},
                 {"link/g", "a/g"},
                 {"h/../i", "i"},
                 {"\xC3\xA4/\xF0\x9F\x8E\x89 \n", ""},
                 {"dot/./name", "dot/name"}};
    for (const auto& [asked, made] : cases)
    {
        EXPECT_SUCCEEDS(create(scratch_ / asked)) << asked;
        EXPECT_TRUE(fs::is_directory(scratch_ / (made.empty() ? asked : made))) << asked;
    }
    EXPECT_SUCCEEDS(create(scratch_.file("file", "kept")));
    EXPECT_EQ(read_file(scratch_ / "file"), "kept");
    EXPECT_SUCCEEDS(create("/"));
    test::in_child(
        [&]
        {
            ASSERT_EQ(chdir(scratch_.path().c_str()), 0);
            EXPECT_SUCCEEDS(create("relative/name"));
            EXPECT_TRUE(fs::is_directory(scratch_ / "relative/name"));
        });
}

TEST_P(FileWriting, FoldersThatCannotBeMade)
{
    const std::string file = scratch_.file("file");
    fs::create_symlink("nowhere", scratch_ / "dangling");
    fs::create_symlink("loop", scratch_ / "loop");
    const struct
    {
        std::string path;
        int reason;
    } cases[] = {
        {"", ENOENT},
        {"\\", ENOENT},
        {file + "/below/it", ENOTDIR},
        {scratch_ / "dangling", ENOTDIR},
        {scratch_ / "loop/x", ELOOP},
        {"/proc/none", ENOENT},
        {scratch_ / ("made/" + std::string(300, 'n')), ENAMETOOLONG},
        {scratch_ / (std::string(1023 - scratch_.path().size(), '/') + "n"), ENAMETOOLONG}};
    for (const auto& [path, reason] : cases)
        EXPECT_FAILS(create(path), ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, reason) << path;
    EXPECT_SUCCEEDS(create(scratch_ / (std::string(1021 - scratch_.path().size(), '/') + "n")));
    test::as_ordinary_user(
        []
        { EXPECT_FAILS(create("/usr/mirovan"), ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, EACCES); });
}

TEST_P(FileWriting, SavingReplacesTheContent)
{
    const std::string path = scratch_ / "a/b/\xE2\x82\xAC.bin";
    const std::string bytes{"one\0two\xFF\n", 9};
    EXPECT_SUCCEEDS(save(path, std::string(100'000, 'x')));
    EXPECT_EQ(Mirovan_GetLastError(nullptr), ERROR_MIROVAN_FILE_ATTR_NOTFOUND);
    for (const std::string& content : {bytes, std::string{}, std::string(5'000'000, 'y')})
    {
        EXPECT_SUCCEEDS(save(path, content));
        EXPECT_EQ(read_file(path), content);
    }
    test::in_child(
        [&]
        {
            ASSERT_EQ(chdir(scratch_.path().c_str()), 0);
            EXPECT_SUCCEEDS(save("bare", bytes));
            EXPECT_EQ(read_file(scratch_ / "bare"), bytes);
        });
    EXPECT_EQ(test::Held::now(), before_);
}

TEST_P(FileWriting, SavingThatFails)
{
    const std::string file = scratch_.file("file");
    const std::string too_long =
        scratch_ / ("new/" + std::string(1020 - scratch_.path().size(), 'n'));
    const struct
    {
        std::string path;
        Mirovan_ErrorCode code;
        int reason;
    } cases[] = {{file + "/x", ERROR_MIROVAN_FILE_SAVE_OPEN, ENOTDIR},
                 {file + "/x/y", ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, ENOTDIR},
                 {scratch_.path(), ERROR_MIROVAN_FILE_SAVE_OPEN, EISDIR},
                 {"", ERROR_MIROVAN_FILE_SAVE_OPEN, ENOENT},
                 {"/dev/full", ERROR_MIROVAN_FILE_SAVE_OPEN, ENOSPC},
                 {too_long, ERROR_MIROVAN_FILE_SAVE_OPEN, ENAMETOOLONG}};
    for (const auto& [path, code, reason] : cases)
        EXPECT_FAILS(save(path, "content"), code, reason) << path;
    EXPECT_FALSE(fs::exists(scratch_ / "new"));
    EXPECT_EQ(test::Held::now(), before_);
}

TEST_P(FileWriting, ZeroFilledFilesHaveEveryByte)
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
    for (const long long size : {0LL, -1LL})
        EXPECT_FAILS(zero_fill(scratch_ / "none", size), ERROR_MIROVAN_FILE_SPARSE_PARAMETER,
                     EINVAL);
    EXPECT_FAILS(zero_fill(scratch_ / "none/x", 1), ERROR_MIROVAN_FILE_SPARSE_OPEN, ENOENT);
    EXPECT_FALSE(fs::exists(scratch_ / "none"));
    for (const long long size : {1LL, 4096LL, 1LL << 62})
        EXPECT_FAILS(zero_fill("/dev/full", size), ERROR_MIROVAN_FILE_SPARSE_WRITE, ENOSPC);
    EXPECT_EQ(test::Held::now(), before_);
}

TEST_P(FileWriting, RoomThatEndsInTheMiddle)
{
    test::in_child(
        [&]
        {
            constexpr rlim_t room = 100'000;
            const rlimit limit{room, room};
            ASSERT_NE(std::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
            EXPECT_FAILS(save(scratch_ / "saved", std::string(250'000, 's')),
                         ERROR_MIROVAN_FILE_SAVE_OPEN, EFBIG);
            EXPECT_EQ(read_file(scratch_ / "saved"), std::string(room, 's'));
            for (const long long size : {100'001LL, 1'000'000LL, 1LL << 40})
                EXPECT_FAILS(zero_fill(scratch_ / "zeros", size), ERROR_MIROVAN_FILE_SPARSE_WRITE,
                             EFBIG);
            EXPECT_EQ(read_file(scratch_ / "zeros"), std::string(room, '\0'));
            EXPECT_SUCCEEDS(zero_fill(scratch_ / "zeros", room));
        });
}

INSTANTIATE_TEST_SUITE_P(Forms, FileWriting, testing::Bool(),
                         [](const auto& form) { return form.param ? "Wide" : "Narrow"; });

TEST(FileArguments, AreRefused)
{
    constexpr auto bad_folder = ERROR_MIROVAN_FILE_CREATEFOLDER_PARAMETER;
    constexpr auto bad_save = ERROR_MIROVAN_FILE_SAVE_PARAMETER;
    constexpr auto bad_zeros = ERROR_MIROVAN_FILE_SPARSE_PARAMETER;
    EXPECT_FAILS(Mirovan_File_CreateMutilFolderA(nullptr), bad_folder, EINVAL);
    EXPECT_FAILS(Mirovan_File_CreateMutilFolderW(nullptr), bad_folder, EINVAL);
    EXPECT_FAILS(Mirovan_File_SaveBuffToFileA(nullptr, "", 0), bad_save, EINVAL);
    EXPECT_FAILS(Mirovan_File_SaveBuffToFileW(L"/none/x", nullptr, 0), bad_save, EINVAL);
    EXPECT_FAILS(Mirovan_File_SaveBuffToFileA("/none/x", "", -1), bad_save, EINVAL);
    EXPECT_FAILS(Mirovan_File_CreateSparseFileA(nullptr, 1), bad_zeros, EINVAL);
    EXPECT_FAILS(Mirovan_File_CreateSparseFileW(nullptr, 1), bad_zeros, EINVAL);

    // No text: half of a surrogate pair, in the last part of a path and in its folder.
    const test::Scratch scratch;
    const std::wstring name = widened(scratch.path()) + L"/\xD800";
    constexpr auto no_folder = ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED;
    EXPECT_FAILS(Mirovan_File_CreateMutilFolderW(name.c_str()), no_folder, EILSEQ);
    EXPECT_FAILS(Mirovan_File_SaveBuffToFileW((name + L"/x").c_str(), "", 0), no_folder, EILSEQ);
    EXPECT_FAILS(Mirovan_File_SaveBuffToFileW(name.c_str(), "", 0), ERROR_MIROVAN_FILE_SAVE_OPEN,
                 EILSEQ);
    EXPECT_FAILS(Mirovan_File_CreateSparseFileW(name.c_str(), 1), ERROR_MIROVAN_FILE_SPARSE_OPEN,
                 EILSEQ);
    EXPECT_TRUE(fs::is_empty(scratch.path()));

    // 400 characters that have 1,200 bytes in UTF-8.
    std::wstring many = widened(scratch.path());
    for (int part = 0; part < 8; ++part)
        many += L"/" + std::wstring(49, L'\x20AC');
    EXPECT_SUCCEEDS(Mirovan_File_CreateMutilFolderW(many.c_str()));
    EXPECT_EQ(test::shell_output("find '" + scratch.path() + "' -mindepth 8 | wc -l"), "1\n");
    many += L"/" + std::wstring(1023 - many.size(), L'x');
    EXPECT_FAILS(Mirovan_File_CreateMutilFolderW(many.c_str()), no_folder, ENAMETOOLONG);
}

} // namespace
