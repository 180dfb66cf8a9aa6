#include "tests/support/support.h"

#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using test::read_file;
using test::widened;

class FileCopying : public testing::TestWithParam<bool>
{
protected:
    static bool copy(const std::string& source, const std::string& destination,
                     bool fail_if_exists = false)
    {
        return GetParam()
                   ? Mirovan_File_CopyFileW(widened(source).c_str(), widened(destination).c_str(),
                                            fail_if_exists)
                   : Mirovan_File_CopyFileA(source.c_str(), destination.c_str(), fail_if_exists);
    }
    static mode_t mode_of(const std::string& path)
    {
        struct stat status = {};
        stat(path.c_str(), &status);
        return status.st_mode;
    }

    test::Scratch scratch_;
    test::Held before_ = test::Held::now();
};

TEST_P(FileCopying, GivesTheContent)
{
    const std::string bytes = std::string{"\0one\xFF", 5} + std::string(3'000'000, 'x') + "end";
    const std::string source = scratch_.file("s\xC3\xB6urce", bytes);
    fs::create_symlink(source, scratch_ / "link");
    const std::string longer = scratch_.file("longer", bytes + bytes);
    EXPECT_SUCCEEDS(copy(source, scratch_ / "a/b/\xF0\x9F\x8E\x89"));
    EXPECT_EQ(Mirovan_GetLastError(nullptr), ERROR_MIROVAN_FILE_ATTR_NOTFOUND);
    EXPECT_EQ(read_file(scratch_ / "a/b/\xF0\x9F\x8E\x89"), bytes);
    EXPECT_SUCCEEDS(copy(scratch_ / "link", longer));
    EXPECT_EQ(read_file(longer), bytes);
    const std::string empty = scratch_.file("empty");
    EXPECT_SUCCEEDS(copy(empty, longer));
    EXPECT_EQ(read_file(longer), "");
    EXPECT_SUCCEEDS(copy(source, empty));
    EXPECT_EQ(read_file(empty), bytes);
    test::in_child(
        [&]
        {
            ASSERT_EQ(chdir(scratch_.path().c_str()), 0);
            EXPECT_SUCCEEDS(copy("link", "bare", true));
            EXPECT_EQ(read_file(scratch_ / "bare"), bytes);
        });
    EXPECT_FAILS(copy(source, longer, true), ERROR_MIROVAN_FILE_COPY_EXIST, EEXIST);
    EXPECT_FAILS(copy(scratch_ / "missing", longer, true), ERROR_MIROVAN_FILE_COPY_EXIST, EEXIST);
    EXPECT_EQ(read_file(longer), "");
    fs::create_symlink("nowhere", scratch_ / "dangling");
    EXPECT_FAILS(copy(source, scratch_ / "dangling", true), ERROR_MIROVAN_FILE_COPY_EXIST, EEXIST);
    EXPECT_FALSE(fs::exists(scratch_ / "nowhere"));
    EXPECT_EQ(test::Held::now(), before_);
}

TEST_P(FileCopying, GivesThePermissionBits)
{
    const std::string source = scratch_.file("source", "x");
    for (const mode_t mode : {0600U, 0666U, 0755U, 0444U, 0711U, 04755U, 07777U, 0U})
        for (const bool exists : {false, true})
        {
            ASSERT_EQ(chmod(source.c_str(), geteuid() == 0 ? mode : mode | S_IRUSR), 0);
            const std::string ours =
                scratch_ / "ours" + std::to_string(exists) + std::to_string(mode);
            if (exists)
            {
                ASSERT_EQ(chmod(scratch_.file(fs::path{ours}.filename(), "old").c_str(), 0640), 0);
            }
            EXPECT_SUCCEEDS(copy(source, ours));
            EXPECT_EQ(mode_of(ours) & 07777U, mode & 0777U) << std::oct << mode << exists;
        }
}

TEST_P(FileCopying, FilesThatTheKernelMakes)
{
    for (const std::string source : {"/proc/version", "/proc/self/limits", "/proc/filesystems",
                                     "/sys/devices/system/cpu/online"})
    {
        const std::string copied = scratch_ / fs::path{source}.filename();
        EXPECT_SUCCEEDS(copy(source, copied)) << source;
        EXPECT_FALSE(read_file(copied).empty()) << source;
        EXPECT_EQ(read_file(copied), read_file(source)) << source;
    }
}

TEST_P(FileCopying, Failures)
{
    const std::string source = scratch_.file("source", "content");
    const std::string folder = scratch_.folder("folder");
    fs::create_hard_link(source, scratch_ / "twin");
    fs::create_symlink(source, scratch_ / "link");
    ASSERT_EQ(mkfifo((scratch_ / "fifo").c_str(), 0600), 0);
    constexpr auto failed = ERROR_MIROVAN_FILE_COPY_FAILED;
    const struct
    {
        std::string from, to;
        Mirovan_ErrorCode code;
        int reason;
    } cases[] = {{scratch_ / "missing", scratch_ / "new/x", failed, ENOENT},
                 {folder, scratch_ / "x", failed, EISDIR},
                 {scratch_ / "fifo", scratch_ / "x", failed, EINVAL},
                 {"/dev/null", scratch_ / "x", failed, EINVAL},
                 {"", scratch_ / "x", failed, ENOENT},
                 {source, source, failed, EEXIST},
                 {source, scratch_ / "twin", failed, EEXIST},
                 {scratch_ / "link", source, failed, EEXIST},
                 {source, folder, failed, EISDIR},
                 {source, "/dev/null", failed, EINVAL},
                 {source, "", failed, ENOENT},
                 {source, std::string(1024, 'n'), failed, ENAMETOOLONG},
                 {std::string(5000, 'n'), scratch_ / "x", failed, ENAMETOOLONG},
                 {source, source + "/x/y", ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, ENOTDIR}};
    for (const auto& [from, to, code, reason] : cases)
        EXPECT_FAILS(copy(from, to), code, reason) << from << " to " << to;
    EXPECT_EQ(read_file(source), "content");
    EXPECT_FALSE(fs::exists(scratch_ / "x"));
    EXPECT_EQ(test::Held::now(), before_);

    const std::string closed = scratch_.file("closed", "kept");
    ASSERT_EQ(chmod(closed.c_str(), 0400), 0);
    const std::string open_to_all = scratch_.file("open to all", "kept");
    ASSERT_EQ(chmod(open_to_all.c_str(), 0666), 0);
    ASSERT_EQ(chmod(source.c_str(), 0444), 0);
    const bool is_anothers = geteuid() == 0;
    test::as_ordinary_user(
        [&]
        {
            const std::string own = scratch_ / "own";
            EXPECT_SUCCEEDS(copy(source, own));
            EXPECT_FAILS(copy(source, own), failed, EACCES);
            EXPECT_FAILS(copy(source, closed), failed, EACCES);
            // It may write there, but not set the permission bits.
            if (is_anothers)
            {
                EXPECT_FAILS(copy(source, open_to_all), failed, EPERM);
            }
        });
    EXPECT_EQ(read_file(closed), "kept");
    EXPECT_EQ(read_file(open_to_all), "kept");
}

INSTANTIATE_TEST_SUITE_P(Forms, FileCopying, testing::Bool(),
                         [](const auto& form) { return form.param ? "Wide" : "Narrow"; });

TEST(FileCopyArguments, AreRefused)
{
    const test::Scratch scratch;
    const std::wstring name = widened(scratch.path()) + L"/\x110000";
    EXPECT_FAILS(Mirovan_File_CopyFileA(nullptr, "x", false), ERROR_MIROVAN_FILE_COPY_PARAMETER,
                 EINVAL);
    EXPECT_FAILS(Mirovan_File_CopyFileW(L"x", nullptr, false), ERROR_MIROVAN_FILE_COPY_PARAMETER);
    for (const bool fail_if_exists : {false, true})
    {
        EXPECT_FAILS(Mirovan_File_CopyFileW(L"/etc/passwd", name.c_str(), fail_if_exists),
                     ERROR_MIROVAN_FILE_COPY_FAILED, EILSEQ);
        EXPECT_FAILS(Mirovan_File_CopyFileW(name.c_str(), L"x", fail_if_exists),
                     ERROR_MIROVAN_FILE_COPY_FAILED, EILSEQ);
    }
}

} // namespace
