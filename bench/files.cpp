#include "base/charset.h"
#include "bench/harness.h"
#include "mirovan.h"

#include <array>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <filesystem>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using bench::files_in_a_folder;
using bench::require;
using Paths = std::list<std::string>;

constexpr int folders = 1000;
constexpr std::size_t gibibyte = std::size_t{1} << 30;

/// For what is short and at the mercy of all else that goes to the disk.
constexpr int more_turns = 11;

/// What getdents64 fills in.
struct KernelEntry
{
    std::uint64_t inode;
    std::int64_t offset;
    unsigned short length;
    unsigned char type;
    char name[256];
};

/// The least that can be done for a list of a tree's files: read each folder, trust its types.
void bare_walk(int folder, std::string& path, Paths& list)
{
    alignas(KernelEntry) std::array<char, 32768> block;
    const std::size_t length = path.size();
    for (long size = 0; (size = syscall(SYS_getdents64, folder, block.data(), block.size())) > 0;)
    {
        const KernelEntry* entry = nullptr;
        for (long at = 0; at < size; at += entry->length)
        {
            entry = reinterpret_cast<const KernelEntry*>(block.data() + at);
            if (std::strcmp(entry->name, ".") == 0 || std::strcmp(entry->name, "..") == 0)
                continue;
            path.append("/").append(entry->name);
            if (entry->type == DT_DIR)
            {
                const int below = openat(folder, entry->name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
                bare_walk(below, path, list);
                close(below);
            }
            else
            {
                list.push_back(path);
            }
            path.resize(length);
        }
    }
}

Paths bare_list(const std::string& top)
{
    Paths list;
    std::string path = top;
    const int folder = open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    bare_walk(folder, path, list);
    close(folder);
    require(list.size() == std::size_t{folders} * files_in_a_folder, "bare walk");
    return list;
}

Paths our_list(const std::string& top)
{
    Paths list;
    require(m_FileSdk.Mirovan_File_EnumFileA(top.c_str(), &list, true, 1, nullptr), "enumeration");
    require(list.size() == std::size_t{folders} * files_in_a_folder, "enumeration");
    return list;
}

/// The straightforward loop: the entry's own status, its path widened and narrowed again.
void plain_loop(const std::string& top)
{
    Paths list;
    using Options = fs::directory_options;
    for (const auto& entry : fs::recursive_directory_iterator{top, Options::skip_permission_denied})
    {
        if (fs::is_directory(entry.symlink_status()))
            continue;
        const std::wstring wide = entry.path().wstring();
        char narrow[MIROVAN_PATH_SIZE] = {};
        require(Fundix_Charset_UnicodeToAnsi(wide.c_str(), narrow, nullptr), "conversion");
        list.emplace_back(narrow);
    }
}

void bare_rows(const std::string& top)
{
    const Paths list = bare_list(top);
    auto** rows = static_cast<char**>(std::calloc(list.size() + 1, sizeof(char*)));
    char** row = rows;
    for (const auto& path : list)
    {
        *row = static_cast<char*>(std::calloc(1, MIROVAN_PATH_SIZE));
        std::memcpy(*row++, path.c_str(), path.size() + 1);
    }
    for (row = rows; *row != nullptr; ++row)
        std::free(*row);
    std::free(rows);
}

void our_rows(const std::string& top)
{
    char** rows = nullptr;
    int count = 0;
    require(Mirovan_File_EnumFileA(top.c_str(), &rows, &count, true, 1), "array enumeration");
    Fundix_Memory_Free(reinterpret_cast<void***>(&rows), count);
}

/// One of our operations in a process of its own, to be put beside a command.
void run_ours(const std::string& operation, const std::string& first,
              const std::string& second = "")
{
    bench::run_command({"/proc/self/exe", operation, first, second});
}

/// What that process does.
bool run_operation(const std::string& operation, const char* path, const char* other)
{
    if (operation == "zeros")
        return Mirovan_File_CreateSparseFileA(path, gibibyte);
    if (operation == "copy")
        return Mirovan_File_CopyFileA(path, other, false);
    if (operation == "delete")
        return Mirovan_File_DeleteMutilFolderA(path, true);
    Paths list;
    return m_FileSdk.Mirovan_File_EnumFileA(path, &list, true, 1, "txt") &&
           list.size() == std::size_t{folders} * files_in_a_folder / 4;
}

void enumeration(bench::Table& table, const bench::Scratch& scratch)
{
    const std::string tree = scratch / "tree";
    bench::make_tree(tree, folders);
    table.compare("list, narrow, beside a bare walk", 1.5, {[&] { our_list(tree); }},
                  {[&] { bare_list(tree); }});
    table.compare("list, narrow, beside a plain iterator loop", 0.3, {[&] { our_list(tree); }},
                  {[&] { plain_loop(tree); }});
    table.compare("array, beside a bare walk and rows", 1.5, {[&] { our_rows(tree); }},
                  {[&] { bare_rows(tree); }});
    table.compare("filter txt, beside find -iname '*.txt*'", 0.8,
                  {[&] { run_ours("filter", tree); }}, {[&] {
                      bench::run_command({"find", tree, "-type", "f", "-iname", "*.txt*"});
                  }});
    const Paths list = bare_list(tree);
    table.compare_figures("memory of the list, beside the list itself", 1.3, bench::Unit::mebibytes,
                          {bench::memory_of([&] { our_list(tree); })},
                          {bench::memory_of([&] { const Paths copy(list.begin(), list.end()); })});
}

void deletion(bench::Table& table, const bench::Scratch& scratch)
{
    // All trees are made first: ext4 is slow to make files where many were deleted a moment ago.
    std::vector<std::string> trees;
    for (int tree = 0; tree < 2 * bench::rounds; ++tree)
    {
        trees.push_back(scratch / ("tree" + std::to_string(tree)));
        bench::make_tree(trees.back(), folders);
    }
    std::string tree;
    const auto prepare = [&]
    {
        tree = trees.back();
        trees.pop_back();
    };
    table.compare("deleting the tree, beside rm -rf", 1.0,
                  {[&] { run_ours("delete", tree); }, prepare},
                  {[&] {
                       bench::run_command({"rm", "-rf", tree});
                   },
                   prepare});
}

void bare_write(const std::string& path, const std::string& bytes)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    require(write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), path);
    close(file);
}

void writing(bench::Table& table, const bench::Scratch& scratch)
{
    const std::string path = scratch / "file";
    const std::string other = scratch / "other";
    const auto prepare = [&]
    {
        unlink(path.c_str());
        unlink(other.c_str());
    };
    table.compare(
        "1 GiB of zeros, beside dd bs=1M", 1.05, {[&] { run_ours("zeros", path); }, prepare},
        {[&] {
             bench::run_command({"dd", "if=/dev/zero", "of=" + other, "bs=1M", "count=1024"});
         },
         prepare},
        more_turns);
    std::string bytes;
    bytes.resize(100'000'000, 'x');
    table.compare("saving 100 MB, beside one bare write", 1.1,
                  {[&]
                   {
                       require(Mirovan_File_SaveBuffToFileA(path.c_str(), bytes.data(),
                                                            static_cast<int>(bytes.size())),
                               path);
                   },
                   prepare},
                  {[&] { bare_write(other, bytes); }, prepare}, more_turns);
    prepare();
}

void copy_large(bench::Table& table, const bench::Scratch& scratch)
{
    const std::string source = scratch / "source";
    const std::string path = scratch / "copy";
    const std::string other = scratch / "other";
    require(Mirovan_File_CreateSparseFileA(source.c_str(), gibibyte), source);
    const auto prepare = [&]
    {
        unlink(path.c_str());
        unlink(other.c_str());
    };
    table.compare("copying 1 GiB, beside cp --reflink=never", 1.0,
                  {[&] { run_ours("copy", source, path); }, prepare},
                  {[&] {
                       bench::run_command({"cp", "--reflink=never", source, other});
                   },
                   prepare},
                  more_turns);
    prepare();
    unlink(source.c_str());
}

void bare_copy(const std::string& source, const std::string& path)
{
    const int from = open(source.c_str(), O_RDONLY | O_CLOEXEC);
    const int to = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    require(copy_file_range(from, nullptr, to, nullptr, 4096, 0) == 4096, path);
    close(to);
    close(from);
}

void copy_small(bench::Table& table, const bench::Scratch& scratch)
{
    constexpr int files = 10'000;
    std::vector<std::string> sources;
    std::vector<std::string> copies;
    for (const char* folder : {"small", "small-copies"})
        fs::create_directory(scratch / folder);
    for (int file = 0; file < files; ++file)
    {
        sources.push_back(scratch / ("small/" + std::to_string(file)));
        copies.push_back(scratch / ("small-copies/" + std::to_string(file)));
        bare_write(sources.back(), std::string(4096, 'x'));
    }
    const auto prepare = [&]
    {
        for (const auto& copy : copies)
            unlink(copy.c_str());
    };
    const auto each = [&](const auto& copy_one)
    {
        for (int file = 0; file < files; ++file)
            copy_one(sources[static_cast<std::size_t>(file)],
                     copies[static_cast<std::size_t>(file)]);
    };
    table.compare(
        "copying 10,000 files of 4 KiB, beside a loop", 1.2,
        {[&]
         {
             each([](const std::string& source, const std::string& path)
                  { require(Mirovan_File_CopyFileA(source.c_str(), path.c_str(), false), path); });
         },
         prepare},
        {[&] { each(bare_copy); }, prepare});
}

void conversion(bench::Table& table)
{
    require(std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr, "C.UTF-8");
    const std::wstring ascii = L"/home/somebody/documents/2024/reports/quarter-3/figures.html";
    const std::wstring mixed =
        L"/home/somebody/Dokumente/\x00DC"
        L"bersicht/\x6587\x66F8/r\x00E9sum\x00E9-\x1F389/\x0444\x0430\x0439\x043Bn\x00B0 1.html";
    for (const auto& [name, text, limit] :
         {std::tuple{"60 ASCII characters to UTF-8, beside wcsrtombs", ascii, 50.0},
          std::tuple{"60 mixed characters to UTF-8, beside wcsrtombs", mixed, 100.0}})
    {
        require(text.size() == 60, name);
        static char result[MIROVAN_PATH_SIZE];
        const wchar_t* volatile source = text.c_str();
        table.compare_calls(
            name, limit, 1'000'000,
            [&] { require(Fundix_Charset_UnicodeToUTF(source, result, nullptr), "conversion"); },
            [&]
            {
                const wchar_t* at = source;
                std::mbstate_t state{};
                require(std::wcsrtombs(result, &at, sizeof result, &state) != std::size_t(-1),
                        "wcsrtombs");
            });
    }
}

} // namespace

int main(int count, char** words)
{
    if (count == 4)
        return run_operation(words[1], words[2], words[3]) ? 0 : 1;
    const bench::Scratch scratch;
    bench::Table table{"files"};
    conversion(table);
    enumeration(table, scratch);
    writing(table, scratch);
    copy_large(table, scratch);
    copy_small(table, scratch);
    deletion(table, scratch);
    return table.result();
}
