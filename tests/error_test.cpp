#include "tests/support/support.h"

#include <atomic>
#include <dlfcn.h>
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

TEST(Error, EveryCodeHasItsValueAndText)
{
    EXPECT_EQ(ERROR_MIROVAN_FILE_ATTR_NOTFOUND, 0x40A0002U);
    EXPECT_EQ(ERROR_MIROVAN_FILE_SPARSE_WRITE, 0x40A0502U);
    EXPECT_EQ(ERROR_MIROVAN_SYSTEM_IDENTITY_FAILED, 0x40A1014U);
    EXPECT_EQ(ERROR_MIROVAN_HARDWARE_VOLUMES_FAILED, 0x40A2004U);
    EXPECT_EQ(ERROR_MIROVAN_PROCESS_SETCPU_FAILED, 0x40A3020U);
    std::set<uint64_t> values;
#define CHECK_CODE(value, name, text)                                                              \
    EXPECT_EQ(Mirovan_GetErrorText(name), std::string{#name ": " text});                           \
    EXPECT_TRUE(values.insert(name).second) << #name;
    MIROVAN_ERROR_MAP(CHECK_CODE)
#undef CHECK_CODE
    for (const uint64_t other : {uint64_t{0}, uint64_t{0x40A0052}, UINT64_MAX})
    {
        ASSERT_NE(Mirovan_GetErrorText(other), nullptr);
        EXPECT_EQ(std::string{Mirovan_GetErrorText(other)}.find("ERROR_"), std::string::npos);
    }
    EXPECT_STREQ(Mirovan_GetVersion(), MIROVAN_VERSION);
}

TEST(Error, EachThreadHasItsOwn)
{
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number)
    {
        threads.emplace_back(
            [&wrong, number]
            {
                bool occurred = true;
                int reason = -1;
                wrong += Mirovan_GetThreadError(&occurred, &reason) != 0 || occurred || reason != 0;
                for (int round = 0; round < 2000; ++round)
                {
                    MIROVAN_FILE_ATTR attributes;
                    const char* path = number % 2 == 0 ? "/" : number % 3 == 0 ? nullptr : missing;
                    const bool result = Mirovan_File_GetFileAttrA(path, &attributes);
                    const uint64_t code = Mirovan_GetThreadError(&occurred, &reason);
                    uint64_t expected = ERROR_MIROVAN_FILE_ATTR_NOTFOUND;
                    if (path == nullptr)
                        expected = ERROR_MIROVAN_FILE_ATTR_PARAMETER;
                    else if (number % 2 == 0)
                        expected = 0;
                    wrong += result == occurred || code != expected;
                    wrong += Mirovan_GetLastError(nullptr) > ERROR_MIROVAN_PROCESS_SETCPU_FAILED;
                }
            });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
