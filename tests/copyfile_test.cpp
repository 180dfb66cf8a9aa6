#include "platform/linux/include/copyfile.h"

#include "tests/support/support.h"

#include <fcntl.h>
#include <fstream>
#include <thread>
#include <unistd.h>

namespace
{

/// A pipe takes no copy of the kernel's: what comes out of it was read and written. It holds less
/// than the file, so that the file can be changed in the middle of the copy.
TEST(Copyfile, EndsAtTheSizeThatTheFileHad)
{
    const test::Scratch scratch;
    constexpr std::size_t size = 300'000;
    const std::string path = scratch.file("growing", std::string(size, 'x'));
    const int source = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    int result = -1;
    std::thread copier{[&]
                       {
                           result = fcopyfile(source, ends[1], nullptr, COPYFILE_DATA);
                           close(ends[1]);
                       }};
    std::string copy(1, '\0');
    EXPECT_EQ(read(ends[0], copy.data(), 1), 1);
    std::ofstream{path, std::ios::app} << std::string(1'000'000, 'y');
    char block[65536];
    for (ssize_t got = 0; (got = read(ends[0], block, sizeof block)) > 0;)
        copy.append(block, static_cast<std::size_t>(got));
    copier.join();
    close(ends[0]);
    close(source);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(copy, std::string(size, 'x'));
}

} // namespace
