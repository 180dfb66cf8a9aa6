#include "bench/neighbours/side.h"

namespace
{

using side::Folder;

long run(const std::vector<std::string>& words)
{
    bench::run_command(words);
    return 1;
}

const char* const columns = "pid,ppid,uid,comm,state,nice,lstart,nlwp,rss,vsz,cputime,min_flt";

} // namespace

int main(int argc, char** argv)
{
    return side::main(
        argc, argv,
        {
            {"walk",
             [](Folder folder) {
                 return run({"find", folder + "/tree", "-type", "f"});
             }},
            {"filter",
             [](Folder folder) {
                 return run({"find", folder + "/tree", "-type", "f", "-name", "*.txt"});
             }},
            {"copy_large",
             [](Folder folder) {
                 return run({"cp", "--reflink=never", folder + "/large", folder + "/out"});
             }},
            {"copy_small",
             [](Folder folder) {
                 return run({"cp", "-r", folder + "/small/.", folder + "/copies"});
             }},
            {"delete",
             [](Folder folder) {
                 return run({"rm", "-rf", folder + "/doomed"});
             }},
            {"zeros",
             [](Folder folder)
             {
                 return run({"dd", "if=/dev/zero", "of=" + folder + "/out", "bs=1M",
                             "count=" + std::to_string(side::large_size())});
             }},
            {"volume",
             [](Folder folder) {
                 return run({"df", folder});
             }},
            {"volumes",
             [](Folder) {
                 return run({"df", "-l"});
             }},
            {"record",
             [](Folder) {
                 return run({"ps", "-o", columns, "-p", std::to_string(side::subject())});
             }},
            {"table",
             [](Folder) {
                 return run({"ps", "-A", "-o", columns});
             }},
            {"memory",
             [](Folder) {
                 return run({"free", "-b"});
             }},
            {"load", [](Folder) { return run({"vmstat"}); }},
            {"identity",
             [](Folder) {
                 return run({"uname", "-a"});
             }},
        });
}
