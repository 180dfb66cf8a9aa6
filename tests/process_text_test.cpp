#include "platform/linux/process_text.h"
#include "platform/linux/tag_table.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

namespace
{

using namespace mirovan::platform;

const std::string behind_name = " S 1 2 2 0 -1 4194560 100 200 3000 4 50 60 7 8 20 0 9 0 123456 "
                                "4096000 250 18446744073709551615 1 1";

TEST(ProcessText, StatFieldsFollowTheLastParenthesis)
{
    for (const std::string name : {"sh", "", ") R 1 (", "a\nb", "))", "("})
    {
        const std::string text = "42 (" + name + ")" + behind_name + "\n";
        const auto stat = parse_process_stat(text);
        ASSERT_TRUE(stat) << name;
        EXPECT_EQ(stat->name, name);
        EXPECT_EQ(stat->major_faults, 3000U);
        EXPECT_EQ(stat->used_ticks, 110U);
        EXPECT_EQ(stat->start_ticks, 123456U);
    }
}

TEST(ProcessText, OnlyWholeTextsMakeARecord)
{
    const std::string stat = "42 (sh)" + behind_name;
    const std::size_t needed = stat.find("123456") + 1;
    for (std::size_t length = 0; length < needed; ++length)
        EXPECT_FALSE(parse_process_stat(stat.substr(0, length))) << length;
    std::string removed = stat;
    removed.replace(removed.find(" 9 0 123456"), 2, " 0");
    EXPECT_FALSE(parse_process_stat(removed));
    const std::string status = "Name:\tsh\nState:\tD (disk sleep)\nTgid:\t42\nUid:\t1\t2\t3\t4\n"
                               "VmSize:\t    100 kB\nVmRSS:\t  40 kB\nThreads:\t7";
    const auto record = parse_process_status(status);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->state, 'D');
    EXPECT_EQ(record->thread_group, 42U);
    EXPECT_EQ(record->effective_user, 2U);
    EXPECT_EQ(record->threads, 7U);
    EXPECT_EQ(record->virtual_size, 102400U);
    EXPECT_EQ(record->resident_size, 40960U);
    for (std::size_t length = 0; length < status.size(); ++length)
        EXPECT_FALSE(parse_process_status(status.substr(0, length))) << length;
    EXPECT_FALSE(parse_process_status(status.substr(0, status.size() - 1) + "0"));
}

TEST(ProcessText, FiguresFollowTheTickRateAndTheClock)
{
    constexpr std::int64_t booted = 1'700'000'000;
    const struct
    {
        std::uint64_t rate;
        std::uint64_t start;
        std::uint64_t used;
        double now;
        std::int64_t started;
        int share;
    } cases[] = {{100, 199, 100, 2.99, booted + 1, 1000},
                 {250, 1000, 125, 6, booted + 4, 250},
                 {1000, 4999, 1500, 5.999, booted + 4, 1500},
                 {100, 500, 1, 5, booted + 5, 0},
                 {100, 500, 0, 4, booted + 5, 0}};
    for (const auto& [rate, start, used, now, started, share] : cases)
    {
        EXPECT_EQ(start_second(start, rate, booted), started) << rate;
        EXPECT_EQ(start_second(start, rate, booted + 3600), started + 3600) << rate;
        EXPECT_NEAR(usage_share({"", 0, used, start}, rate, now), share, 1) << rate;
    }
}

TEST(TagTable, EntriesOfEndedThreadsAreUsedAgainWithoutTheirTags)
{
    std::set<ThreadKey> alive{10, 11, 12};
    const auto is_alive = [&](ThreadKey key) { return alive.contains(key); };
    TagTable<3> table;
    for (const ThreadKey thread : {10U, 11U, 12U})
        EXPECT_TRUE(table.set(thread, static_cast<int>(thread), is_alive));
    EXPECT_FALSE(table.set(13, 1, is_alive));
    EXPECT_TRUE(table.set(13, 0, is_alive)) << "no tag needs no entry";
    alive = {10, 12, 13, 14};
    EXPECT_TRUE(table.set(13, -5, is_alive));
    EXPECT_FALSE(table.set(14, 1, is_alive));
    EXPECT_TRUE(table.set(12, 99, is_alive));
    EXPECT_EQ(table.get(10), 10);
    EXPECT_EQ(table.get(11), 0);
    EXPECT_EQ(table.get(12), 99);
    EXPECT_EQ(table.get(13), -5);
}

} // namespace
