#include "bench/neighbours/side.h"
#include "mirovan.h"

#include <unistd.h>

namespace
{

using side::Folder;
using side::require;

long walk(Folder folder, const char* pattern)
{
    MIROVAN_WALK options{};
    options.nSize = sizeof options;
    options.lpszPattern = pattern;
    long files = 0;
    const auto count = [](const MIROVAN_WALK_ENTRY* entry, void* total) -> int
    {
        *static_cast<long*>(total) += entry->nKind == MIROVAN_KIND_FILE ? 1 : 0;
        return MIROVAN_WALK_CONTINUE;
    };
    require(Mirovan_File_Walk((folder + "/tree").c_str(), &options, count, &files), "Walk");
    return files;
}

long copy(const std::string& from, const std::string& to)
{
    require(Mirovan_File_CopyFileA(from.c_str(), to.c_str(), false), from);
    return 1;
}

template <class Record, class Function, class... Arguments>
long count(Function list, Arguments... arguments)
{
    long total = 0;
    const auto add = [](const Record*, void* sum) { return ++*static_cast<long*>(sum) != 0; };
    require(list(arguments..., add, &total), "a list");
    return total;
}

template <class Record, class Function, class... Arguments>
long ask(Function function, Arguments... arguments)
{
    Record record{};
    record.nSize = sizeof record;
    require(function(arguments..., &record), "a record");
    return record.nKnown != 0 ? 1 : 0;
}

/// Runs a program or a shell line; its output, unless it is inherited, is kept in memory.
long execute(const std::vector<std::string>& words, const char* line, bool keep)
{
    std::vector<const char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(word.c_str());
    arguments.push_back(nullptr);
    std::string output[2];
    MIROVAN_COMMAND command{};
    command.nSize = sizeof command;
    command.ppszArguments = line == nullptr ? arguments.data() : nullptr;
    command.lpszShellLine = line;
    command.pContext = output;
    if (keep)
    {
        command.pfnOutput = [](const char* data, uint64_t length, void* texts)
        { return !static_cast<std::string*>(texts)[0].append(data, length).empty(); };
        command.pfnErrors = [](const char* data, uint64_t length, void* texts)
        { return !static_cast<std::string*>(texts)[1].append(data, length).empty(); };
    }
    MIROVAN_COMMAND_RESULT result{};
    result.nSize = sizeof result;
    require(Mirovan_Process_Execute(&command, &result) && result.nExitStatus == 0, "Execute");
    return static_cast<long>(output[0].size());
}

} // namespace

int main(int argc, char** argv)
{
    return side::main(
        argc, argv,
        {
            {"walk", [](Folder folder) { return walk(folder, nullptr); }},
            {"filter", [](Folder folder) { return walk(folder, "*.txt"); }},
            {"copy_large", [](Folder folder) { return copy(folder + "/large", folder + "/out"); }},
            {"copy_small", [](Folder folder) { return side::each_small(folder, copy); }},
            {"delete",
             [](Folder folder) {
                 return Mirovan_File_DeleteMutilFolderA((folder + "/doomed").c_str(), true) ? 1L
                                                                                            : 0L;
             }},
            {"zeros",
             [](Folder folder)
             {
                 return Mirovan_File_CreateSparseFileA((folder + "/out").c_str(), side::large_size()
                                                                                      << 20U)
                            ? 1L
                            : 0L;
             }},
            {"volume",
             [](Folder folder)
             {
                 tag_Mirovan_Disk_Information disk;
                 return Mirovan_HardWare_GetDiskInfomation(folder.c_str(), &disk, 1) ? 1L : 0L;
             }},
            {"volumes", [](Folder)
             { return count<MIROVAN_VOLUME>(Mirovan_HardWare_ListVolumes, uint32_t{0}); }},
            {"record", [](Folder)
             { return ask<MIROVAN_PROCESS_RECORD>(Mirovan_Process_GetRecord, side::subject()); }},
            {"table", [](Folder) { return count<MIROVAN_PROCESS_RECORD>(Mirovan_Process_List); }},
            {"spawn", [](Folder) { return execute({side::command_true}, nullptr, false) + 1; }},
            {"shell", [](Folder) { return execute({}, "true", false) + 1; }},
            {"execute", [](Folder) { return execute(side::command_echo, nullptr, true); }},
            {"capture", [](Folder) { return execute(side::command_much, nullptr, true); }},
            {"memory",
             [](Folder) { return ask<MIROVAN_MEMORY_RECORD>(Mirovan_System_GetMemoryRecord); }},
            {"load", [](Folder)
             { return count<MIROVAN_PROCESSOR_TIMES>(Mirovan_System_GetProcessorTimes); }},
            {"identity", [](Folder) { return ask<MIROVAN_IDENTITY>(Mirovan_System_GetIdentity); }},
        });
}
