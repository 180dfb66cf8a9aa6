#include "commands.h"
#include "progress.h"

#include <mirovan.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <unistd.h>

namespace program
{

namespace
{

namespace fs = std::filesystem;
namespace file = mirovan::file;
using Kind = file::entry_kind;

struct Sum
{
    std::uint64_t entries = 0;
    std::uint64_t bytes = 0;
    std::uint64_t failures = 0;
};

void complain(Sum& sum, const fs::path& path, const std::string& reason)
{
    ++sum.failures;
    end_progress_line();
    std::fprintf(stderr, "mirovan: %s: %s\n", harmless(path.native()).c_str(), reason.c_str());
}

/// Calls a function for each entry that the options select. What cannot be read is complained of.
template <class Function>
void for_each(const TreeOptions& options, Sum& sum, bool with_status, bool folders_last,
              Function&& function)
{
    const file::walk_options walk{options.depth, options.pattern, options.same_volume, folders_last,
                                  with_status};
    file::for_each_entry(options.path, walk,
                         [&](const file::entry& entry)
                         {
                             if (entry.error != 0)
                                 complain(sum, entry.path, std::strerror(entry.error));
                             else
                                 function(entry);
                             return file::next::go_on;
                         });
}

std::uint64_t size_of(const file::entry& entry)
{
    return entry.status && entry.kind == Kind::file ? entry.status->size : 0;
}

char letter(Kind kind)
{
    constexpr char letters[] = {'?', '-', 'd', 'l', 'o'};
    return letters[static_cast<int>(kind)];
}

std::string counted(std::uint64_t count, const std::string& one, const std::string& many)
{
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

std::string summary(const Sum& sum)
{
    return counted(sum.entries, "entry", "entries") + ", " + human_bytes(sum.bytes);
}

int status_of(const Sum& sum)
{
    return sum.failures == 0 ? 0 : 1;
}

/// What would be changed is shown, or the person at the terminal has agreed.
bool may_go_on(const TreeOptions& options, const std::string& question)
{
    if (options.yes)
        return true;
    if (isatty(STDIN_FILENO) != 1 || isatty(STDERR_FILENO) != 1)
        throw Usage("this deletes without asking only with --yes");
    std::fprintf(stderr, "%s [y/N] ", question.c_str());
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

/// What the options select; and for each entry of the folder itself, how many are in it.
struct Found : Sum
{
    std::map<std::string, std::uint64_t> parts;
};

Found count(const TreeOptions& options)
{
    Found found;
    for_each(options, found, true, false,
             [&](const file::entry& entry)
             {
                 ++found.entries;
                 found.bytes += size_of(entry);
                 const std::string& path = entry.path.native();
                 std::size_t end = path.size();
                 for (int depth = entry.depth; depth > 1; --depth)
                     end = path.rfind('/', end - 1);
                 ++found.parts[path.substr(0, end)];
             });
    return found;
}

void refuse_precious(const fs::path& path)
{
    std::error_code ec;
    const fs::path real = fs::canonical(path, ec);
    if (!ec && real == real.root_path())
        throw Usage("the root folder is not deleted");
    if (!ec && fs::equivalent(real, fs::current_path(ec), ec))
        throw Usage("the current folder is not deleted");
}

/// Deletes what a pattern selects, entry by entry; folders only when they are empty by then.
Sum delete_selected(const TreeOptions& options, std::uint64_t of)
{
    Sum done;
    Progress progress{"deleting", of, false};
    for_each(options, done, true, true,
             [&](const file::entry& entry)
             {
                 if (options.dry_run)
                     put(harmless(entry.path.native()) + '\n');
                 else if (std::error_code ec; !fs::remove(entry.path, ec) && ec)
                     return complain(done, entry.path, ec.message());
                 ++done.entries;
                 done.bytes += size_of(entry);
                 progress.advance(1);
             });
    return done;
}

int delete_below(const TreeOptions& options, bool with_folder)
{
    refuse_precious(options.path);
    const bool has_selection =
        !options.pattern.empty() || options.depth != 0 || options.same_volume;
    const Found found = count(options);
    const std::string what = summary(found) + " below " + harmless(options.path) +
                             (with_folder && !has_selection ? ", and the folder" : "");
    if (options.dry_run)
    {
        delete_selected(options, found.entries);
        put("would delete " + what + '\n');
        return status_of(found);
    }
    if (!may_go_on(options, "delete " + what + '?'))
        return 1;
    if (has_selection)
    {
        const Sum done = delete_selected(options, found.entries);
        put("deleted " + summary(done) + '\n');
        return status_of(done);
    }
    // Folder by folder, for the progress; what is left then goes together, or fails.
    Progress progress{"deleting", found.entries, false};
    for (const auto& [part, entries] : found.parts)
    {
        std::error_code ec;
        if (entries > 1)
            file::delete_folder(part, ec);
        progress.advance(entries);
    }
    with_folder ? file::delete_folder(options.path) : file::empty_folder(options.path);
    progress.end();
    put("deleted " + what + '\n');
    return 0;
}

/// Copies one entry; a link is made anew as it is.
void copy_entry(const TreeOptions& options, const file::entry& entry, const fs::path& to)
{
    if (entry.kind == Kind::folder)
        file::create_folders(to);
    else if (entry.kind == Kind::link)
    {
        file::create_folders(to.parent_path());
        if (options.replace && fs::is_symlink(to))
            fs::remove(to);
        fs::create_symlink(entry.link_target, to);
    }
    else if (entry.kind == Kind::file)
        file::copy(entry.path, to,
                   options.replace ? file::existing::replace : file::existing::refuse);
    else
        throw std::runtime_error("neither a file, a folder nor a link: not copied");
}

} // namespace

int tree_list(const TreeOptions& options)
{
    Sum sum;
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    for_each(options, sum, options.long_form, false,
             [&](const file::entry& entry)
             {
                 ++sum.entries;
                 sum.bytes += size_of(entry);
                 std::string line;
                 if (options.long_form)
                 {
                     line += letter(entry.kind);
                     line += ' ' + padded(human_bytes(size_of(entry)), 5, true) + "  " +
                             padded(entry.status ? human_time(entry.status->modified, now) : "?", 6,
                                    false) +
                             "  ";
                 }
                 const std::string& path = entry.path.native();
                 line += options.null_ended ? path : harmless(path);
                 if (options.long_form && !entry.link_target.empty())
                     line += " -> " + harmless(entry.link_target.native());
                 line += options.null_ended ? '\0' : '\n';
                 put(line);
             });
    if (options.long_form && !options.null_ended)
        put(summary(sum) + '\n');
    return status_of(sum);
}

int tree_biggest(const TreeOptions& options)
{
    const Screen screen{stdout};
    Sum sum;
    std::set<std::pair<std::uint64_t, std::uint64_t>> seen; // files with several names count once
    std::map<std::string, std::uint64_t> folders;
    std::vector<std::pair<std::uint64_t, std::string>> biggest;
    const auto keep = [&](std::uint64_t size, const std::string& path)
    {
        biggest.emplace_back(size, path);
        std::push_heap(biggest.begin(), biggest.end(), std::greater<>{});
        if (biggest.size() > options.count)
        {
            std::pop_heap(biggest.begin(), biggest.end(), std::greater<>{});
            biggest.pop_back();
        }
    };
    Progress progress{"reading", 0, false};
    for_each(options, sum, true, false,
             [&](const file::entry& entry)
             {
                 ++sum.entries;
                 progress.advance(1);
                 if (!entry.status || entry.kind != Kind::file)
                     return;
                 const auto& status = *entry.status;
                 if (status.links > 1 && !seen.emplace(status.device, status.inode).second)
                     return;
                 sum.bytes += status.allocated;
                 if (!options.folders)
                     return keep(status.allocated, entry.path.native());
                 fs::path folder = entry.path;
                 for (int depth = entry.depth; depth > 1; --depth)
                 {
                     folder = folder.parent_path();
                     folders[folder.native()] += status.allocated;
                 }
             });
    progress.end();
    for (const auto& [path, size] : folders)
        keep(size, path);
    std::sort(biggest.begin(), biggest.end(), std::greater<>{});
    Table table{
        {{"SIZE", true, 10}, {"", false, 5}, {"SHARE", true, 6}, {"PATH", false, 10, true}}};
    for (const auto& [size, path] : biggest)
    {
        const double share =
            sum.bytes == 0 ? 0 : static_cast<double>(size) / static_cast<double>(sum.bytes);
        table.add({human_bytes(size), screen.paint(Colour::blue, bar(share, 12)),
                   human_percent(share), harmless(path)});
    }
    if (!biggest.empty())
        put(table.lines(screen));
    put(summary(sum) + " on the volume\n");
    return status_of(sum);
}

int tree_copy(const TreeOptions& options)
{
    const fs::path from = options.path;
    const fs::path to = options.destination;
    const fs::path real_from = fs::canonical(from);
    const fs::path real_to = fs::weakly_canonical(fs::absolute(to));
    const auto [end, rest] =
        std::mismatch(real_from.begin(), real_from.end(), real_to.begin(), real_to.end());
    if (end == real_from.end())
        throw Usage("the destination is in the folder to copy");
    const Sum found = count(options);
    Sum done;
    if (options.dry_run)
    {
        for_each(options, done, false, false,
                 [&](const file::entry& entry)
                 { put(harmless((to / fs::relative(entry.path, from)).native()) + '\n'); });
        put("would copy " + summary(found) + '\n');
        return status_of(done);
    }
    file::create_folders(to);
    // Of small files the number is what takes the time.
    constexpr std::uint64_t small = std::uint64_t{1} << 15U;
    const bool in_bytes = found.bytes > found.entries * small;
    Progress progress{"copying", in_bytes ? found.bytes : found.entries, in_bytes};
    for_each(options, done, true, false,
             [&](const file::entry& entry)
             {
                 const fs::path target = to / entry.path.lexically_relative(from);
                 try
                 {
                     progress.begin(target);
                     copy_entry(options, entry, target);
                     ++done.entries;
                     done.bytes += size_of(entry);
                     progress.advance(in_bytes ? size_of(entry) : 1);
                 }
                 catch (const mirovan::error& error)
                 {
                     complain(done, target, error.system().message());
                 }
                 catch (const fs::filesystem_error& error)
                 {
                     complain(done, target, error.code().message());
                 }
                 catch (const std::runtime_error& error)
                 {
                     complain(done, entry.path, error.what());
                 }
             });
    progress.end();
    put("copied " + summary(done) + '\n');
    return found.failures + done.failures == 0 ? 0 : 1;
}

int tree_empty(const TreeOptions& options)
{
    return delete_below(options, false);
}

int tree_delete(const TreeOptions& options)
{
    return delete_below(options, true);
}

} // namespace program
