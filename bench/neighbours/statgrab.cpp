#include "bench/neighbours/side.h"

#include <statgrab.h>

namespace
{

using side::Folder;
using side::require;

/// The number of records that a query of the library gives.
template <class Function>
long count(Function query)
{
    std::size_t entries = 0;
    require(query(&entries) != nullptr, "libstatgrab");
    return static_cast<long>(entries);
}

} // namespace

int main(int argc, char** argv)
{
    require(sg_init(1) == SG_ERROR_NONE, "sg_init");
    return side::main(argc, argv,
                      {
                          {"table", [](Folder) { return count(sg_get_process_stats); }},
                          {"memory", [](Folder) { return count(sg_get_mem_stats); }},
                          {"load", [](Folder) { return count(sg_get_cpu_stats); }},
                          {"volumes", [](Folder) { return count(sg_get_fs_stats); }},
                          {"identity", [](Folder) { return count(sg_get_host_info); }},
                      });
}
