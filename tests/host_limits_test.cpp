#include "platform/linux/cgroup.h"
#include "platform/linux/os_release.h"
#include "tests/support/machine.h"
#include "tests/support/support.h"

namespace
{

using namespace mirovan::platform;
using Limit = std::optional<std::uint64_t>;

const std::string unified = "=== proc/self/mountinfo\n21 1 0:5 / /proc rw - proc proc rw\n"
                            "30 20 0:26 / /sys/fs/cgroup rw shared:9 - cgroup2 cgroup2 rw\n";
const std::string version_1 =
    "=== proc/self/mountinfo\n"
    "31 30 0:27 / /sys/fs/cgroup/memory rw - cgroup cgroup rw,memory\n"
    "32 30 0:28 / /sys/fs/cgroup/cpu,cpuacct rw - cgroup cgroup rw,cpu,cpuacct\n"
    "33 30 0:29 / /sys/fs/cgroup/cpuset rw - cgroup cgroup rw,cpuset\n"
    "34 30 0:30 / /sys/fs/cgroup/unified rw - cgroup2 cgroup2 rw\n"
    "=== proc/self/cgroup\n5:cpuset:/set\n4:cpu,cpuacct:/a/b\n3:memory:/a\n0::/a\n";
const std::string no_limit_1 =
    "=== sys/fs/cgroup/memory/a/memory.limit_in_bytes = 9223372036854771712\\n\n"
    "=== sys/fs/cgroup/cpu,cpuacct/a/b/cpu.cfs_quota_us = -1\\n\n"
    "=== sys/fs/cgroup/cpu,cpuacct/a/b/cpu.cfs_period_us = 100000\\n\n";

TEST(HostLimits, AreTheLowestOfTheGroupsAround)
{
    const struct
    {
        const char* name;
        std::string tree;
        Limit memory;
        Limit processors;
    } cases[] = {
        {"no control groups", "=== proc/meminfo = x\n", {}, {}},
        {"none mounted", "=== proc/self/cgroup = 0::/a\\n\n=== proc/self/mountinfo = \n", {}, {}},
        {"version 2, no limit",
         unified + "=== proc/self/cgroup = 0::/a\\n\n"
                   "=== sys/fs/cgroup/a/memory.max = max\\n\n"
                   "=== sys/fs/cgroup/a/cpu.max = max 100000\\n\n",
         {},
         {}},
        {"version 2, limits of the group",
         unified + "=== proc/self/cgroup = 0::/a/b\\n\n"
                   "=== sys/fs/cgroup/a/b/memory.max = 1073741824\\n\n"
                   "=== sys/fs/cgroup/a/b/cpu.max = 150000 100000\\n\n",
         1'073'741'824, 2},
        {"version 2, lower limits of the groups around it, to the outermost",
         unified + "=== proc/self/cgroup = 0::/a/b/c\\n\n"
                   "=== sys/fs/cgroup/a/b/c/memory.max = max\\n\n"
                   "=== sys/fs/cgroup/a/b/memory.max = 4096\\n\n"
                   "=== sys/fs/cgroup/a/memory.max = 8192\\n\n"
                   "=== sys/fs/cgroup/a/b/c/cpu.max = 400000 100000\\n\n"
                   "=== sys/fs/cgroup/cpu.max = 50000 100000\\n\n",
         4096, 1},
        {"version 2 in a container with a namespace of its own",
         unified + "=== proc/self/cgroup = 0::/\\n\n=== sys/fs/cgroup/memory.max = 77\\n\n"
                   "=== sys/fs/cgroup/cpu.max = 300000 100000\\n\n",
         77, 3},
        {"version 2 in a container without one",
         "=== proc/self/mountinfo\n30 20 0:26 /docker/ab /sys/fs/cgroup ro - cgroup2 cgroup ro\n"
         "=== proc/self/cgroup = 0::/docker/ab/in\\n\n"
         "=== sys/fs/cgroup/in/memory.max = 99\\n\n=== sys/fs/cgroup/memory.max = 66\\n\n",
         66,
         {}},
        {"version 2, a group outside of what is mounted",
         "=== proc/self/mountinfo\n30 20 0:26 /docker/a /sys/fs/cgroup ro - cgroup2 cgroup ro\n"
         "=== proc/self/cgroup = 0::/docker/ab\\n\n=== sys/fs/cgroup/b/memory.max = 1\\n\n"
         "=== sys/fs/cgroup/memory.max = 55\\n\n",
         55,
         {}},
        {"a group outside of the namespace",
         unified + "=== proc/self/cgroup = 0::/../x\\n\n=== sys/fs/x/memory.max = 1\\n\n",
         {},
         {}},
        {"damaged files",
         unified + "=== proc/self/cgroup = 0::/a\\n\n=== sys/fs/cgroup/a/memory.max = 12x\\n\n"
                   "=== sys/fs/cgroup/a/cpu.max = 100000 0\\n\n",
         {},
         {}},
        {"version 1, no limit", version_1 + no_limit_1, {}, {}},
        {"version 1, limits of the groups",
         version_1 + "=== sys/fs/cgroup/memory/a/memory.limit_in_bytes = 5000\\n\n"
                     "=== sys/fs/cgroup/memory/memory.limit_in_bytes = 1\\n\n"
                     "=== sys/fs/cgroup/cpu,cpuacct/a/b/cpu.cfs_quota_us = 250001\\n\n"
                     "=== sys/fs/cgroup/cpu,cpuacct/a/b/cpu.cfs_period_us = 50000\\n\n"
                     "=== sys/fs/cgroup/cpu,cpuacct/a/cpu.cfs_quota_us = -1\\n\n",
         5000, 6},
        {"version 1, a lower limit around it",
         version_1 + no_limit_1 +
             "=== sys/fs/cgroup/memory/a/memory.stat\nrss 5\nhierarchical_memory_limit 3000\n"
             "=== sys/fs/cgroup/cpu,cpuacct/a/cpu.cfs_quota_us = 100000\\n\n"
             "=== sys/fs/cgroup/cpu,cpuacct/a/cpu.cfs_period_us = 100000\\n\n",
         3000, 1},
        {"memory in version 1, the rest in version 2",
         version_1 + "=== sys/fs/cgroup/memory/a/memory.limit_in_bytes = 900\\n\n"
                     "=== sys/fs/cgroup/unified/a/cpu.max = 200000 100000\\n\n",
         900, 2},
    };
    for (const auto& [name, tree, expected_memory, expected_processors] : cases)
    {
        const test::Scratch root;
        test::plant_tree(test::parse_tree(tree), root.path());
        Limit memory;
        Limit processors;
        EXPECT_TRUE(read_memory_limit(root.path(), memory)) << name;
        EXPECT_TRUE(read_processor_quota(root.path(), processors)) << name;
        EXPECT_EQ(memory, expected_memory) << name;
        EXPECT_EQ(processors, expected_processors) << name;
    }
    // What is there and cannot be read is not "no limit".
    const test::Scratch root;
    test::plant_tree(test::parse_tree(unified + "=== proc/self/cgroup = 0::/\\n\n"), root.path());
    Limit limit;
    for (const char* file : {"memory.max", "cpu.max"})
        root.folder(std::string{"sys/fs/cgroup/"} + file);
    errno = 0;
    EXPECT_FALSE(read_memory_limit(root.path(), limit) || read_processor_quota(root.path(), limit));
    EXPECT_EQ(errno, EISDIR);
}

TEST(OsRelease, ValuesAreWordsOfTheShell)
{
    const struct
    {
        const char* text;
        const char* value;
    } cases[] = {
        {"NAME=Fedora\n", "Fedora"},
        {"# NAME=no\nPRETTY_NAME=\"no\"\nNAME=\"Debian GNU/Linux\"\nID=x", "Debian GNU/Linux"},
        {"NAME='a \"b\" \\c'", "a \"b\" \\c"},
        {"NAME=\"a \\\"b\\\" \\$c\\\\ 'd'\"\n", "a \"b\" $c\\ 'd'"},
        {"NAME=one\nNAME=two\n", "two"},
        {"NAME=", ""},
        {"NAMES=x\nNAME\n", ""},
        {"NAME=\"open\\", "open\\"},
        {"", ""}};
    for (const auto& [text, value] : cases)
        EXPECT_EQ(os_release_value(text, "NAME"), value) << text;
}

} // namespace
