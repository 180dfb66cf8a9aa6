#include "tests/support/meanwhile.h"
#include "tests/support/narrow_place.h"
#include "tests/support/support.h"

#include <fstream>
#include <thread>

namespace
{

namespace fs = std::filesystem;
using test::widened;

class FileDeletion : public testing::TestWithParam<bool>
{
protected:
    static bool remove(const std::string& path, bool with_root)
    {
        return GetParam() ? Mirovan_File_DeleteMutilFolderW(widened(path).c_str(), with_root)
                          : Mirovan_File_DeleteMutilFolderA(path.c_str(), with_root);
    }

    std::string make_tree() const
    {
        for (const char* name : {"a/b/c/deep", "a/.hidden", ".dot/.x", "new\nline", "bad\xFF\xFE",
                                 " ", "-rf", "a/\xC3\xA4"})
            scratch_.file(std::string{"tree/"} + name, "x");
        scratch_.folder("tree/empty");
        scratch_.file("outside/kept", "x");
        fs::create_symlink(scratch_ / "outside", scratch_ / "tree/a/link");
        fs::create_symlink("nowhere", scratch_ / "tree/dangling");
        return scratch_ / "tree";
    }

    test::Scratch scratch_;
};

TEST_P(FileDeletion, TakesAllThatIsInTheFolder)
{
    const test::Held before = test::Held::now();
    for (const std::string end : {"", "/"})
    {
        const std::string tree = make_tree();
        EXPECT_SUCCEEDS(remove(tree + end, false));
        EXPECT_TRUE(fs::is_empty(tree));
        EXPECT_SUCCEEDS(remove(tree, false));
        make_tree();
        EXPECT_SUCCEEDS(remove(tree + end, true));
        EXPECT_FALSE(fs::exists(tree));
        EXPECT_TRUE(fs::exists(scratch_ / "outside/kept"));
    }
    EXPECT_EQ(test::Held::now(), before);
}

TEST_P(FileDeletion, OfWhatIsNoFolder)
{
    const std::string file = scratch_.file("file");
    fs::create_symlink(file, scratch_ / "to-file");
    for (const bool with_root : {false, true})
        for (const std::string& path : {std::string{}, scratch_ / "missing", file, file + "/below",
                                        scratch_ / "to-file", std::string{"/dev/null"}})
            EXPECT_SUCCEEDS(remove(path, with_root)) << path;
    EXPECT_TRUE(fs::exists(scratch_ / "to-file"));

    // A link to a folder leads to its content; as the root of a tree it is itself what goes.
    make_tree();
    for (const char* link : {"link", "link/", "link///"})
    {
        fs::create_symlink(scratch_ / "tree", scratch_ / "link");
        EXPECT_SUCCEEDS(remove(scratch_ / link, true));
        EXPECT_FALSE(fs::is_symlink(scratch_ / "link"));
        EXPECT_TRUE(fs::exists(scratch_ / "tree/a/b/c/deep"));
    }
    fs::create_symlink(scratch_ / "tree", scratch_ / "link");
    EXPECT_SUCCEEDS(remove(scratch_ / "link", false));
    EXPECT_TRUE(fs::is_empty(scratch_ / "link"));

    fs::create_symlink("loop", scratch_ / "loop");
    EXPECT_FAILS(remove(scratch_ / "loop", true), ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, ELOOP);
    EXPECT_FAILS(remove(std::string(5000, 'n'), true), ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED,
                 ENAMETOOLONG);
}

TEST_P(FileDeletion, GoesOnPastWhatCannotBeRemoved)
{
    test::as_ordinary_user(
        [&]
        {
            umask(0);
            const std::string tree = make_tree();
            scratch_.file("tree/a/b/stays/file");
            scratch_.file("tree/unreadable/file");
            scratch_.folder("tree/unreadable-empty");
            chmod((tree + "/a/b/stays").c_str(), 0555);
            chmod((tree + "/unreadable").c_str(), 0);
            chmod((tree + "/unreadable-empty").c_str(), 0);
            EXPECT_FAILS(remove(tree, true), ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, EACCES);
            EXPECT_EQ(test::shell_output("cd '" + tree + "' && find . 2>/dev/null | sort"),
                      ".\n./a\n./a/b\n./a/b/stays\n./a/b/stays/file\n./unreadable\n");
            EXPECT_FAILS(remove(tree + "/unreadable", false),
                         ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, EACCES);
            EXPECT_FAILS(remove(tree + "/unreadable/x", false),
                         ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, EACCES);
        });
}

TEST_P(FileDeletion, TogetherWithAnother)
{
    for (int file = 0; file < 1000; ++file)
        scratch_.file("tree/" + std::to_string(file % 50) + "/" + std::to_string(file));
    std::thread other{[&] { test::shell_output("rm -rf '" + (scratch_ / "tree") + "'"); }};
    EXPECT_SUCCEEDS(remove(scratch_ / "tree", true));
    other.join();
    EXPECT_FALSE(fs::exists(scratch_ / "tree"));
}

TEST_P(FileDeletion, NeverFollowsALinkPutInAFoldersPlace)
{
    const std::string victim = scratch_ / "tree/a";
    const test::Meanwhile attacker{[&]
                                   {
                                       std::error_code failed;
                                       fs::rename(victim, scratch_ / "tree/moved", failed);
                                       fs::create_symlink(scratch_ / "outside", victim, failed);
                                       unlink(victim.c_str());
                                   }};
    for (int round = 0; round < 300 && !HasFailure(); ++round)
    {
        for (const char* folder : {"outside", "tree/a/b", "tree/a"})
        {
            std::error_code meanwhile;
            fs::create_directories(scratch_ / folder, meanwhile);
            std::ofstream{(scratch_ / folder) + "/kept"};
        }
        remove(scratch_ / "tree", round % 2 == 0);
        EXPECT_TRUE(fs::exists(scratch_ / "outside/kept")) << round;
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, FileDeletion, testing::Bool(),
                         [](const auto& form) { return form.param ? "Wide" : "Narrow"; });

TEST(FileDeletionInANarrowPlace, OfTenThousandLevels)
{
    const test::Scratch scratch;
    test::make_deep(scratch.path(), "d", 10'000);
    test::in_child(
        [&]
        {
            test::in_a_narrow_place(
                [&] {
                    EXPECT_SUCCEEDS(Mirovan_File_DeleteMutilFolderA(scratch.path().c_str(), false));
                });
        });
    EXPECT_TRUE(fs::is_empty(scratch.path()));
}

TEST(FileDeletionArguments, AreRefused)
{
    EXPECT_FAILS(Mirovan_File_DeleteMutilFolderA(nullptr, true),
                 ERROR_MIROVAN_FILE_DELETEFOLDER_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_File_DeleteMutilFolderW(nullptr, false),
                 ERROR_MIROVAN_FILE_DELETEFOLDER_PARAMETER, EINVAL);
    EXPECT_FAILS(Mirovan_File_DeleteMutilFolderW(L"/tmp/\xDFFF", true),
                 ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED, EILSEQ);
}

} // namespace
