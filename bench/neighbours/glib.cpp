#include "bench/neighbours/side.h"

#include <gio/gio.h>

namespace
{

using side::Folder;
using side::require;

GFile* file_of(const std::string& path)
{
    return g_file_new_for_path(path.c_str());
}

/// Counts the files below, deleting them on request.
long walk(GFile* folder, bool texts, bool remove)
{
    long files = 0;
    GFileEnumerator* const entries = g_file_enumerate_children(
        folder, G_FILE_ATTRIBUTE_STANDARD_NAME "," G_FILE_ATTRIBUTE_STANDARD_TYPE,
        G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr);
    require(entries != nullptr, "enumerate");
    GFileInfo* info = nullptr;
    GFile* entry = nullptr;
    while (g_file_enumerator_iterate(entries, &info, remove ? &entry : nullptr, nullptr, nullptr) !=
               0 &&
           info != nullptr)
    {
        if (g_file_info_get_file_type(info) == G_FILE_TYPE_DIRECTORY)
            files += walk(g_file_get_child(folder, g_file_info_get_name(info)), texts, remove);
        else
        {
            files += !texts || side::is_text(g_file_info_get_name(info)) ? 1 : 0;
            require(!remove || g_file_delete(entry, nullptr, nullptr) != 0, "delete");
        }
    }
    g_object_unref(entries);
    require(!remove || g_file_delete(folder, nullptr, nullptr) != 0, "delete");
    g_object_unref(folder);
    return files;
}

long copy(const std::string& from, const std::string& to)
{
    GFile* const source = file_of(from);
    GFile* const target = file_of(to);
    const bool done =
        g_file_copy(source, target, G_FILE_COPY_OVERWRITE, nullptr, nullptr, nullptr, nullptr) != 0;
    g_object_unref(source);
    g_object_unref(target);
    return done ? 1 : 0;
}

long zeros(Folder folder)
{
    GFile* const file = file_of(folder + "/out");
    GFileOutputStream* const stream = g_file_create(file, G_FILE_CREATE_NONE, nullptr, nullptr);
    require(stream != nullptr, "create");
    GOutputStream* const output = G_OUTPUT_STREAM(stream);
    bool done = true;
    for (long written = 0; written < side::large_size(); ++written)
        done &= g_output_stream_write_all(output, side::block().data(), side::block().size(),
                                          nullptr, nullptr, nullptr) != 0;
    done &= g_output_stream_close(output, nullptr, nullptr) != 0;
    g_object_unref(stream);
    g_object_unref(file);
    return done ? 1 : 0;
}

long volume(Folder folder)
{
    GFile* const file = file_of(folder);
    GFileInfo* const info = g_file_query_filesystem_info(file,
                                                         G_FILE_ATTRIBUTE_FILESYSTEM_SIZE
                                                         "," G_FILE_ATTRIBUTE_FILESYSTEM_FREE
                                                         "," G_FILE_ATTRIBUTE_FILESYSTEM_TYPE,
                                                         nullptr, nullptr);
    require(info != nullptr, "volume");
    g_object_unref(info);
    g_object_unref(file);
    return 1;
}

long spawn(const std::vector<std::string>& words, bool keep)
{
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    char* output = nullptr;
    char* errors = nullptr;
    int status = 0;
    require(g_spawn_sync(nullptr, arguments.data(), nullptr, G_SPAWN_DEFAULT, nullptr, nullptr,
                         keep ? &output : nullptr, keep ? &errors : nullptr, &status,
                         nullptr) != 0 &&
                status == 0,
            words[0]);
    const std::size_t length = keep ? std::string_view{output}.size() : 0;
    g_free(output);
    g_free(errors);
    return static_cast<long>(length);
}

} // namespace

int main(int argc, char** argv)
{
    return side::main(
        argc, argv,
        {
            {"walk", [](Folder folder) { return walk(file_of(folder + "/tree"), false, false); }},
            {"filter", [](Folder folder) { return walk(file_of(folder + "/tree"), true, false); }},
            {"copy_large", [](Folder folder) { return copy(folder + "/large", folder + "/out"); }},
            {"copy_small", [](Folder folder) { return side::each_small(folder, copy); }},
            {"delete",
             [](Folder folder) { return walk(file_of(folder + "/doomed"), false, true); }},
            {"zeros", zeros},
            {"volume", volume},
            {"spawn", [](Folder) { return spawn({side::command_true}, false) + 1; }},
            {"execute", [](Folder) { return spawn(side::command_echo, true); }},
            {"capture", [](Folder) { return spawn(side::command_much, true); }},
        });
}
