#include "tests/faults/operations.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace
{

using faults::Mode;
using faults::Plan;
using faults::Report;
using test::Operation;

constexpr const char* mode_names[] = {"once", "same", "all"};

/// What a fault may do although it ought not to, or is not tried at all, and why.
struct Exemption
{
    const char* operation; ///< Names that begin so.
    const char* function;
    const char* complaint; ///< Complaints that begin so.
    const char* reason;
};
constexpr Exemption exemptions[] = {
    {"EnumFile", "openat", "errno is ENOENT",
     "a folder that may not be read is passed over, and errno then tells that nothing was found"},
    {"EnumFile", "fstatat", "errno is ENOENT",
     "an entry whose status cannot be read is left out, and errno then tells likewise"},
    {"SetProcessForCpu", "", "errno is EINVAL",
     "the home platform's thread calls report no errno; each of its results stands for one"},
    {"GetProcessForCpu", "", "errno is EINVAL", "likewise"},
    {"(any)", "sigaction, pthread_sigmask, signal", nullptr,
     "fail only where an earlier setting is saved or a signal ignored: a call that gives a setting "
     "back cannot fail with valid arguments, nor could anything be done about it"},
    {"(any)", "close, closedir, fclose, dlclose, wait4, waitid", nullptr,
     "do their work also when they report a failure, as the system's do"},
    {"(any)", "time, clock_gettime, sysconf(_SC_PAGESIZE, _SC_CLK_TCK), tzset, fileno, dlsym",
     nullptr, "never fail: with valid arguments they cannot"},
    {"(any)", "malloc and the like, of the C library for itself", nullptr,
     "not one by one: the call that would need it is made to fail as a whole"},
    {"(any)", "stat, openat and the like with ENOENT", nullptr,
     "never given: that something does not exist is an answer, and a false one"},
};

/// The run at hand, for those who have to tell what hung or crashed.
char running[256];

void die(int number)
{
    const auto say = [](const char* text)
    { static_cast<void>(!write(STDERR_FILENO, text, std::strlen(text))); };
    say(number == SIGALRM ? "hangs: " : "crashes: ");
    say(running);
    say("\n");
    _exit(2);
}

std::string way_name(int error)
{
    if (error < 0)
        return error == faults::partly ? "partly" : "nothing";
    const char* name = strerrorname_np(error);
    return name == nullptr ? "none" : name;
}

/// sweep [--family F] [--operation O] [--fault N] [--errno E] [--mode M]
class Sweep
{
public:
    explicit Sweep(std::map<std::string, std::string> choice) : choice_{std::move(choice)} {}

    void run_all()
    {
        for (const Operation& operation : world_.operations())
        {
            if (!fits("--family", operation.family) || !fits("--operation", operation.name))
                continue;
            ++operations_;
            // The first time is for what the libraries set up once.
            run(operation, {});
            const std::string complaint = run(operation, {});
            if (!complaint.empty() || outcome_.result == operation.refuses || outcome_.threw)
                complain(complaint.empty() ? "does not do its work without a fault" : complaint);
            for (const Mode mode : {Mode::once, Mode::same, Mode::all})
                if (fits("--mode", mode_names[static_cast<int>(mode)]))
                    run_with_faults(operation, mode);
        }
    }

    bool conclude() const
    {
        std::printf("%u operations, %u fault points, %u runs, %u complaints\n", operations_,
                    points_, runs_, complaints_);
        for (const Exemption& exemption : exemptions)
            std::printf("exempt: %s: %s: %s: %s\n", exemption.operation, exemption.function,
                        exemption.complaint == nullptr ? "not tried" : exemption.complaint,
                        exemption.reason);
        return complaints_ == 0;
    }

private:
    bool fits(const char* option, const std::string& name) const
    {
        const auto chosen = choice_.find(option);
        return chosen == choice_.end() || chosen->second == name;
    }

    void run_with_faults(const Operation& operation, Mode mode)
    {
        for (Plan plan{1, 0, mode};; ++plan.at)
        {
            plan.way = 0;
            do
            {
                const std::string complaint =
                    fits("--fault", std::to_string(plan.at)) ? run(operation, plan) : "";
                if (fits("--fault", std::to_string(plan.at)) && report_.fired == 0)
                    return;
                if (!complaint.empty() && fits("--errno", way_name(report_.error)))
                    complain(operation, complaint);
            } while (mode != Mode::all && ++plan.way < report_.ways);
            points_ += mode == Mode::once ? 1 : 0;
        }
    }

    std::string run(const Operation& operation, const Plan& plan)
    {
        constexpr unsigned limit = 20;
        std::snprintf(running, sizeof running, "--operation %s --fault %u --mode %s (way %u)",
                      operation.name.c_str(), plan.at, mode_names[static_cast<int>(plan.mode)],
                      plan.way);
        const test::Held before = test::Held::now();
        world_.prepare(operation);
        alarm(limit);
        faults::faults_arm(plan);
        outcome_ = test::call(operation);
        report_ = faults::faults_disarm();
        std::string complaint = judge(operation, plan);
        world_.release(operation);
        alarm(0);
        ++runs_;
        const std::string left = left_behind(before);
        return complaint.empty() ? left : complaint;
    }

    std::string judge(const Operation& operation, const Plan& plan)
    {
        const std::string complaint = world_.judge(operation, outcome_, report_);
        const int error = outcome_.system_errno;
        if (!complaint.empty() || outcome_.result || outcome_.threw)
            return complaint;
        if (error == EINTR)
            return "an interrupted call is not made again";
        if (plan.mode == Mode::once && report_.error > 0 && error != report_.error &&
            !operation.refuses)
            return "errno is " + way_name(error);
        return {};
    }

    static std::string left_behind(const test::Held& before)
    {
        // The C library keeps the name of the time zone until it is asked for the next time.
        tzset();
        unsigned first = 0;
        const std::size_t blocks = faults::faults_forget_allocations(&first);
        const test::Held after = test::Held::now();
        if (after.descriptors != before.descriptors)
            return "a descriptor is left";
        if (after.children != before.children)
            return "a child is left";
        if (after.signals != before.signals)
            return "a signal's action or the mask is changed";
        return blocks == 0 ? ""
                           : std::to_string(blocks) + " blocks are left, the first of call " +
                                 std::to_string(first);
    }

    void complain(const Operation& operation, const std::string& complaint)
    {
        for (const Exemption& exemption : exemptions)
            if (exemption.complaint != nullptr &&
                operation.name.rfind(exemption.operation, 0) == 0 &&
                std::strstr(report_.function, exemption.function) != nullptr &&
                complaint.rfind(exemption.complaint, 0) == 0)
                return;
        complain(complaint);
    }

    void complain(const std::string& complaint)
    {
        ++complaints_;
        std::printf("%s: %s %s -> %s\n", running, report_.function, way_name(report_.error).c_str(),
                    complaint.c_str());
    }

    std::map<std::string, std::string> choice_;
    test::World world_;
    test::Outcome outcome_;
    Report report_;
    unsigned operations_ = 0;
    unsigned points_ = 0;
    unsigned runs_ = 0;
    unsigned complaints_ = 0;
};

} // namespace

int main(int count, char** arguments)
{
    std::map<std::string, std::string> choice;
    for (int i = 1; i + 1 < count; i += 2)
        choice[arguments[i]] = arguments[i + 1];
    setlinebuf(stdout);
    try
    {
        // The first exception sets up what the C++ library keeps for the others.
        throw 0;
    }
    catch (int)
    {
    }
    test::become_ordinary_user();
    for (const int number : {SIGALRM, SIGABRT, SIGSEGV, SIGBUS, SIGFPE})
        signal(number, die);
    Sweep sweep{std::move(choice)};
    sweep.run_all();
    return sweep.conclude() ? 0 : 1;
}
