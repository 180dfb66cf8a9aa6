/* Every operation at work on this machine, a line for each. Files are written in a folder of its
 * own below TMPDIR or /tmp, which is deleted in the end.
 */
#include <mirovan.h>

#include <inttypes.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static char line[4096];

/* Appends to what the row shows; true, to stand in a chain of conditions. */
static bool say(const char* format, ...)
{
    const size_t length = strlen(line);
    va_list values;
    va_start(values, format);
    (void)vsnprintf(line + length, sizeof line - length, format, values);
    va_end(values);
    return true;
}

static bool say_time(const TARVELO_LIBTIME* time)
{
    return say("%04d-%02d-%02d %02d:%02d:%02d", time->nYear, time->nMonth, time->nDay, time->nHour,
               time->nMinute, time->nSecond);
}

/* The milliseconds of nanoseconds, the mebibytes of bytes. */
static double ms(uint64_t nanoseconds)
{
    return (double)nanoseconds / 1e6;
}

static double mib(uint64_t bytes)
{
    return (double)bytes / (1 << 20);
}

/* ---- Files, by paths relative to the scratch folder ---- */

static bool save(void)
{
    return Mirovan_File_SaveBuffToFileA("notes/today.txt", "one\n", 4) &&
           Mirovan_File_SaveBuffToFileW(L"notes/\u00fc.txt", "another\n", 8) &&
           say("two files in a folder that it created");
}

static bool create_folders(void)
{
    return Mirovan_File_CreateMutilFolderA("a/b/c") && Mirovan_File_CreateMutilFolderW(L"a/b/d") &&
           say("a/b/c, and L\"a/b/d\" beside it");
}

static bool create_zeros(void)
{
    return Mirovan_File_CreateSparseFileA("notes/zeros", 1 << 20) &&
           Mirovan_File_CreateSparseFileW(L"notes/more", 1 << 20) && say("two files of 1 MiB");
}

static bool copy(void)
{
    return Mirovan_File_CopyFileA("notes/today.txt", "copies/today.txt", true) &&
           Mirovan_File_CopyFileW(L"notes/\u00fc.txt", L"copies/\u00fc.txt", true) &&
           say("both files, into a new folder");
}

static bool attributes(void)
{
    MIROVAN_FILE_ATTR narrow;
    MIROVAN_FILE_ATTR wide;
    return Mirovan_File_GetFileAttrA("/etc/passwd", &narrow) &&
           Mirovan_File_GetFileAttrW(L"copies/\u00fc.txt", &wide) &&
           say("/etc/passwd has %" PRId64 " bytes, the copy %" PRId64, narrow.nFileSize,
               wide.nFileSize);
}

static bool enumerate(void)
{
    char** all = NULL;
    wchar_t** texts = NULL;
    int count = 0;
    int text_count = 0;
    const bool done =
        Mirovan_File_EnumFileA(".", &all, &count, true, MIROVAN_LIST_ALL) &&
        Mirovan_File_EnumFileW(L"notes/*.txt", &texts, &text_count, false, MIROVAN_LIST_FILES) &&
        say("%d entries below the folder, %d match notes/*.txt", count, text_count);
    Fundix_Memory_Free((void***)&all, count);
    Fundix_Memory_Free((void***)&texts, text_count);
    return done;
}

struct tree
{
    int64_t bytes;
    int entries;
    int deepest;
};

static int add_entry(const MIROVAN_WALK_ENTRY* entry, void* context)
{
    struct tree* const tree = context;
    tree->bytes += entry->nFileSize;
    ++tree->entries;
    tree->deepest = entry->nDepth > tree->deepest ? entry->nDepth : tree->deepest;
    return MIROVAN_WALK_CONTINUE;
}

static bool walk(void)
{
    const MIROVAN_WALK options = {.nSize = sizeof options, .nFlags = MIROVAN_WALK_STATUS};
    struct tree tree = {0, 0, 0};
    return Mirovan_File_Walk("/etc", &options, add_entry, &tree) &&
           say("/etc has %d entries in %d levels, %.1f MiB", tree.entries, tree.deepest,
               mib((uint64_t)tree.bytes));
}

static bool delete_folders(void)
{
    return Mirovan_File_DeleteMutilFolderA("a", true) &&
           Mirovan_File_DeleteMutilFolderW(L"notes", false) && rmdir("notes") == 0 &&
           say("one folder, and the content of another");
}

/* ---- Hardware ---- */

static bool disk(void)
{
    tag_Mirovan_Disk_Information disk;
    return Mirovan_HardWare_GetDiskInfomation("/", &disk, MIROVAN_UNIT_GIB) &&
           say("%" PRIu64 " of %" PRIu64 " GiB are free on /", disk.nDiskFree, disk.nDiskTotal);
}

static bool disk_names(void)
{
    char** names = NULL;
    int count = 0;
    if (!Mirovan_HardWare_GetDiskNumber(&names, &count))
        return false;
    for (int i = 0; i < count; ++i)
        say("%s%s", i == 0 ? "" : ", ", names[i]);
    return Fundix_Memory_Free((void***)&names, count);
}

static bool processor(void)
{
    tag_Mirovan_Cpu_Information processor = {0};
    return Mirovan_HardWare_GetCpuInfomation(&processor) &&
           say("%s, %d of %u threads online", processor.tszProcessorName,
               processor.nProcessorOnline, processor.nHardwareThreads);
}

static bool serials(void)
{
    tag_Mirovan_SdkSerial_Information serials = {0};
    return Mirovan_HardWare_GetSerial(&serials) &&
           say("%d of 4 identifiers are known",
               (serials.tszPlatformSerial[0] != '\0') + (serials.tszSystemSerial[0] != '\0') +
                   (serials.tszVolumeUUID[0] != '\0') + (serials.tszHardwareUUID[0] != '\0'));
}

static bool say_volume(const MIROVAN_VOLUME* volume, void* context)
{
    (void)context;
    return say("%s%s (%s, %.0f MiB)", line[0] == '\0' ? "" : ", ", volume->tszMountPoint,
               volume->tszType, mib(volume->nTotal));
}

static bool volumes(void)
{
    return Mirovan_HardWare_ListVolumes(0, say_volume, NULL);
}

/* ---- Processes ---- */

static bool command_output(void)
{
    char output[4096] = "";
    return Mirovan_Process_ReadCmdReturn("uname -a; exit", output, 1, 1, NULL) &&
           say("%.*s", (int)strcspn(output, "\n"), output);
}

static bool say_line(const char* piece, int length, void* context)
{
    (void)context;
    return say("%.*s ", length - 1, piece);
}

static bool command_lines(void)
{
    return Mirovan_Process_ReadCmdLines("seq 1000", 3, 998, say_line, NULL);
}

static bool process_info(void)
{
    tag_Mirovan_Process_Infomation process;
    return Mirovan_Process_GetProcessInfo(&process, NULL, getpid()) &&
           say("%s of %s, %d threads", process.tszProcessName, process.tszUserName,
               process.nThreadCount);
}

static bool process_usage(void)
{
    int usage = 0;
    return Mirovan_Process_GetProcessCpuUsage(&usage, 0) && say("%.1f %%", usage / 10.0);
}

static bool process_start(void)
{
    TARVELO_LIBTIME start;
    return Mirovan_Process_GetUpTime(&start, 0) && say_time(&start);
}

static bool process_path(void)
{
    char path[MIROVAN_PATH_SIZE];
    return Mirovan_Process_GetPath(path, 0) && say("%s", path);
}

static bool is_admin(void)
{
    return say(Mirovan_Process_IsAdmin() ? "yes" : "no");
}

static bool affinity(void)
{
    unsigned long tag = 0;
    return Mirovan_Process_SetProcessForCpu(pthread_self(), 7) &&
           Mirovan_Process_GetProcessForCpu(pthread_self(), &tag) && say("tag %lu", tag);
}

static bool start_and_stop(void)
{
    unsigned long child = 0;
    int priority = 0;
    return Mirovan_Process_CreateProcess(&child, "/bin/sleep", "9", false) &&
           Mirovan_Process_SetPriority(5, (int)child) &&
           Mirovan_Process_GetPriority(&priority, (int)child) &&
           Mirovan_Process_Stop(NULL, (int)child, false) &&
           say("a sleep of 9 s, set to priority %d and interrupted", priority);
}

static bool run_and_wait(void)
{
    unsigned long child = 0;
    MIROVAN_COMMAND_RESULT result = {.nSize = sizeof result};
    return Mirovan_Process_RunProcess(&child, "/usr/bin/false", "false", NULL, false) &&
           Mirovan_Process_Wait((int)child, 5000, &result) &&
           say("false exited with %d", result.nExitStatus);
}

static bool take_output(const char* data, uint64_t length, void* context)
{
    (void)context;
    return say("%.*s", (int)length, data);
}

static bool execute(void)
{
    const char* const arguments[] = {"tr", "a-z", "A-Z", NULL};
    const MIROVAN_COMMAND command = {.nSize = sizeof command,
                                     .ppszArguments = arguments,
                                     .pInput = "from its input",
                                     .nInputLen = 14,
                                     .nLimitMs = 2000,
                                     .pfnOutput = take_output};
    MIROVAN_COMMAND_RESULT result = {.nSize = sizeof result};
    return Mirovan_Process_Execute(&command, &result) &&
           say(", status %d after %.1f ms", result.nExitStatus, ms(result.nWallTime));
}

static bool add_process(const MIROVAN_PROCESS_RECORD* process, void* context)
{
    struct tree* const all = context;
    all->bytes += (int64_t)process->nResidentSize;
    return ++all->entries != 0;
}

static bool process_list(void)
{
    struct tree all = {0, 0, 0};
    return Mirovan_Process_List(add_process, &all) &&
           say("%d processes, %.0f MiB resident", all.entries, mib((uint64_t)all.bytes));
}

static bool process_record(void)
{
    MIROVAN_PROCESS_RECORD parent = {.nSize = sizeof parent};
    return Mirovan_Process_GetRecord(getppid(), &parent) &&
           say("%s is our parent, %.1f MiB resident, %.0f ms of processor time", parent.tszName,
               mib(parent.nResidentSize), ms(parent.nUserTime + parent.nSystemTime));
}

/* ---- System ---- */

static bool version(void)
{
    char name[256];
    char release[256];
    char code_name[8];
    unsigned long type = 0;
    return Mirovan_System_GetSystemVer(name, release, code_name, &type, NULL) &&
           say("%s %s", name, release);
}

static bool memory(void)
{
    tag_Mirovan_Memory_Infomation memory = {0};
    return Mirovan_System_GetMemoryUsage(&memory, MIROVAN_UNIT_MIB) &&
           say("%" PRIu64 " MiB, %d %% free", memory.nTotalMemory, memory.nFreePercent);
}

static bool load(void)
{
    int load = 0;
    return Mirovan_System_GetCpuUsage(&load) && say("%d %% of one processor", load);
}

static bool start_time(void)
{
    TARVELO_LIBTIME start;
    return Mirovan_System_GetUpTime(&start) && say_time(&start);
}

static bool processor_count(void)
{
    int count = 0;
    return Mirovan_System_GetProcessCount(&count) && say("%d", count);
}

static bool process_table(void)
{
    MIROVAN_PROCESS_INFO** table = NULL;
    int count = 0;
    return Mirovan_System_GetProcessList(&table, &count) &&
           say("%d rows, as ever: Mirovan_Process_List has them", count);
}

static bool names(void)
{
    char user[256];
    char host[1024];
    return Mirovan_System_GetSysName(user, host) && say("%s at %s", user, host);
}

static bool shutdown_actions(void)
{
    return say("not shown: halts, restarts, locks, ends a user's processes");
}

static bool command_with_limit(void)
{
    return Mirovan_System_SystemEx("exec sleep 60", 0) && say("killed a sleep of 60 s");
}

static bool idle(void)
{
    unsigned long percent = 0;
    return Mirovan_System_GetSysIdleTime(&percent) && say("%lu %% of the time", percent);
}

static bool screen(void)
{
    int width = 0;
    int height = 0;
    return Mirovan_System_GetScreen(&width, &height) && say("%d x %d", width, height);
}

static bool language(void)
{
    const char* const variable = getenv("LANG");
    char* const text = malloc(variable != NULL ? strlen(variable) + 1 : 1);
    const bool done =
        text != NULL && Mirovan_System_GetLanguage(text) && say("LANG is \"%s\"", text);
    free(text);
    return done;
}

static bool query(void)
{
    return Mirovan_System_WMIQuery("", "", line, 0) && say("nothing: there is no such query here");
}

static bool say_times(const MIROVAN_PROCESSOR_TIMES* times, void* context)
{
    (void)context;
    return say("%.0f s busy, %.0f s idle", ms(times->nUser + times->nNice + times->nSystem) / 1e3,
               ms(times->nIdle) / 1e3) &&
           times->nProcessor != MIROVAN_PROCESSOR_ALL;
}

static bool processor_times(void)
{
    return Mirovan_System_GetProcessorTimes(say_times, NULL);
}

static bool memory_record(void)
{
    MIROVAN_MEMORY_RECORD memory = {.nSize = sizeof memory};
    return Mirovan_System_GetMemoryRecord(&memory) &&
           say("%.0f MiB available, %.0f MiB of files cached", mib(memory.nAvailable),
               mib(memory.nCached));
}

static bool identity(void)
{
    MIROVAN_IDENTITY identity = {.nSize = sizeof identity};
    return Mirovan_System_GetIdentity(&identity) &&
           say("%s %s, %s, %u of %u processors usable", identity.tszSystemName,
               identity.tszSystemVersion, identity.tszArchitecture, identity.nProcessorsUsable,
               identity.nProcessors);
}

static const struct
{
    const char* family; /* null: that of the row above */
    const char* operations;
    bool (*show)(void);
} rows[] = {
    {"File", "SaveBuffToFileA, W", save},
    {NULL, "CreateMutilFolderA, W", create_folders},
    {NULL, "CreateSparseFileA, W", create_zeros},
    {NULL, "CopyFileA, W", copy},
    {NULL, "GetFileAttrA, W", attributes},
    {NULL, "EnumFileA, W", enumerate},
    {NULL, "Walk", walk},
    {NULL, "DeleteMutilFolderA, W", delete_folders},
    {"HardWare", "GetDiskInfomation", disk},
    {NULL, "GetDiskNumber", disk_names},
    {NULL, "GetCpuInfomation", processor},
    {NULL, "GetSerial", serials},
    {NULL, "ListVolumes", volumes},
    {"Process", "ReadCmdReturn", command_output},
    {NULL, "ReadCmdLines", command_lines},
    {NULL, "GetProcessInfo", process_info},
    {NULL, "GetProcessCpuUsage", process_usage},
    {NULL, "GetUpTime", process_start},
    {NULL, "GetPath", process_path},
    {NULL, "IsAdmin", is_admin},
    {NULL, "SetProcessForCpu, GetProcessForCpu", affinity},
    {NULL, "CreateProcess, SetPriority, GetPriority, Stop", start_and_stop},
    {NULL, "RunProcess, Wait", run_and_wait},
    {NULL, "Execute", execute},
    {NULL, "List", process_list},
    {NULL, "GetRecord", process_record},
    {"System", "GetSystemVer", version},
    {NULL, "GetMemoryUsage", memory},
    {NULL, "GetCpuUsage", load},
    {NULL, "GetUpTime", start_time},
    {NULL, "GetProcessCount", processor_count},
    {NULL, "GetProcessList", process_table},
    {NULL, "GetSysName", names},
    {NULL, "Shutdown", shutdown_actions},
    {NULL, "SystemEx", command_with_limit},
    {NULL, "GetSysIdleTime", idle},
    {NULL, "GetScreen", screen},
    {NULL, "GetLanguage", language},
    {NULL, "WMIQuery", query},
    {NULL, "GetProcessorTimes", processor_times},
    {NULL, "GetMemoryRecord", memory_record},
    {NULL, "GetIdentity", identity},
};

int main(void)
{
    const char* const temporary = getenv("TMPDIR");
    char folder[MIROVAN_PATH_SIZE];
    int failed = 0;
    (void)snprintf(folder, sizeof folder, "%s/tour-XXXXXX", temporary != NULL ? temporary : "/tmp");
    if (mkdtemp(folder) == NULL || chdir(folder) != 0)
    {
        perror(folder);
        return 2;
    }
    for (size_t i = 0; i < sizeof rows / sizeof *rows; ++i)
    {
        int reason = 0;
        line[0] = '\0';
        if (rows[i].family != NULL)
            printf("%s%s\n", i == 0 ? "" : "\n", rows[i].family);
        const bool done = rows[i].show();
        const uint64_t code = done ? 0 : Mirovan_GetThreadError(NULL, &reason);
        printf("  %-46s %s\n", rows[i].operations, line);
        if (!done)
            printf("    failed: %s (%s)\n", Mirovan_GetErrorText(code), strerror(reason));
        failed |= !done;
    }
    return Mirovan_File_DeleteMutilFolderA(folder, true) ? failed : 2;
}
