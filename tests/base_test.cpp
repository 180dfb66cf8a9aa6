#include "base/shell_word.h"
#include "base/string.h"
#include "source/table.h"
#include "tests/support/support.h"

#include <algorithm>
#include <array>
#include <malloc.h>
#include <random>

extern "C" int fuzz_text(const std::uint8_t* data, std::size_t size);

namespace
{

/// What the fuzz target judges by other means ends the process when it is wrong.
void check(const void* text, std::size_t size)
{
    fuzz_text(static_cast<const std::uint8_t*>(text), size);
}

TEST(Text, EveryCharacterIsConvertedAsIconvDoes)
{
    for (std::uint32_t value = 1; value < 0x120000; value += value < 0x1000 ? 1 : 251)
        check(std::array<std::uint32_t, 2>{'a', value}.data(), 8);
    for (const std::uint32_t value :
         {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU, 0x10FFFFU, 0x110000U, 0x80000000U})
        check(std::array{value}.data(), 4);
}

TEST(Text, BytesAreJudgedAndPathsSplitAsByOtherMeans)
{
    // Mostly bytes that open or continue a character, so that valid texts occur too.
    const std::string pool =
        "az/.b\x7F\x80\xBF\xC1\xC3\xA9\xE0\x9F\xED\xA0\xEF\xBF\xF0\x90\xF4\x8F";
    std::mt19937 random{20240305};
    for (int round = 0; round < 20'000; ++round)
    {
        std::string text(random() % 24, 'x');
        const std::size_t plain = random() % 24;
        for (std::size_t at = 0; at < text.size(); ++at)
            text[at] = pool[random() % (at < plain ? 5 : pool.size())];
        check(text.data(), text.size());
    }
}

TEST(Text, IsCutAtACharacter)
{
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"", "short", "short"},
        {"", "1234567", "1234567"},
        {"", "12345678", "1234567"},
        {"", "12345\xE2\x82\xAC", "12345"},
        {"", "1234\xE2\x82\xAC", "1234\xE2\x82\xAC"},
        {"abc", "d\xF0\x9F\x8E\x89", "abcd"},
        {"1234567", "8", "1234567"},
        {"", std::string(9, '\x80'), std::string(7, '\x80')}};
    for (const auto& [held, text, expected] : cases)
    {
        std::array<char, 9> room;
        room.fill('#');
        const std::span<char> dest = std::span{room}.first(8);
        mirovan::copy_cut(dest, held);
        EXPECT_EQ(mirovan::append_cut(dest, text), held + text == expected);
        EXPECT_EQ(room.data(), expected);
        EXPECT_EQ(room[8], '#');
    }
}

TEST(ShellWord, ReachesTheCommandUnchanged)
{
    for (const std::string text :
         {"", "plain", "two words", "it's", "$(exit 1)`x`;&|<>*?\"\\\n", "-n"})
        EXPECT_EQ(test::shell_output("printf %s " + mirovan::shell_word(text)), text);
}

TEST(RowTable, HasClearedAlignedRowsAndANullBehindThem)
{
    // A heap block of that size is mapped, unless freeing a larger one has changed the heap.
    const auto is_mapped = [](std::size_t size)
    {
#ifdef __GLIBC__
        const std::size_t before = mallinfo2().hblks;
        void* volatile block = std::malloc(size);
        const bool mapped = mallinfo2().hblks != before;
        std::free(block);
        return mapped;
#else
        return size == 0;
#endif
    };
    const bool was_mapped = is_mapped(std::size_t{1} << 20U);
    for (const auto& [rows, size] : {std::pair{3, 1024}, {1, 1}, {5, 13}, {70, 1028}, {4000, 4096}})
    {
        char** table = nullptr;
        ASSERT_TRUE(mirovan::make_table(&table, rows, static_cast<std::size_t>(size)));
        for (int row = 0; row < rows; ++row)
        {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(table[row]) % alignof(std::max_align_t), 0);
            EXPECT_EQ(std::count(table[row], table[row] + size, '\0'), size);
            std::fill_n(table[row], size, '#');
        }
        EXPECT_EQ(table[rows], nullptr);
        EXPECT_TRUE(Fundix_Memory_Free(reinterpret_cast<void***>(&table), rows));
        EXPECT_EQ(table, nullptr);
    }
    EXPECT_EQ(is_mapped(std::size_t{2} << 20U), was_mapped) << "the heap was changed for good";
}

TEST(RowTable, IsNullWithoutRowsOrMemory)
{
    for (const auto& [rows, size] :
         {std::pair{0, std::size_t{1024}}, {2, std::size_t{PTRDIFF_MAX}}})
    {
        char* something = nullptr;
        char** table = &something;
        EXPECT_EQ(mirovan::make_table(&table, rows, size), rows == 0);
        EXPECT_EQ(table, nullptr);
        EXPECT_TRUE(Fundix_Memory_Free(reinterpret_cast<void***>(&table), rows));
    }
    EXPECT_TRUE(Fundix_Memory_Malloc(nullptr, 2, 8));
    EXPECT_FALSE(Fundix_Memory_Free(nullptr, 3));
}

} // namespace
