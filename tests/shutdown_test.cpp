#include "tests/support/support.h"

#include <cstring>
#include <linux/reboot.h>
#include <unistd.h>

namespace
{

/// What the library asked the C library for, in order.
std::vector<std::string> asked;
int answer = 0;

} // namespace

// These take the place of the C library's for the whole program. Should they ever fail to, nothing
// here runs with the right to halt a machine.
#pragma GCC visibility push(default)
extern "C" int reboot(int command)
{
    asked.push_back("reboot " + std::to_string(static_cast<unsigned>(command)));
    errno = answer;
    return answer == 0 ? 0 : -1;
}
extern "C" void sync()
{
    asked.emplace_back("sync");
}
// By label: the C library's header may already hold a checking form of this one.
extern "C" int stand_in_for_login(char* name, size_t size) __asm__("getlogin_r");
extern "C" int stand_in_for_login(char* name, size_t /*size*/)
{
    const char* login = std::getenv("TEST_LOGIN");
    if (login == nullptr)
        return ENOTTY;
    std::strcpy(name, login);
    return 0;
}
#pragma GCC visibility pop

namespace
{

class Shutdown : public testing::Test
{
protected:
    /// Runs the body without privileges, and with no command within reach but those of the test.
    void guarded(const std::function<void()>& body) const
    {
        for (const std::string name : {"xset", "gnome-screensaver-command", "pkill"})
            commands_.add(name,
                          "echo \"" + name + " $*\" >>" + record_ + "; exit ${TEST_STATUS:-0}");
        const std::string folder = commands_.folder();
        std::filesystem::permissions(folder, std::filesystem::perms::all);
        test::as_ordinary_user(
            [&]
            {
                const test::Environment only{"PATH", folder.c_str()};
                body();
            });
    }

    static void expect_failure(const std::vector<unsigned long>& actions, uint64_t code, int reason)
    {
        for (const unsigned long action : actions)
            EXPECT_FAILS(Mirovan_System_Shutdown(action), code, reason) << action;
    }

    [[nodiscard]] std::string recorded() const { return test::read_file(record_); }

    test::Commands commands_;
    std::string record_ = commands_.folder() + "/record";
};

TEST_F(Shutdown, HaltsAndRestartsAfterASync)
{
    const std::string halt = "reboot " + std::to_string(LINUX_REBOOT_CMD_HALT);
    const std::string restart = "reboot " + std::to_string(LINUX_REBOOT_CMD_RESTART);
    guarded(
        [&]
        {
            for (const unsigned long action : {0x10001UL, 0x10007UL, 0x10003UL})
                EXPECT_SUCCEEDS(Mirovan_System_Shutdown(action));
            const std::vector<std::string> expected = {"sync", halt, "sync", halt, "sync", restart};
            EXPECT_EQ(asked, expected);
            answer = EPERM;
            expect_failure({0x10001, 0x10003, 0x10007}, ERROR_MIROVAN_SYSTEM_QUERY_FAILED, EPERM);
        });
}

TEST_F(Shutdown, RefusesOtherActions)
{
    guarded(
        [&]
        {
            expect_failure({0x10006, 0x10000, 0x10008, 0, ~0UL, 0x100010001},
                           ERROR_MIROVAN_SYSTEM_SHUTDOWN_TYPE, EINVAL);
            EXPECT_TRUE(asked.empty());
            EXPECT_EQ(recorded(), "");
        });
}

TEST_F(Shutdown, ShellActionsAreJudgedByTheirStatus)
{
    guarded(
        [&]
        {
            EXPECT_SUCCEEDS(Mirovan_System_Shutdown(0x10002));
            EXPECT_SUCCEEDS(Mirovan_System_Shutdown(0x10005));
            EXPECT_EQ(recorded(), "xset dpms force off\ngnome-screensaver-command -l\n");
            const test::Environment fails{"TEST_STATUS", "1"};
            expect_failure({0x10002, 0x10004, 0x10005}, ERROR_MIROVAN_SYSTEM_QUERY_FAILED, EIO);
            const test::Environment nowhere{"PATH", "/nonexistent"};
            expect_failure({0x10002}, ERROR_MIROVAN_SYSTEM_QUERY_FAILED, EIO);
        });
}

TEST_F(Shutdown, EndsTheSessionUsersProcessesAndNeverTheSuperusers)
{
    guarded(
        [&]
        {
            for (const char* login :
                 {static_cast<const char*>(nullptr), "root", "no-such-user", "nobody", "x; y'"})
            {
                const test::Environment set{"TEST_LOGIN", login};
                EXPECT_SUCCEEDS(Mirovan_System_Shutdown(0x10004));
            }
            EXPECT_EQ(recorded(), "pkill -kill -u username\npkill -kill -u username\n"
                                  "pkill -kill -u username\npkill -kill -u nobody\n"
                                  "pkill -kill -u username\n");
        });
}

} // namespace
