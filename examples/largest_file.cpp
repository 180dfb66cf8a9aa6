// The largest file below a folder, folders that version control keeps for itself left out: a walk
// that the loop steers.
//
//     largest_file FOLDER
#include <mirovan.hpp>

#include <iostream>

int main(int argc, char** argv)
try
{
    mirovan::file::walk_options options;
    options.same_volume = true;
    options.with_status = true;
    mirovan::file::entry largest;
    auto walk = mirovan::file::walk(argc > 1 ? argv[1] : ".", options);
    for (const mirovan::file::entry& each : walk)
    {
        if (each.error != 0)
            std::cerr << each.path << ": " << std::generic_category().message(each.error) << '\n';
        if (each.kind == mirovan::file::entry_kind::folder && each.path.filename() == ".git")
            walk.skip();
        else if (each.kind == mirovan::file::entry_kind::file && each.status &&
                 (!largest.status || each.status->size > largest.status->size))
            largest = each;
    }
    if (largest.status)
        std::cout << largest.status->size << ' ' << largest.path.native() << '\n';
}
catch (const mirovan::error& failure)
{
    std::cerr << failure.what() << '\n';
    return 1;
}
