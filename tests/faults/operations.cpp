#include "tests/faults/operations.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fstream>
#include <grp.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace test
{
namespace
{

constexpr char content[] = "what stands in the file\n";
constexpr int content_size = sizeof content - 1;
constexpr unsigned char fill = 0x5A;
/// Deeper than the number of folders that a walk holds open.
constexpr int depth = 17;
constexpr int sparse_size = 600'000;

bool was(Hit hit, const char* function)
{
    return hit.fired != 0 && std::strcmp(hit.function, function) == 0;
}

bool is_or_empty(const std::string& text, const std::string& expected, Hit hit)
{
    return text == expected || (hit.fired != 0 && text.empty());
}

std::string user_name()
{
    passwd user{};
    passwd* found = nullptr;
    std::array<char, 4096> texts;
    getpwuid_r(geteuid(), &user, texts.data(), texts.size(), &found);
    return found == nullptr ? "" : found->pw_name;
}

bool is_about(const TARVELO_LIBTIME& time, std::time_t expected)
{
    constexpr std::time_t tolerance = 3;
    std::tm local{};
    local.tm_year = time.nYear - 1900;
    local.tm_mon = time.nMonth - 1;
    local.tm_mday = time.nDay;
    local.tm_hour = time.nHour;
    local.tm_min = time.nMinute;
    local.tm_sec = time.nSecond;
    local.tm_isdst = -1;
    return std::abs(std::mktime(&local) - expected) <= tolerance;
}

struct sysinfo system_info()
{
    struct sysinfo info = {};
    sysinfo(&info);
    return info;
}

/// Whether a program ended as it should; where nobody can wait for it, it is gone at least.
bool ran(unsigned long child, Hit hit)
{
    constexpr int cannot_execute = 127;
    int status = 0;
    pid_t waited = 0;
    do
        waited = waitpid(static_cast<pid_t>(child), &status, 0);
    while (waited < 0 && errno == EINTR);
    return waited < 0 || (WIFEXITED(status) &&
                          WEXITSTATUS(status) == (was(hit, "posix_spawn") ? cannot_execute : 0));
}

} // namespace

void Room::open(std::size_t size)
{
    size_ = size;
    bytes_.fill(fill);
}

bool Room::is_kept_within() const
{
    const auto* const end = bytes_.data() + guard + size_;
    const auto filled = [](unsigned char byte) { return byte == fill; };
    return std::all_of(bytes_.data(), bytes_.data() + guard, filled) &&
           std::all_of(end, bytes_.data() + bytes_.size(), filled);
}

World::World()
    : work_{scratch_.folder("work")}, table_{scratch_.file("processes")},
      path_{"PATH", scratch_.folder("commands").c_str()}, display_{"DISPLAY", ":77"}, language_{
                                                                                          "LANG",
                                                                                          "C.UTF-8"}
{
    fs::permissions(work_, fs::perms::all);
    fs::permissions(table_, fs::perms{0666});
    add_commands();
    for (const bool wide : {false, true})
    {
        add_files(wide);
        add_enumerations(wide);
    }
    add_walk();
    add_hardware();
    add_process_facts();
    add_process_control();
    add_system();
    add_commands_run();
}

World::~World()
{
    end_sleeper();
}

void World::add_commands()
{
    const std::string folder = scratch_ / "commands/";
    for (const char* tool : {"awk", "cat", "grep", "head", "sed", "sleep", "xxd"})
    {
        const fs::path found = fs::path{"/usr/bin"} / tool;
        fs::create_symlink(fs::exists(found) ? found : fs::path{"/bin"} / tool, folder + tool);
    }
    const auto script = [&](const char* name, const std::string& text)
    {
        scratch_.file(std::string{"commands/"} + name, "#!/bin/sh\n" + text + "\n");
        fs::permissions(folder + name, fs::perms{0755});
    };
    script("ps", "case $* in -aux) cat " + table_ + ";; *) echo 1.5; echo 2.5;; esac");
    script("system_profiler", "case $1 in SPStorageDataType)\n"
                              "echo '    One:'; echo '      Writable: Yes'\n"
                              "echo '      Volume UUID: V-1'\n"
                              "echo '    Two:'; echo '      Writable: Yes';;\n"
                              "*) echo '      Processor Name: Fast'\n"
                              "echo '      Processor Speed: 2.5 GHz'\n"
                              "echo '      Serial Number (system): S-1'\n"
                              "echo '      Hardware UUID: H-1';; esac");
    script("ioreg", "echo '\"serial-number\" = <412d31>'");
    for (const char* action : {"xset", "pkill", "gnome-screensaver-command"})
        script(action, "exit 0");
}

Operation& World::add(std::string name, const char* family, std::set<uint64_t> codes,
                      std::size_t room, std::function<bool()> run, std::function<bool(Hit)> right)
{
    operations_.push_back(
        {std::move(name), family, std::move(codes), room, std::move(run), std::move(right)});
    return operations_.back();
}

void World::prepare(const Operation& operation)
{
    for (const auto& entry : fs::directory_iterator{work_})
        fs::remove_all(entry.path());
    std::ofstream{work_ + "/file"} << content;
    std::ofstream{work_ + "/other"} << "another";
    std::ofstream{work_ + "/filler"};
    fs::remove(scratch_ / "ran");
    room_.open(operation.room);
    if (operation.prepare)
        operation.prepare();
    room_.settle();
    before_ = found();
}

void World::release(const Operation& operation)
{
    if (operation.release)
        operation.release();
    narrow_list_.clear();
    wide_list_.clear();
}

std::set<std::string> World::found() const
{
    std::set<std::string> paths;
    for (const auto& entry : fs::recursive_directory_iterator{work_})
        paths.insert(entry.path().string().substr(work_.size() + 1));
    return paths;
}

Outcome call(const Operation& operation)
{
    Outcome outcome;
    errno = 0;
    try
    {
        outcome.result = operation.run();
        outcome.system_errno = errno;
    }
    catch (...)
    {
        outcome.threw = true;
    }
    return outcome;
}

void become_ordinary_user()
{
    constexpr uid_t nobody = 65534;
    if (geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0))
        std::abort();
    // So that it may still look at itself.
    prctl(PR_SET_DUMPABLE, 1);
}

std::string World::judge(const Operation& operation, const Outcome& outcome, Hit hit,
                         bool own_commands, bool alone)
{
    const auto& [result, threw, system_errno] = outcome;
    if (threw)
        return operation.may_throw ? "" : "an exception came out";
    if (!room_.is_kept_within())
        return "wrote outside of its outputs";
    bool thread_failed = false;
    int thread_errno = 0;
    const uint64_t code = Mirovan_GetThreadError(&thread_failed, &thread_errno);
    if (alone &&
        (thread_failed != Mirovan_IsErrorOccur || (thread_failed && code != Mirovan_dwErrorCode)))
        return "the thread's error state is not the process's";
    if (thread_failed == result && !operation.leaves_error)
        return result ? "succeeded, with the error flag set" : "failed, with the error flag clear";
    if (!result && operation.codes.count(code) == 0)
        return std::string{"failed with "} + Mirovan_GetErrorText(code);
    if (!result && (thread_errno != system_errno || system_errno == 0))
        return "errno is not that of the error state";
    if (!result && !(operation.promised ? operation.promised() : room_.is_untouched()))
        return "failed, and its outputs are not as promised";
    if (result && (own_commands || !operation.asks_commands) && !operation.right(hit))
        return "succeeded with a wrong answer";
    std::set<std::string> changed;
    const std::set<std::string> after = found();
    std::set_symmetric_difference(before_.begin(), before_.end(), after.begin(), after.end(),
                                  std::inserter(changed, changed.end()));
    for (const std::string& path : changed)
        if (operation.touches.count(path.substr(0, path.find('/'))) == 0)
            return "made or removed " + path;
    return {};
}

void World::plant_tree()
{
    std::string path = work_ + "/tree";
    planted_.clear();
    for (int level = 0; level < depth; ++level, path += "/d")
    {
        fs::create_directory(path);
        planted_.insert(path);
        if (level % 8 != 0)
            continue;
        std::ofstream{path + "/leaf.txt"} << level;
        planted_.insert(path + "/leaf.txt");
    }
    planted_.erase(work_ + "/tree");
}

void World::start_sleeper()
{
    end_sleeper();
    // It can be interrupted, also while another thread's shell command has the process ignore that.
    sigset_t interrupt, mask;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    pthread_sigmask(SIG_BLOCK, &interrupt, &mask);
    sleeper_ = fork();
    if (sleeper_ == 0)
        std::signal(SIGINT, SIG_DFL);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    while (sleeper_ == 0)
        pause();
}

void World::end_sleeper()
{
    if (sleeper_ > 0 && waitpid(sleeper_, nullptr, WNOHANG) == 0)
    {
        kill(sleeper_, SIGKILL);
        waitpid(sleeper_, nullptr, 0);
    }
    sleeper_ = 0;
}

Operation& World::with_sleeper(Operation& operation)
{
    operation.prepare = [this] { start_sleeper(); };
    operation.release = [this] { end_sleeper(); };
    return operation;
}

void World::add_files(bool wide)
{
    const std::string form = wide ? "W" : "A";
    const auto is_content = [this](const char* name)
    { return read_file(work_ + "/" + name) == content; };
    // Calls the one of two twins that the form asks for, with a path below the work folder.
    const auto twin = [this, wide](const char* name, auto narrow_form, auto wide_form, auto... rest)
    {
        const std::string path = work_ + "/" + name;
        return [wide, path, wide_path = widened(path), narrow_form, wide_form, rest...] {
            return wide ? wide_form(wide_path.c_str(), rest...)
                        : narrow_form(path.c_str(), rest...);
        };
    };

    add("GetFileAttr" + form, "file", {ERROR_MIROVAN_FILE_ATTR_NOTFOUND}, sizeof(MIROVAN_FILE_ATTR),
        twin("file", Mirovan_File_GetFileAttrA, Mirovan_File_GetFileAttrW, at<MIROVAN_FILE_ATTR>()),
        [record = at<MIROVAN_FILE_ATTR>()](Hit hit)
        {
            return record->nFileSize == content_size && record->bIsFile && !record->bIsHidden &&
                   record->bIsReadable != was(hit, "access");
        });
    add("SaveBuffToFile" + form, "file",
        {ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, ERROR_MIROVAN_FILE_SAVE_OPEN}, 0,
        twin("new/deep/saved", Mirovan_File_SaveBuffToFileA, Mirovan_File_SaveBuffToFileW, content,
             content_size),
        [=](Hit hit) { return is_content("new/deep/saved") && !was(hit, "close"); })
        .touches = {"new"};
    add("CreateMutilFolder" + form, "file", {ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED}, 0,
        twin("new/one/two", Mirovan_File_CreateMutilFolderA, Mirovan_File_CreateMutilFolderW),
        [this](Hit) { return fs::is_directory(work_ + "/new/one/two"); })
        .touches = {"new"};
    add("CreateSparseFile" + form, "file",
        {ERROR_MIROVAN_FILE_SPARSE_OPEN, ERROR_MIROVAN_FILE_SPARSE_WRITE}, 0,
        twin("zeros", Mirovan_File_CreateSparseFileA, Mirovan_File_CreateSparseFileW, sparse_size),
        [this](Hit hit) {
            return read_file(work_ + "/zeros") == std::string(sparse_size, '\0') &&
                   !was(hit, "close");
        })
        .touches = {"zeros"};
    for (const bool root : {false, true})
    {
        Operation& deletion = add(
            "DeleteMutilFolder" + form + (root ? "" : ".content"), "deletion",
            {ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED}, 0,
            twin("tree", Mirovan_File_DeleteMutilFolderA, Mirovan_File_DeleteMutilFolderW, root),
            [root, tree = work_ + "/tree"](Hit)
            { return root ? !fs::exists(tree) : fs::is_directory(tree) && fs::is_empty(tree); });
        deletion.touches = {"tree"};
        deletion.prepare = [this] { plant_tree(); };
    }
    const auto copy = [=](const std::string& from, const std::string& to, bool refuse)
    {
        return [=, wide_from = widened(from), wide_to = widened(to)]
        {
            return wide ? Mirovan_File_CopyFileW(wide_from.c_str(), wide_to.c_str(), refuse)
                        : Mirovan_File_CopyFileA(from.c_str(), to.c_str(), refuse);
        };
    };
    const std::set<uint64_t> codes = {ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED,
                                      ERROR_MIROVAN_FILE_COPY_FAILED,
                                      ERROR_MIROVAN_FILE_COPY_EXIST};
    const std::string file = work_ + "/file";
    const std::string other = work_ + "/other";
    const std::string fresh = work_ + "/new/copy";
    // The kernel makes the last of these sources while it is read, and cannot copy it by itself.
    const std::tuple<const char*, std::string, std::string> copies[] = {
        {"", file, fresh}, {".over", file, other}, {".generated", "/proc/version", fresh}};
    for (const auto& [name, from, to] : copies)
        add("CopyFile" + form + name, "file", codes, 0, copy(from, to, false),
            [from = from, to = to](Hit hit)
            {
                // The last file to be closed is the source, where nothing can be lost.
                const bool lost = was(hit, "close") && hit.fired > 1;
                return read_file(to) == read_file(from) && !lost;
            })
            .touches = {"new"};
    Operation& refusal = add("CopyFile" + form + ".refused", "file", codes, 0,
                             copy(file, other, true), [](Hit) { return false; });
    refusal.promised = [=] { return read_file(other) == "another"; };
    refusal.refuses = true;
}

void World::add_walk()
{
    // Allocates nothing: that would count as the library's.
    const auto take = [](const MIROVAN_WALK_ENTRY* entry, void* context)
    {
        auto* const seen = static_cast<Seen*>(context);
        seen->failed |= entry->nErrno != 0;
        if (entry->nDepth != 0)
            seen->paths.at(seen->count++) = std::hash<std::string_view>{}(entry->lpszPath);
        return static_cast<int>(MIROVAN_WALK_CONTINUE);
    };
    Operation& walk = add(
        "Walk", "enumeration", {ERROR_MIROVAN_FILE_WALK_FAILED}, 0,
        [=, this, path = work_ + "/tree"]
        {
            seen_ = {};
            const MIROVAN_WALK options = {sizeof options, MIROVAN_WALK_STATUS, 0, 0, nullptr};
            return Mirovan_File_Walk(path.c_str(), &options, take, &seen_);
        },
        [this](Hit)
        {
            std::multiset<std::size_t> left;
            for (const std::string& path : planted_)
                left.insert(std::hash<std::string_view>{}(path));
            for (std::size_t i = 0; i < seen_.count; ++i)
                if (left.erase(seen_.paths.at(i)) == 0 && !seen_.failed)
                    return false;
            return seen_.failed || left.empty();
        });
    walk.prepare = [this]
    {
        plant_tree();
        fs::create_symlink("nowhere", work_ + "/tree/link");
        planted_.insert(work_ + "/tree/link");
    };
}

std::set<std::string> World::rows(bool wide)
{
    std::set<std::string> texts;
    for (int row = 0; row < at<Rows>()->count; ++row)
    {
        const void* text = at<Rows>()->rows[row];
        const std::wstring wide_text = wide ? static_cast<const wchar_t*>(text) : L"";
        texts.insert(wide ? std::string{wide_text.begin(), wide_text.end()}
                          : static_cast<const char*>(text));
    }
    return texts;
}

void World::free_rows()
{
    if (!room_.is_untouched())
        Fundix_Memory_Free(&at<Rows>()->rows, at<Rows>()->count);
}

void World::add_enumerations(bool wide)
{
    const std::string form = wide ? "EnumFileW" : "EnumFileA";
    // A folder that may not be read is passed over, and an entry whose status cannot be read.
    const auto is_planted = [this](const std::set<std::string>& paths, Hit hit)
    {
        return hit.error == EACCES || was(hit, "fstatat")
                   ? std::includes(planted_.begin(), planted_.end(), paths.begin(), paths.end())
                   : paths == planted_;
    };
    for (const bool tree : {false, true})
    {
        const std::string path = work_ + (tree ? "/tree" : "/tree/*.tx");
        const auto run = [=, this, wide_path = widened(path)]
        {
            auto** rows = &at<Rows>()->rows;
            int* count = &at<Rows>()->count;
            const int type = tree ? 3 : 1;
            return wide ? Mirovan_File_EnumFileW(wide_path.c_str(),
                                                 reinterpret_cast<wchar_t***>(rows), count, tree,
                                                 type)
                        : Mirovan_File_EnumFileA(path.c_str(), reinterpret_cast<char***>(rows),
                                                 count, tree, type);
        };
        Operation& table =
            add(form + (tree ? "" : ".pattern"), "enumeration",
                {ERROR_MIROVAN_FILE_ENUM_NOTDIR, ERROR_MIROVAN_FILE_ENUM_EMPTY}, sizeof(Rows), run,
                [=, this](Hit hit) { return is_planted(rows(wide), hit); });
        table.prepare = [=, this]
        {
            plant_tree();
            if (!tree)
                planted_ = {work_ + "/tree/leaf.txt"};
        };
        table.promised = [this]
        {
            const bool empty = at<Rows>()->rows == nullptr && at<Rows>()->count == 0;
            return Mirovan_dwErrorCode == ERROR_MIROVAN_FILE_ENUM_EMPTY ? empty
                                                                        : room_.is_untouched();
        };
        table.release = [this] { free_rows(); };
    }
    const std::string path = work_ + "/tree";
    Operation& list = add(
        form + ".list", "enumeration", {ERROR_MIROVAN_FILE_ENUM_NOTDIR}, 0,
        [=, this, wide_path = widened(path)]
        {
            return wide ? m_FileSdk.Mirovan_File_EnumFileW(wide_path.c_str(), &wide_list_, true, 3,
                                                           nullptr)
                        : m_FileSdk.Mirovan_File_EnumFileA(path.c_str(), &narrow_list_, true, 3,
                                                           nullptr);
        },
        [=, this](Hit hit)
        {
            std::set<std::string> paths{narrow_list_.begin(), narrow_list_.end()};
            for (const std::wstring& found : wide_list_)
                paths.emplace(found.begin(), found.end());
            return is_planted(paths, hit);
        });
    list.prepare = [this] { plant_tree(); };
    list.promised = [this] { return narrow_list_.empty() && wide_list_.empty(); };
    list.may_throw = true;
}

void World::add_hardware()
{
    const std::set<uint64_t> codes = {ERROR_MIROVAN_HARDWARE_PARAMETER};
    auto* const disk = at<tag_Mirovan_Disk_Information>();
    auto* const processor = at<tag_Mirovan_Cpu_Information>();
    auto* const serials = at<tag_Mirovan_SdkSerial_Information>();

    add(
        "GetDiskInfomation", "hardware", {ERROR_MIROVAN_HARDWARE_DISK_STATFS}, sizeof *disk,
        [=, this] { return Mirovan_HardWare_GetDiskInfomation(work_.c_str(), disk, 1); },
        [=, this](Hit)
        {
            struct statvfs volume = {};
            statvfs(work_.c_str(), &volume);
            return disk->nDiskTotal == volume.f_blocks * volume.f_frsize &&
                   disk->nDiskFree <= disk->nDiskTotal;
        });
    auto* const root = at<MIROVAN_VOLUME>();
    add(
        "ListVolumes", "hardware", {ERROR_MIROVAN_HARDWARE_VOLUMES_FAILED}, sizeof *root,
        [=]
        {
            const auto take = [](const MIROVAN_VOLUME* volume, void* to)
            {
                if (std::strcmp(volume->tszMountPoint, "/") == 0)
                    *static_cast<MIROVAN_VOLUME*>(to) = *volume;
                return true;
            };
            return Mirovan_HardWare_ListVolumes(0, take, root);
        },
        [=](Hit hit)
        {
            struct statvfs volume = {};
            statvfs("/", &volume);
            const bool is_sized = (root->nKnown & MIROVAN_VOLUME_KNOWN_TOTAL) != 0;
            return std::strcmp(root->tszMountPoint, "/") == 0 && root->bLocal &&
                   (is_sized || hit.fired != 0) &&
                   root->nTotal == (is_sized ? volume.f_blocks * volume.f_frsize : 0);
        });
    Operation& volumes = add(
        "GetDiskNumber", "hardware", codes, sizeof(Rows),
        [this]
        {
            return Mirovan_HardWare_GetDiskNumber(reinterpret_cast<char***>(&at<Rows>()->rows),
                                                  &at<Rows>()->count);
        },
        [this](Hit) {
            return rows(false) == std::set<std::string>{"One:", "Two:"};
        });
    volumes.release = [this] { free_rows(); };
    volumes.asks_commands = true;

    const auto are_counted = [=]
    { return processor->nHardwareThreads > 0 && processor->nProcessorOnline > 0; };
    Operation& cpu = add(
        "GetCpuInfomation", "hardware", codes, sizeof *processor,
        [=] { return Mirovan_HardWare_GetCpuInfomation(processor); },
        [=](Hit hit)
        {
            return std::strcmp(processor->tszProcessorName, "Fast") == 0 &&
                   processor->nProcessorSpeed == 2500 && (are_counted() || was(hit, "sysconf"));
        });
    cpu.prepare = [=] { *processor = {}; };
    cpu.promised = [=] { return processor->nHardwareThreads > 0; };
    cpu.asks_commands = true;

    const auto are_right = [=](Hit hit)
    {
        return is_or_empty(serials->tszSystemSerial, "S-1\n", hit) &&
               is_or_empty(serials->tszHardwareUUID, "H-1\n", hit) &&
               is_or_empty(serials->tszVolumeUUID, "V-1\n", hit) &&
               is_or_empty(serials->tszPlatformSerial, "A-1", hit);
    };
    Operation& serial = add(
        "GetSerial", "serial", codes, sizeof *serials,
        [=] { return Mirovan_HardWare_GetSerial(serials); }, are_right);
    serial.prepare = [=] { *serials = {}; };
    serial.promised = [=] { return are_right({.fired = 1}); };
    serial.asks_commands = true;
    serial.leaves_error = true;
}

void World::add_process_facts()
{
    auto* const process = at<tag_Mirovan_Process_Infomation>();
    add(
        "GetProcessInfo", "process", {ERROR_MIROVAN_PROCESS_INFO_FAILED}, sizeof *process,
        [=] { return Mirovan_Process_GetProcessInfo(process, "name", getpid()); },
        [=](Hit)
        {
            return process->nProcessId == getpid() && process->nThreadCount > 0 &&
                   std::strcmp(process->tszProcessName, "name") == 0 &&
                   process->tszUserName == user_name() && process->nResidentSize > 0;
        })
        .promised = [=]
    {
        // All but the user's name is there, or nothing but the id.
        const bool filled = std::strncmp(process->tszProcessName, "name", 5) == 0;
        const auto kept = static_cast<char>(fill);
        return process->nProcessId == getpid() && process->tszUserName[0] == kept &&
               (filled ? process->nThreadCount > 0 : process->tszProcessName[0] == kept);
    };
    add(
        "GetProcessCpuUsage", "process", {ERROR_MIROVAN_PROCESS_ACCESS}, sizeof(int),
        [this] { return Mirovan_Process_GetProcessCpuUsage(at<int>(), 0); },
        [this](Hit) { return *at<int>() >= 0 && *at<int>() <= 64000; });
    with_sleeper(add(
        "GetProcessUpTime", "process",
        {ERROR_MIROVAN_PROCESS_ACCESS, ERROR_MIROVAN_PROCESS_UPTIME_TIME}, sizeof(TARVELO_LIBTIME),
        [this] { return Mirovan_Process_GetUpTime(at<TARVELO_LIBTIME>(), sleeper_); },
        [this](Hit) { return is_about(*at<TARVELO_LIBTIME>(), std::time(nullptr)); }));
    add(
        "GetPath", "process", {ERROR_MIROVAN_PROCESS_GET_FAILED}, MIROVAN_PATH_SIZE,
        [this] { return Mirovan_Process_GetPath(at<char>(), 0); },
        [this, self = fs::read_symlink("/proc/self/exe")](Hit) { return at<char>() == self; });
    add(
        "IsAdmin", "process", {}, 0, [] { return Mirovan_Process_IsAdmin() == (geteuid() == 0); },
        [](Hit) { return true; });
    add(
        "GetPriority", "process", {ERROR_MIROVAN_PROCESS_GETPRIORITY_FAILED}, sizeof(int),
        [this] { return Mirovan_Process_GetPriority(at<int>(), 0); },
        [this](Hit) { return *at<int>() == getpriority(PRIO_PROCESS, 0); });
    with_sleeper(add(
        "SetPriority", "process", {ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED}, 0,
        [this] { return Mirovan_Process_SetPriority(19, sleeper_); },
        [this](Hit) { return getpriority(PRIO_PROCESS, static_cast<id_t>(sleeper_)) == 19; }));
    auto* const record = at<MIROVAN_PROCESS_RECORD>();
    add(
        "GetRecord", "process", {ERROR_MIROVAN_PROCESS_RECORD_FAILED}, sizeof *record,
        [=] { return Mirovan_Process_GetRecord(0, record); },
        [=](Hit)
        {
            return record->nProcessId == getpid() && record->nParentId == getppid() &&
                   record->nUserId == geteuid() && record->nThreadCount > 0 &&
                   record->nResidentSize > 0;
        })
        .prepare = [=] { record->nSize = sizeof *record; };
    // A process whose files cannot be read comes with its id alone, one that others may not look into
    // with a few facts. A few are enough.
    add(
        "List", "process", {ERROR_MIROVAN_PROCESS_LIST_FAILED}, sizeof *record,
        [=]
        {
            return Mirovan_Process_List(
                [](const MIROVAN_PROCESS_RECORD* listed, void* last)
                {
                    *static_cast<MIROVAN_PROCESS_RECORD*>(last) = *listed;
                    return listed->nProcessId < 5;
                },
                record);
        },
        [=](Hit hit)
        { return record->nProcessId > 0 && (hit.fired != 0 || record->tszName[0] != '\0'); });
    const auto tag_is = [](unsigned long expected)
    {
        unsigned long tag = 0;
        return Mirovan_Process_GetProcessForCpu(pthread_self(), &tag) && tag == expected;
    };
    const auto set_tag = [](unsigned long tag)
    { return Mirovan_Process_SetProcessForCpu(pthread_self(), tag); };
    add(
        "SetProcessForCpu", "process", {ERROR_MIROVAN_PROCESS_SETCPU_FAILED}, 0,
        [=] { return set_tag(7); }, [=](Hit) { return tag_is(7); })
        .prepare = [=] { set_tag(5); };
    add(
        "GetProcessForCpu", "process", {ERROR_MIROVAN_PROCESS_GET_FAILED}, sizeof(unsigned long),
        [this] { return Mirovan_Process_GetProcessForCpu(pthread_self(), at<unsigned long>()); },
        [this](Hit) { return *at<unsigned long>() == 9; })
        .prepare = [=] { set_tag(9); };
    add(
        "AppState", "process", {}, sizeof(unsigned long),
        [this] { return m_ProcessSdk.Mirovan_Process_AppState('Z', at<unsigned long>()); },
        [this](Hit) { return *at<unsigned long>() == 3; });
}

void World::add_process_control()
{
    for (const bool by_name : {false, true})
        for (const bool ignore_child : {false, true})
        {
            Operation& stop = with_sleeper(add(
                std::string{"Stop"} + (by_name ? ".name" : ".id") +
                    (ignore_child ? ".ignoring" : ""),
                "process",
                {ERROR_MIROVAN_PROCESS_STOP_FIND, ERROR_MIROVAN_PROCESS_NOTFOUND,
                 ERROR_MIROVAN_PROCESS_ACCESS, ERROR_MIROVAN_PROCESS_STOP_KILL},
                0,
                [=, this] {
                    return Mirovan_Process_Stop(by_name ? "wanted" : nullptr, sleeper_,
                                                ignore_child);
                },
                [this](Hit)
                { return waitpid(sleeper_, nullptr, WNOHANG) == -1 && errno == ECHILD; }));
            stop.prepare = [this]
            {
                start_sleeper();
                std::ofstream{table_} << "user " << sleeper_ << " 0.0 wanted\n";
            };
            stop.asks_commands = by_name;
            stop.resets_child_signal = ignore_child;
        }
    auto* const result = at<MIROVAN_COMMAND_RESULT>();
    with_sleeper(add(
                     "Wait", "process", {ERROR_MIROVAN_PROCESS_WAIT_FAILED}, sizeof *result,
                     [=, this] { return Mirovan_Process_Wait(sleeper_, -1, result); },
                     [=](Hit hit) {
                         return result->nSignal == SIGKILL ||
                                (hit.fired != 0 && result->nEnd == MIROVAN_END_UNKNOWN);
                     }))
        .prepare = [=, this]
    {
        start_sleeper();
        kill(sleeper_, SIGKILL);
        result->nSize = sizeof *result;
    };
    struct Executed
    {
        MIROVAN_COMMAND_RESULT result;
        char output[64];
    };
    auto* const executed = at<Executed>();
    Operation& execution = add(
        "Execute", "process", {ERROR_MIROVAN_PROCESS_EXECUTE_FAILED}, sizeof *executed,
        [=]
        {
            auto command = sized<MIROVAN_COMMAND>();
            command.lpszShellLine = "read word; echo $word; echo errors >&2; exit 3";
            command.nFlags = MIROVAN_COMMAND_MERGE;
            command.lpszFolder = "/";
            command.pInput = "input\n";
            command.nInputLen = 6;
            command.pfnOutput = [](const char* data, uint64_t length, void* text)
            {
                std::strncat(static_cast<char*>(text), data, length);
                return true;
            };
            command.pContext = executed->output;
            return Mirovan_Process_Execute(&command, &executed->result);
        },
        [=](Hit hit)
        {
            return (hit.fired != 0 && (executed->result.nSignal == SIGKILL ||
                                       executed->result.nEnd == MIROVAN_END_UNKNOWN)) ||
                   (executed->result.nExitStatus == 3 &&
                    std::strcmp(executed->output, "input\nerrors\n") == 0);
        });
    execution.prepare = [=] { *executed = {sized<MIROVAN_COMMAND_RESULT>(), ""}; };
    execution.promised = [=] { return executed->result.nEnd == 0; };
    auto* const id = at<unsigned long>();
    add(
        "CreateProcess", "process", {ERROR_MIROVAN_PROCESS_EXEC}, sizeof *id,
        [=] { return Mirovan_Process_CreateProcess(id, "/bin/sh", "-c exit", false); },
        [=](Hit hit) { return ran(*id, hit); });
    add(
        "RunProcess", "process", {ERROR_MIROVAN_PROCESS_FORK}, sizeof *id,
        [=] { return Mirovan_Process_RunProcess(id, "/bin/true", "true", nullptr, false); },
        [=](Hit hit) { return ran(*id, hit); });
}

void World::add_system()
{
    struct Version
    {
        char name[256], version[256], code_name[8], release[256];
        unsigned long type;
    };
    auto* const version = at<Version>();
    add(
        "GetSystemVer", "system", {ERROR_MIROVAN_SYSTEM_QUERY_FAILED}, sizeof *version,
        [=]
        {
            return Mirovan_System_GetSystemVer(version->name, version->version, version->code_name,
                                               &version->type, version->release);
        },
        [=](Hit)
        {
            utsname system{};
            uname(&system);
            return std::strcmp(version->name, system.sysname) == 0 &&
                   std::strcmp(version->version, system.release) == 0 &&
                   std::strcmp(version->release, system.release) == 0 && version->type == 2;
        });
    auto* const memory = at<tag_Mirovan_Memory_Infomation>();
    add(
        "GetMemoryUsage", "system", {}, sizeof *memory,
        [=] { return Mirovan_System_GetMemoryUsage(memory, 1); },
        [=](Hit hit)
        {
            const struct sysinfo info = system_info();
            const bool unread =
                hit.fired != 0 && (memory->nTotalMemory == 0 || memory->nFreeMemory == 0);
            return unread || (memory->nTotalMemory == uint64_t{info.totalram} * info.mem_unit &&
                              memory->nFreeMemory < memory->nTotalMemory &&
                              memory->nFreeMemory != 0 && memory->nFreePercent <= 100);
        })
        .prepare = [=] { *memory = {}; };
    auto* const record = at<MIROVAN_MEMORY_RECORD>();
    add(
        "GetMemoryRecord", "system", {ERROR_MIROVAN_SYSTEM_MEMORY_RECORD_FAILED}, sizeof *record,
        [=] { return Mirovan_System_GetMemoryRecord(record); },
        [=](Hit)
        {
            const struct sysinfo info = system_info();
            constexpr uint32_t needed = MIROVAN_MEMORY_KNOWN_TOTAL | MIROVAN_MEMORY_KNOWN_FREE;
            return (record->nKnown & needed) == needed && record->nFree < record->nTotal &&
                   record->nTotal == uint64_t{info.totalram} * info.mem_unit;
        })
        .prepare = [=] { record->nSize = sizeof *record; };
    // Under a fault every byte is as usual or lacks something: what is not known is 0.
    auto usual = sized<MIROVAN_IDENTITY>();
    Mirovan_System_GetIdentity(&usual);
    auto* const identity = at<MIROVAN_IDENTITY>();
    add(
        "GetIdentity", "system", {ERROR_MIROVAN_SYSTEM_IDENTITY_FAILED}, sizeof *identity,
        [=] { return Mirovan_System_GetIdentity(identity); },
        [=, this](Hit hit)
        {
            const auto* const known = reinterpret_cast<const unsigned char*>(&usual);
            return std::equal(known, known + sizeof usual, at<unsigned char>(),
                              [=](unsigned all, unsigned told)
                              { return told == all || (hit.fired != 0 && (told & ~all) == 0); });
        })
        .prepare = [=] { identity->nSize = sizeof *identity; };
    auto* const times = at<MIROVAN_PROCESSOR_TIMES>();
    add(
        "GetProcessorTimes", "system", {ERROR_MIROVAN_SYSTEM_PROCESSOR_TIMES_FAILED}, sizeof *times,
        [=]
        {
            const auto take = [](const MIROVAN_PROCESSOR_TIMES* one, void* to)
            {
                *static_cast<MIROVAN_PROCESSOR_TIMES*>(to) = *one;
                return one->nProcessor == MIROVAN_PROCESSOR_ALL;
            };
            return Mirovan_System_GetProcessorTimes(take, times);
        },
        [=](Hit) { return times->nProcessor == 0 && times->nKnown == 0xF && times->nIdle != 0; });
    add(
        "GetUpTime", "system", {ERROR_MIROVAN_SYSTEM_QUERY_FAILED}, sizeof(TARVELO_LIBTIME),
        [this] { return Mirovan_System_GetUpTime(at<TARVELO_LIBTIME>()); },
        [this](Hit)
        { return is_about(*at<TARVELO_LIBTIME>(), std::time(nullptr) - system_info().uptime); });
    add(
        "GetProcessCount", "system", {}, sizeof(int),
        [this] { return Mirovan_System_GetProcessCount(at<int>()); },
        [this](Hit hit) { return *at<int>() > 0 || (hit.fired != 0 && *at<int>() == 0); });
    add(
        "GetProcessList", "system", {}, sizeof(Rows),
        [this]
        {
            auto** const rows = &at<Rows>()->rows;
            return Mirovan_System_GetProcessList(reinterpret_cast<MIROVAN_PROCESS_INFO***>(rows),
                                                 &at<Rows>()->count);
        },
        [this](Hit) { return at<Rows>()->rows == nullptr && at<Rows>()->count == 0; });
    add(
        "GetSysName", "system", {}, 256 + 1024,
        [this] { return Mirovan_System_GetSysName(at<char>(), at<char>() + 256); },
        [this](Hit hit)
        {
            char host[1024] = "";
            gethostname(host, sizeof host);
            return is_or_empty(at<char>(), user_name(), hit) &&
                   is_or_empty(at<char>() + 256, host, hit);
        });
    add(
        "GetSysIdleTime", "system",
        {ERROR_MIROVAN_SYSTEM_QUERY_FAILED, ERROR_MIROVAN_SYSTEM_IDLETIME_STATISTICS},
        sizeof(unsigned long),
        [this] { return Mirovan_System_GetSysIdleTime(*at<unsigned long>()); },
        [this](Hit) { return *at<unsigned long>() <= 100; });
    add(
        "GetScreen", "system", {}, 2 * sizeof(int),
        [this] { return Mirovan_System_GetScreen(at<int>(), at<int>() + 1); },
        [this](Hit) { return at<int>()[0] >= 0 && at<int>()[1] >= 0; });
    add(
        "GetLanguage", "system", {}, 64, [this] { return Mirovan_System_GetLanguage(at<char>()); },
        [this](Hit) { return std::string{std::getenv("LANG")} == at<char>(); });
    add(
        "WMIQuery", "system", {}, 64,
        [this] { return Mirovan_System_WMIQuery("a", "b", at<char>(), 64); },
        [this](Hit) { return room_.is_untouched(); });
}

void World::add_commands_run()
{
    static constexpr char command[] = "echo one; echo two; echo three";
    struct Captured
    {
        int length;
        char text[64];
    };
    auto* const output = at<Captured>();
    const auto is_captured = [=](Hit)
    { return std::strcmp(output->text, "kept two\nthree\n") == 0; };
    const std::set<uint64_t> codes = {ERROR_MIROVAN_PROCESS_ACCESS};
    add(
        "ReadCmdReturn", "command", codes, sizeof *output,
        [=] { return Mirovan_Process_ReadCmdReturn(command, output->text, 2, 2, &output->length); },
        [=](Hit hit) { return is_captured(hit) && output->length == 10; })
        .prepare = [=] { std::strcpy(output->text, "kept "); };
    operations_.back().promised = [=]
    { return std::strcmp(output->text, "kept ") == 0 && output->length == 0x5A5A5A5A; };
    Operation& pieces = add(
        "ReadCmdLines", "command", codes, sizeof *output,
        [=]
        {
            const auto take = [](const char* piece, int length, void* text)
            {
                std::strncat(static_cast<char*>(text), piece, static_cast<std::size_t>(length));
                return true;
            };
            return Mirovan_Process_ReadCmdLines(command, 0, 2, take, output->text);
        },
        is_captured);
    pieces.prepare = [=] { std::strcpy(output->text, "kept "); };
    pieces.promised = [=] { return std::strncmp(output->text, "kept ", 5) == 0; };
    add(
        "GetCpuUsage", "command", codes, sizeof(int),
        [this] { return Mirovan_System_GetCpuUsage(at<int>()); },
        [this](Hit) { return *at<int>() == 4; })
        .asks_commands = true;

    const std::set<uint64_t> shell_codes = {ERROR_MIROVAN_SYSTEM_SYSTEMEX_SIGNAL,
                                            ERROR_MIROVAN_SYSTEM_SYSTEMEX_FORK};
    add(
        "SystemEx", "command", shell_codes, 0,
        [line = "echo done >'" + (scratch_ / "ran") + "'"]
        { return Mirovan_System_SystemEx(line.c_str(), 10); },
        [this](Hit hit)
        {
            // A shell that cannot be executed exits with 127, which is a success.
            const bool executed = !was(hit, "posix_spawn");
            return read_file(scratch_ / "ran") == (executed ? "done\n" : "");
        });
    add(
        "SystemEx.limit", "command", shell_codes, 0,
        [] { return Mirovan_System_SystemEx("exec sleep 0.1", 0); }, [](Hit) { return true; });
    for (const unsigned long action : {0x10001UL, 0x10002UL, 0x10003UL, 0x10004UL, 0x10005UL})
        add(
            "Shutdown." + std::to_string(action & 0xFUL), "shutdown",
            {ERROR_MIROVAN_SYSTEM_QUERY_FAILED}, 0,
            [action] { return Mirovan_System_Shutdown(action); }, [](Hit) { return true; })
            .asks_commands = true;
}

} // namespace test
