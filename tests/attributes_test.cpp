#include "tests/support/support.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

using test::Scratch;
using test::widened;

bool attributes_of(const std::string& path, bool wide, MIROVAN_FILE_ATTR& record)
{
    return wide ? Mirovan_File_GetFileAttrW(widened(path).c_str(), &record)
                : Mirovan_File_GetFileAttrA(path.c_str(), &record);
}

/// Both forms: an algorithm over two forms of text.
class Attributes : public testing::TestWithParam<bool>
{
protected:
    Scratch scratch_;
};

TEST_P(Attributes, AgreeWithStat)
{
    const std::string odd_name = "n\xC3\xA4me \xF0\x9F\x8E\x89\n.txt";
    std::filesystem::create_symlink(scratch_.folder("folder"), scratch_ / "link");
    ASSERT_EQ(mkfifo((scratch_ / "fifo").c_str(), 0600), 0);
    for (const std::string& path :
         {scratch_.file("empty"), scratch_.file("file", "12345"), scratch_.file(odd_name, "x"),
          scratch_ / "folder", scratch_ / "folder/", scratch_ / "link", scratch_ / "fifo",
          std::string{"/dev/null"}, std::string{"."}, std::string{"/etc/passwd"}})
    {
        struct stat status = {};
        ASSERT_EQ(stat(path.c_str(), &status), 0) << path;
        MIROVAN_FILE_ATTR record{};
        EXPECT_SUCCEEDS(attributes_of(path, GetParam(), record)) << path;
        EXPECT_EQ(record.nFileSize, status.st_size) << path;
        EXPECT_EQ(record.nCreateTime, status.st_ctim.tv_sec) << path;
        EXPECT_EQ(record.nAccessTime, status.st_atim.tv_sec) << path;
        EXPECT_EQ(record.nModifyTime, status.st_mtim.tv_sec) << path;
        EXPECT_EQ(record.bIsFile, !std::filesystem::is_directory(path)) << path;
        EXPECT_EQ(record.bIsHidden, path == ".") << path;
        EXPECT_TRUE(record.bIsReadable) << path;
    }
}

TEST_P(Attributes, TimesAreThoseOfTheirNames)
{
    const std::string path = scratch_.file("file", "x");
    const timespec times[] = {{1'000'000'000, 999'999'999}, {1'100'000'000, 5}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    MIROVAN_FILE_ATTR record{};
    EXPECT_SUCCEEDS(attributes_of(path, GetParam(), record));
    EXPECT_EQ(record.nAccessTime, 1'000'000'000);
    EXPECT_EQ(record.nModifyTime, 1'100'000'000);
    EXPECT_NEAR(static_cast<double>(record.nCreateTime), static_cast<double>(time(nullptr)), 60);
}

TEST_P(Attributes, HiddenLooksAtTheFirstCharacterOfThePath)
{
    scratch_.file(".profile");
    std::filesystem::create_directory(scratch_ / ".folder");
    const struct
    {
        const char* path;
        bool hidden;
    } cases[] = {{".", true},  {"./.profile", true}, {".profile", true},
                 {"..", true}, {".folder/", true},   {"/", false}};
    test::in_child(
        [&]
        {
            ASSERT_EQ(chdir(scratch_.path().c_str()), 0);
            for (const auto& [path, hidden] : cases)
            {
                MIROVAN_FILE_ATTR record{};
                EXPECT_SUCCEEDS(attributes_of(path, GetParam(), record)) << path;
                EXPECT_EQ(record.bIsHidden, hidden) << path;
            }
        });
    MIROVAN_FILE_ATTR record{};
    EXPECT_SUCCEEDS(attributes_of(scratch_ / ".profile", GetParam(), record));
    EXPECT_FALSE(record.bIsHidden);
}

TEST_P(Attributes, FailuresLeaveTheRecordAlone)
{
    std::filesystem::create_symlink("nowhere", scratch_ / "dangling");
    std::filesystem::create_symlink("loop", scratch_ / "loop");
    const std::string file = scratch_.file("file");
    const struct
    {
        std::string path;
        int reason;
    } cases[] = {{"", ENOENT},
                 {scratch_ / "missing", ENOENT},
                 {scratch_ / "dangling", ENOENT},
                 {scratch_ / "loop", ELOOP},
                 {file + "/below", ENOTDIR},
                 {scratch_ / std::string(300, 'n'), ENAMETOOLONG},
                 {std::string(5000, 'n'), ENAMETOOLONG}};
    MIROVAN_FILE_ATTR untouched;
    std::memset(&untouched, 0x5A, sizeof untouched);
    for (const auto& [path, reason] : cases)
    {
        MIROVAN_FILE_ATTR record = untouched;
        EXPECT_FAILS(attributes_of(path, GetParam(), record), ERROR_MIROVAN_FILE_ATTR_NOTFOUND,
                     reason)
            << path;
        EXPECT_EQ(std::memcmp(&record, &untouched, sizeof record), 0) << path;
    }
}

TEST_P(Attributes, OfAnotherUsersFiles)
{
    const std::string secret = scratch_.file("secret", "x");
    scratch_.file("closed/file");
    ASSERT_EQ(chmod(secret.c_str(), 0), 0);
    ASSERT_EQ(chmod((scratch_ / "closed").c_str(), 0644), 0);
    test::as_ordinary_user(
        [&]
        {
            MIROVAN_FILE_ATTR record{};
            EXPECT_SUCCEEDS(attributes_of(secret, GetParam(), record));
            EXPECT_FALSE(record.bIsReadable);
            EXPECT_EQ(record.nFileSize, 1);
            EXPECT_FAILS(attributes_of(scratch_ / "closed/file", GetParam(), record),
                         ERROR_MIROVAN_FILE_ATTR_NOTFOUND, EACCES);
        });
}

INSTANTIATE_TEST_SUITE_P(Form, Attributes, testing::Bool(),
                         [](const auto& form) { return form.param ? "Wide" : "Narrow"; });

TEST(AttributesParameters, NullsAreRefused)
{
    MIROVAN_FILE_ATTR record{};
    EXPECT_FAILS(Mirovan_File_GetFileAttrA(nullptr, &record), ERROR_MIROVAN_FILE_ATTR_PARAMETER);
    EXPECT_FAILS(Mirovan_File_GetFileAttrA("/", nullptr), ERROR_MIROVAN_FILE_ATTR_PARAMETER);
    EXPECT_FAILS(Mirovan_File_GetFileAttrW(nullptr, &record), ERROR_MIROVAN_FILE_ATTR_PARAMETER);
    EXPECT_FAILS(Mirovan_File_GetFileAttrW(L"/", nullptr), ERROR_MIROVAN_FILE_ATTR_PARAMETER);
}

TEST(AttributesWide, PathsGoThroughABufferOfFixedSize)
{
    // 1,023 bytes fit, one more does not, counted in UTF-8.
    MIROVAN_FILE_ATTR record{};
    const std::string stem = "/" + std::string(1014, '.').replace(0, 1014, 507 * 2, '/') + "dev/";
    ASSERT_EQ(stem.size(), 1019U);
    EXPECT_SUCCEEDS(Mirovan_File_GetFileAttrW(widened(stem + "null").c_str(), &record));
    EXPECT_FAILS(Mirovan_File_GetFileAttrW(widened("/" + stem + "null").c_str(), &record),
                 ERROR_MIROVAN_FILE_ATTR_NOTFOUND, ENAMETOOLONG);
    EXPECT_SUCCEEDS(Mirovan_File_GetFileAttrA(("/" + stem + "null").c_str(), &record));
    for (const wchar_t bad : {wchar_t{0xD800}, wchar_t{0xDFFF}, wchar_t{0x110000}, wchar_t{-1}})
    {
        const wchar_t path[] = {L'/', bad, 0};
        EXPECT_FAILS(Mirovan_File_GetFileAttrW(path, &record), ERROR_MIROVAN_FILE_ATTR_NOTFOUND,
                     EILSEQ);
    }
}

} // namespace
