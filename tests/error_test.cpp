#include "tests/support/machine.h"
#include "tests/support/support.h"

#include <atomic>
#include <sstream>
#include <thread>

namespace
{

constexpr const char* missing = "/nonexistent-mirovan";

TEST(Error, CodeOutlivesASuccessAndTheFlagDoesNot)
{
    MIROVAN_FILE_ATTR attributes{};
    EXPECT_FAILS(Mirovan_File_GetFileAttrA(missing, &attributes), ERROR_MIROVAN_FILE_ATTR_NOTFOUND,
                 ENOENT);
    EXPECT_SUCCEEDS(Mirovan_File_GetFileAttrA("/", &attributes));
    EXPECT_EQ(Mirovan_GetLastError(nullptr), ERROR_MIROVAN_FILE_ATTR_NOTFOUND);
    EXPECT_EQ(Mirovan_GetThreadError(nullptr, nullptr), ERROR_MIROVAN_FILE_ATTR_NOTFOUND);
}

TEST(Error, QueriesReadErrnoAndLeaveTheStateAlone)
{
    EXPECT_FAILS(Mirovan_File_GetFileAttrA(nullptr, nullptr), ERROR_MIROVAN_FILE_ATTR_PARAMETER,
                 EINVAL);
    errno = EXDEV;
    int now = 0;
    int of_failure = 0;
    EXPECT_EQ(Mirovan_GetLastError(&now), ERROR_MIROVAN_FILE_ATTR_PARAMETER);
    EXPECT_EQ(Mirovan_GetThreadError(nullptr, &of_failure), ERROR_MIROVAN_FILE_ATTR_PARAMETER);
    EXPECT_EQ(now, EXDEV);
    EXPECT_EQ(of_failure, EINVAL);
    EXPECT_TRUE(Mirovan_IsErrorOccur);
}

TEST(Error, ForwardersAndMethodsAreTheSame)
{
    MIROVAN_FILE_ATTR by_function{};
    MIROVAN_FILE_ATTR by_method{};
    EXPECT_SUCCEEDS(Mirovan_File_GetFileAttrA("/etc/passwd", &by_function));
    EXPECT_SUCCEEDS(m_FileSdk.Mirovan_File_GetFileAttrA("/etc/passwd", &by_method));
    EXPECT_EQ(by_function.nModifyTime, by_method.nModifyTime);
    EXPECT_FAILS(m_FileSdk.Mirovan_File_GetFileAttrW(L"/nonexistent-mirovan", &by_method),
                 ERROR_MIROVAN_FILE_ATTR_NOTFOUND, ENOENT);
}

TEST(Error, CodesAreThoseOfTheStoredList)
{
    std::ostringstream codes;
    for (uint64_t code = 0x40A0000; code < 0x40B0000; ++code)
        if (const std::string text = Mirovan_GetErrorText(code); text.starts_with("ERROR_"))
            codes << std::hex << code << ' ' << text << '\n';
    test::expect_as_recorded(MIROVAN_TEST_MACHINES "/../abi/error-codes", codes.str());
    EXPECT_EQ(ERROR_MIROVAN_PROCESS_SETCPU_FAILED, 0x40A3020U);
    for (const uint64_t other : {uint64_t{0}, uint64_t{0x40A0052}, UINT64_MAX})
        EXPECT_EQ(std::string{Mirovan_GetErrorText(other)}.find("ERROR_"), std::string::npos);
    EXPECT_STREQ(Mirovan_GetVersion(), MIROVAN_VERSION);
}

TEST(Error, EachThreadHasItsOwn)
{
    std::atomic<int> wrong{0};
    const auto fail_often = [&wrong](const char* path, uint64_t expected)
    {
        bool occurred = true;
        int reason = -1;
        wrong += Mirovan_GetThreadError(&occurred, &reason) != 0 || occurred || reason != 0;
        for (int round = 0; round < 2000; ++round)
        {
            MIROVAN_FILE_ATTR attributes;
            const bool result = Mirovan_File_GetFileAttrA(path, &attributes);
            const uint64_t code = Mirovan_GetThreadError(&occurred, &reason);
            wrong += result == occurred || result != (expected == 0) || code != expected;
            wrong += Mirovan_GetLastError(nullptr) > ERROR_MIROVAN_PROCESS_SETCPU_FAILED;
        }
    };
    std::vector<std::thread> threads;
    for (int number = 0; number < 2; ++number)
    {
        threads.emplace_back(fail_often, "/", 0);
        threads.emplace_back(fail_often, nullptr, ERROR_MIROVAN_FILE_ATTR_PARAMETER);
        threads.emplace_back(fail_often, missing, ERROR_MIROVAN_FILE_ATTR_NOTFOUND);
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
