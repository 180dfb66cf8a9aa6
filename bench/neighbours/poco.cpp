#include "bench/neighbours/side.h"

#include <Poco/Environment.h>
#include <Poco/File.h>
#include <Poco/FileStream.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/RecursiveDirectoryIterator.h>
#include <Poco/StreamCopier.h>

namespace
{

using side::Folder;
using side::require;

long walk(Folder folder, bool texts)
{
    long files = 0;
    const Poco::SimpleRecursiveDirectoryIterator end;
    for (Poco::SimpleRecursiveDirectoryIterator entry{folder + "/tree"}; entry != end; ++entry)
        files += entry->isFile() && (!texts || side::is_text(entry.name())) ? 1 : 0;
    return files;
}

long copy(const std::string& from, const std::string& to)
{
    Poco::File{from}.copyTo(to);
    return 1;
}

long zeros(Folder folder)
{
    Poco::FileOutputStream file{folder + "/out"};
    for (long written = 0; written < side::large_size(); ++written)
        file << side::block();
    return file.flush() ? 1 : 0;
}

long spawn(const std::vector<std::string>& words, bool keep)
{
    const std::vector<std::string> arguments(words.begin() + 1, words.end());
    std::string text;
    if (keep)
    {
        // One after the other: it has no way to read both at once on one thread.
        Poco::Pipe output;
        Poco::Pipe errors;
        const auto child = Poco::Process::launch(words[0], arguments, nullptr, &output, &errors);
        std::string failures;
        Poco::PipeInputStream from_output{output};
        Poco::PipeInputStream from_errors{errors};
        Poco::StreamCopier::copyToString(from_output, text);
        Poco::StreamCopier::copyToString(from_errors, failures);
        require(child.wait() == 0, words[0]);
    }
    else
    {
        require(Poco::Process::launch(words[0], arguments).wait() == 0, words[0]);
    }
    return static_cast<long>(text.size());
}

} // namespace

int main(int argc, char** argv)
{
    return side::main(
        argc, argv,
        {
            {"walk", [](Folder folder) { return walk(folder, false); }},
            {"filter", [](Folder folder) { return walk(folder, true); }},
            {"copy_large", [](Folder folder) { return copy(folder + "/large", folder + "/out"); }},
            {"copy_small", [](Folder folder) { return side::each_small(folder, copy); }},
            {"delete",
             [](Folder folder)
             {
                 Poco::File{folder + "/doomed"}.remove(true);
                 return 1L;
             }},
            {"zeros", zeros},
            {"volume",
             [](Folder folder) {
                 return Poco::File{folder}.freeSpace() < Poco::File{folder}.totalSpace() ? 1L : 0L;
             }},
            {"spawn", [](Folder) { return spawn({side::command_true}, false) + 1; }},
            {"execute", [](Folder) { return spawn(side::command_echo, true); }},
            {"capture", [](Folder) { return spawn(side::command_much, true); }},
            {"identity",
             [](Folder)
             {
                 using Poco::Environment;
                 return Environment::osName().empty() || Environment::osVersion().empty() ||
                                Environment::osArchitecture().empty() ||
                                Environment::nodeName().empty()
                            ? 0L
                            : static_cast<long>(Environment::processorCount());
             }},
        });
}
