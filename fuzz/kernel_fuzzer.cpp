// The readers of what the kernel tells in /proc: nothing that it may say is out of bounds.
#include "platform/linux/host_counters.h"
#include "platform/linux/mount_table.h"
#include "platform/linux/process_text.h"
#include "source/system/processors.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace mirovan;
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (idle_percent(sum_of(platform::processor_loads(text))) > 100)
        std::abort();
    platform::memory_counters(text);
    platform::parse_process_memory(text);
    if (const auto stat = platform::parse_process_stat(text))
    {
        platform::usage_share(*stat, 100, 1.5);
        platform::start_second(stat->start_ticks, 100, 1'700'000'000);
    }
    for (std::string_view rest = text; const auto line = platform::next_line(rest);)
        platform::parse_mount_line(*line);
    platform::find_mount(text, 26, {254, 0});
    if (platform::unescape_octal(text).size() > text.size())
        std::abort();
    return 0;
}
