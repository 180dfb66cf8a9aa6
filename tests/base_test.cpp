#include "base/charset.h"
#include "base/shell_word.h"
#include "base/string.h"
#include "base/time.h"
#include "source/table.h"
#include "tests/support/support.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <iconv.h>
#include <malloc.h>
#include <optional>
#include <random>

namespace
{

/// What iconv makes of one wide text; nothing when it refuses.
std::optional<std::string> by_iconv(const std::wstring& wide)
{
    const iconv_t converter = iconv_open("UTF-8", "WCHAR_T");
    std::string result(wide.size() * 6 + 1, '\0');
    char* in = const_cast<char*>(reinterpret_cast<const char*>(wide.data()));
    char* out = result.data();
    std::size_t in_left = wide.size() * sizeof(wchar_t);
    std::size_t out_left = result.size();
    const std::size_t outcome = iconv(converter, &in, &in_left, &out, &out_left);
    iconv_close(converter);
    result.resize(result.size() - out_left);
    return outcome == static_cast<std::size_t>(-1) ? std::nullopt : std::optional{result};
}

std::optional<std::string> converted(const std::wstring& wide)
{
    std::array<char, 64> buffer;
    buffer.fill('#');
    int length = -7;
    if (Fundix_Charset_UnicodeToUTF(wide.c_str(), buffer, &length))
    {
        EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(buffer.data()));
        return buffer.data();
    }
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(length, -7);
    return std::nullopt;
}

TEST(Charset, EveryScalarValueAgreesWithIconvAndComesBack)
{
    for (std::uint32_t value = 1; value < 0x110000; value += value < 0x3000 ? 1 : 61)
    {
        const std::wstring wide{L'a', static_cast<wchar_t>(value)};
        const auto narrow = converted(wide);
        ASSERT_EQ(narrow, by_iconv(wide)) << std::hex << value;
        std::wstring back;
        if (narrow)
        {
            ASSERT_TRUE(mirovan::is_utf8(*narrow) && mirovan::widen(*narrow, back));
            ASSERT_EQ(back, wide);
        }
    }
    for (const std::uint32_t bad : {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU, 0x110000U, 0x80000000U})
        EXPECT_EQ(converted({static_cast<wchar_t>(bad)}), std::nullopt) << std::hex << bad;
}

TEST(Charset, RandomBytesAreJudgedAsIconvDoes)
{
    std::mt19937 random{20240305};
    const iconv_t judge = iconv_open("WCHAR_T", "UTF-8");
    for (int round = 0; round < 20000; ++round)
    {
        std::string text(random() % 24, 'x');
        // Mostly bytes that open or continue a character, so that valid texts occur too.
        const std::string pool =
            "az\x7F\x80\xBF\xC1\xC3\xA9\xE0\x9F\xED\xA0\xEF\xBF\xF0\x90\xF4\x8F";
        for (char& byte : text)
            byte = pool[random() % pool.size()];
        wchar_t wide_text[32];
        char* in = text.data();
        char* out = reinterpret_cast<char*>(wide_text);
        std::size_t in_left = text.size();
        std::size_t out_left = sizeof wide_text;
        iconv(judge, nullptr, nullptr, nullptr, nullptr);
        bool valid = iconv(judge, &in, &in_left, &out, &out_left) == 0;
        const std::wstring judged(wide_text, (sizeof wide_text - out_left) / sizeof(wchar_t));
        // iconv lets values above the last character of Unicode pass.
        valid = valid && std::none_of(judged.begin(), judged.end(),
                                      [](wchar_t value) { return value > 0x10FFFF; });
        std::wstring wide;
        ASSERT_EQ(mirovan::is_utf8(text), valid) << testing::PrintToString(text);
        ASSERT_EQ(mirovan::widen(text, wide), valid);
        if (valid)
        {
            ASSERT_EQ(wide, judged);
        }
    }
    iconv_close(judge);
}

TEST(Charset, NothingIsWrittenPastTheDestination)
{
    const struct
    {
        const wchar_t* text;
        std::size_t bytes;
    } cases[] = {{L"", 0}, {L"abc", 3}, {L"ab\xE9", 4}, {L"\x20AC", 3}, {L"x\x1F389", 5}};
    for (const auto& [text, bytes] : cases)
    {
        for (std::size_t size = 1; size < 8; ++size)
        {
            std::array<char, 10> room;
            room.fill('#');
            errno = 0;
            const bool fits =
                Fundix_Charset_UnicodeToAnsi(text, std::span{room}.first(size), nullptr);
            EXPECT_EQ(fits, bytes < size);
            EXPECT_EQ(std::strlen(room.data()), fits ? bytes : 0);
            EXPECT_EQ(errno, fits ? 0 : ENAMETOOLONG);
            EXPECT_EQ(std::string_view(room.data() + size, room.size() - size),
                      std::string(room.size() - size, '#'));
        }
    }
}

TEST(RowTable, HasClearedAlignedRowsAndANullBehindThem)
{
#ifdef __GLIBC__
    // A heap block of that size is mapped, unless freeing a larger one has changed the heap.
    const auto is_mapped = [](std::size_t size)
    {
        const std::size_t before = mallinfo2().hblks;
        void* volatile block = std::malloc(size);
        const bool mapped = mallinfo2().hblks != before;
        std::free(block);
        return mapped;
    };
    const bool was_mapped = is_mapped(std::size_t{1} << 20U);
#endif
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
#ifdef __GLIBC__
    EXPECT_EQ(is_mapped(std::size_t{2} << 20U), was_mapped) << "the heap was changed for good";
#endif
    char** none = nullptr;
    EXPECT_TRUE(Fundix_Memory_Free(reinterpret_cast<void***>(&none), 0));
    EXPECT_FALSE(Fundix_Memory_Free(nullptr, 3));
}

TEST(RowTable, IsNullWithoutRowsOrMemory)
{
    char* something = nullptr;
    char** table = &something;
    EXPECT_TRUE(mirovan::make_table(&table, 0, 1024));
    EXPECT_EQ(table, nullptr);
    table = &something;
    EXPECT_FALSE(mirovan::make_table(&table, 2, PTRDIFF_MAX));
    EXPECT_EQ(table, nullptr);
    EXPECT_TRUE(Fundix_Memory_Malloc(nullptr, 2, 8));
}

template <class Char>
std::basic_string<Char> form(const std::string& text)
{
    return {text.begin(), text.end()};
}

template <class Char>
void check_split(const std::string& path, const std::string& folder, const std::string& file,
                 const std::string& extension)
{
    std::array<Char, 32> parts[3]{};
    const auto split =
        [](const Char* whole, std::span<Char> a, std::span<Char> b, std::span<Char> c)
    {
        if constexpr (std::is_same_v<Char, char>)
            return Fundix_String_GetFileAndPathA(whole, a, b, c);
        else
            return Fundix_String_GetFileAndPathW(whole, a, b, c);
    };
    EXPECT_TRUE(split(form<Char>(path).c_str(), parts[0], parts[1], parts[2]));
    EXPECT_EQ(parts[0].data(), form<Char>(folder)) << path;
    EXPECT_EQ(parts[1].data(), form<Char>(file)) << path;
    EXPECT_EQ(parts[2].data(), form<Char>(extension)) << path;

    // Each part has exactly the room it needs, or one character too little.
    const std::size_t sizes[] = {folder.size(), file.size(), extension.size()};
    for (std::size_t part = 0; part < 3; ++part)
    {
        std::span<Char> outputs[3];
        parts[part].fill('#');
        outputs[part] = std::span{parts[part]}.first(sizes[part] + 1);
        EXPECT_TRUE(split(form<Char>(path).c_str(), outputs[0], outputs[1], outputs[2]));
        if (sizes[part] == 0)
            continue;
        outputs[part] = outputs[part].first(sizes[part]);
        EXPECT_FALSE(split(form<Char>(path).c_str(), outputs[0], outputs[1], outputs[2]));
        EXPECT_EQ(parts[part][0], Char{}) << path;
        EXPECT_EQ(parts[part][sizes[part] + 1], Char{'#'}) << path;
    }
}

TEST(PathSplit, BothFormsAgree)
{
    const struct
    {
        const char* path;
        const char* folder;
        const char* file;
        const char* extension;
    } cases[] = {
        {"/a/b/name.tar.gz", "/a/b", "name.tar.gz", "gz"},
        {"/a/b/*", "/a/b", "*", ""},
        {"/a/b/*.txt", "/a/b", "*.txt", "txt"},
        {"name", ".", "name", ""},
        {"/name.c", "/", "name.c", "c"},
        {"a.b/c", "a.b", "c", ""},
        {"a//b", "a/", "b", ""},
        {"a/", "a", "", ""},
        {"a/.profile", "a", ".profile", "profile"},
        {"a/b.", "a", "b.", ""},
        {"a\\b.c", ".", "a\\b.c", "c"},
        {"", ".", "", ""},
    };
    for (const auto& [path, folder, file, extension] : cases)
    {
        check_split<char>(path, folder, file, extension);
        check_split<wchar_t>(path, folder, file, extension);
    }
}

TEST(Text, BetweenMarkers)
{
    const struct
    {
        const char* source;
        const char* expected;
    } cases[] = {{"Speed: 2.4 GHz", "2.4"},
                 {"Speed:  GHz", ""},
                 {"Speed: 2.4", ""},
                 {"speed: 2.4 GHz", ""},
                 {"x Speed: 1 Speed: 2 z", "1"},
                 {"Speed: 1234567 GHz", "1234567"},
                 {"Speed: 12345678 GHz", ""},
                 {"", ""}};
    for (const auto& [source, expected] : cases)
    {
        std::array<char, 9> room;
        room.fill('#');
        const bool found =
            Fundix_String_GetStartEndA(source, std::span{room}.first(8), "Speed: ", " ");
        EXPECT_STREQ(room.data(), expected) << source;
        EXPECT_EQ(found, *expected != '\0' || std::string{source} == "Speed:  GHz") << source;
        EXPECT_EQ(room[8], '#');
    }
}

TEST(Text, IsCutAtACharacter)
{
    const struct
    {
        const char* held;
        const char* text;
        const char* expected;
    } cases[] = {{"", "short", "short"},
                 {"", "1234567", "1234567"},
                 {"", "12345678", "1234567"},
                 {"", "12345\xE2\x82\xAC", "12345"},
                 {"", "1234\xE2\x82\xAC", "1234\xE2\x82\xAC"},
                 {"abc", "d\xF0\x9F\x8E\x89", "abcd"},
                 {"1234567", "8", "1234567"},
                 {"", "\x80\x80\x80\x80\x80\x80\x80\x80\x80", "\x80\x80\x80\x80\x80\x80\x80"}};
    for (const auto& [held, text, expected] : cases)
    {
        std::array<char, 9> room;
        room.fill('#');
        const std::span<char> dest = std::span{room}.first(8);
        mirovan::copy_cut(dest, held);
        const bool whole = mirovan::append_cut(dest, text);
        EXPECT_STREQ(room.data(), expected);
        EXPECT_EQ(whole, std::string{held} + text == expected);
        EXPECT_EQ(room[8], '#');
    }
}

TEST(ShellWord, ReachesTheCommandUnchanged)
{
    for (const std::string text :
         {"", "plain", "two words", "it's", "$(exit 1)`x`;&|<>*?\"\\\n", "-n"})
        EXPECT_EQ(test::shell_output("printf %s " + mirovan::shell_word(text)), text);
}

TEST(TickCount, CountsMillisecondsSinceTheStart)
{
    const auto by_proc = std::stod(test::read_file("/proc/uptime"));
    EXPECT_NEAR(static_cast<double>(Fundix_Time_GetTickCount()) / 1000, by_proc, 1);
}

} // namespace
