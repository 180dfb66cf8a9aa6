#include "platform/linux/mount_table.h"

#include <gtest/gtest.h>

namespace
{

using namespace mirovan::platform;

TEST(MountTable, LinesAreTakenApart)
{
    const auto mount = parse_mount_line("36 35 8:1 /sub /mnt/My\\040Disk rw,noatime shared:1 "
                                        "master:2 - fuse.sshfs me@host:/a\\011b ro,user_id=0");
    ASSERT_TRUE(mount);
    EXPECT_EQ(mount->id, 36U);
    EXPECT_EQ(mount->parent, 35U);
    EXPECT_EQ(mount->device, (DeviceNumber{8, 1}));
    EXPECT_EQ(mount->root, "/sub");
    EXPECT_EQ(unescape_octal(mount->point), "/mnt/My Disk");
    EXPECT_EQ(mount->options, "rw,noatime");
    EXPECT_EQ(mount->type, "fuse.sshfs");
    EXPECT_EQ(unescape_octal(mount->source), "me@host:/a\tb");
    EXPECT_EQ(mount->volume_options, "ro,user_id=0");
    const auto nameless = parse_mount_line("1 0 0:5 / / rw - tmpfs  rw");
    ASSERT_TRUE(nameless);
    EXPECT_EQ(nameless->source, "");
    EXPECT_EQ(nameless->volume_options, "rw");
    for (const char* bad : {"", " ", "x 1 0:1 / / rw - ext4 a rw", "1 1 0 / / rw - ext4 a rw",
                            "1 1 0:1 / / rw ext4 a rw", "1 1 0:1 / / rw -", "-1 1 0:1 / / rw - x"})
        EXPECT_FALSE(parse_mount_line(bad)) << bad;
}

TEST(MountTable, EscapesAreThreeOctalDigits)
{
    EXPECT_EQ(unescape_octal(R"(\134\043\303\274)"), "\\#\xC3\xBC");
    EXPECT_EQ(unescape_octal(R"(a\04)"), R"(a\04)");
    EXPECT_EQ(unescape_octal(R"(\08\777\)"), R"(\08\777\)");
}

TEST(MountTable, MountIsFoundByItsIdElseByItsDevice)
{
    const char* table = "20 1 8:1 / / rw - ext4 /dev/sda1 rw\nbroken\n"
                        "30 20 0:40 / /data rw - btrfs /dev/sdb rw\n"
                        "31 20 8:1 /a /b ro - xfs /dev/sda1 rw";
    EXPECT_EQ(find_mount(table, 30, {8, 1})->point, "/data");
    EXPECT_EQ(find_mount(table, 0, {8, 1})->point, "/b");
    EXPECT_FALSE(find_mount(table, 32, {8, 1}));
    EXPECT_FALSE(find_mount(table, 0, {0, 41}));
}

} // namespace
