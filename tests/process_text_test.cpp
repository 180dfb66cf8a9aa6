#include "platform/linux/process_text.h"

#include <gtest/gtest.h>
#include <map>
#include <string>

namespace
{

using namespace mirovan::platform;

const std::string behind_name =
    " S 1 2 2 0 -1 4194560 100 200 3000 4 50 60 7 8 20 -5 9 0 123456 4096000 250 "
    "18446744073709551615 1 1 0 0 0 0 0 0 0 0 0 0 17 3 0 0";

TEST(ProcessText, OnlyCompleteTextsMakeARecord)
{
    const std::string stat = "42 (sh)" + behind_name;
    const std::size_t needed = stat.find(" 17 ") + 2;
    for (std::size_t length = 0; length < needed; ++length)
        EXPECT_FALSE(parse_process_stat(stat.substr(0, length))) << length;
    const auto changed = [&](const std::string& from, const std::string& to)
    { return std::string{stat}.replace(stat.find(from), from.size(), to); };
    EXPECT_FALSE(parse_process_stat(changed(" 9 0 123456", " 0 0 123456")));
    EXPECT_FALSE(parse_process_stat(changed(" 17 ", " -1 "))->leads) << "a thread";
    const auto memory = parse_process_memory("1000 40 30 1 0 20 0\n");
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory->virtual_pages, 1000U);
    EXPECT_EQ(memory->resident_pages, 40U);
    for (const char* text : {"", "1000", "1000 ", "1000 40", "x 40 30"})
        EXPECT_FALSE(parse_process_memory(text)) << text;
}

TEST(ProcessText, StatesAreThoseOfMacOS)
{
    for (const auto& [letter, status] : std::map<char, std::uint32_t>{
             {'R', 2}, {'S', 2}, {'D', 3}, {'I', 1}, {'T', 4}, {'t', 4}, {'Z', 5}, {'X', 5}})
        EXPECT_EQ(process_status(letter), status) << letter;
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
        const ProcessStat stat{
            .user_ticks = used / 2, .system_ticks = used - used / 2, .start_ticks = start};
        EXPECT_EQ(start_second(start, rate, booted), started) << rate;
        EXPECT_NEAR(usage_share(stat, rate, now), share, 1) << rate;
    }
}

} // namespace
