#include "bench/neighbours/side.h"

#include <hwloc.h>

int main(int argc, char** argv)
{
    return side::main(argc, argv,
                      {
                          {"identity",
                           [](side::Folder)
                           {
                               hwloc_topology_t machine = nullptr;
                               side::require(hwloc_topology_init(&machine) == 0 &&
                                                 hwloc_topology_load(machine) == 0,
                                             "hwloc");
                               const long processors =
                                   hwloc_get_nbobjs_by_type(machine, HWLOC_OBJ_PU);
                               hwloc_topology_destroy(machine);
                               return processors;
                           }},
                      });
}
