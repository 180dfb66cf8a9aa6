/* One example for each function, shown in its manual page and in the reference. It stands behind a
   comment with the name of the function; of a single function the body is shown. */
#include <mirovan.h>

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

/* Mirovan_GetLastError */
static void last_error(void)
{
    int now = 0; /* errno as it stands now */
    if (!Mirovan_Process_SetPriority(99, 0))
        printf("%#" PRIx64 ", errno %d\n", Mirovan_GetLastError(&now), now);
}

/* Mirovan_GetThreadError */
static void thread_error(void)
{
    int reason = 0;
    if (!Mirovan_File_CreateMutilFolderA("/proc/folder"))
    {
        const uint64_t code = Mirovan_GetThreadError(NULL, &reason);
        printf("%s (%s)\n", Mirovan_GetErrorText(code), strerror(reason));
    }
}

/* Mirovan_GetErrorText */
static void error_text(void)
{
    puts(Mirovan_GetErrorText(ERROR_MIROVAN_FILE_COPY_EXIST));
}

/* Mirovan_GetVersion */
static void version(void)
{
    printf("built with %s, runs with %s\n", MIROVAN_VERSION, Mirovan_GetVersion());
}

/* Fundix_Memory_Free */
static void free_table(void)
{
    char** paths = NULL;
    int count = 0;
    if (Mirovan_File_EnumFileA("/etc", &paths, &count, false, 1))
        printf("%d files, the first is %s\n", count, paths[0]);
    Fundix_Memory_Free((void***)&paths, count); /* sets paths to null */
}

/* Mirovan_File_GetFileAttrA */
static void attributes(void)
{
    MIROVAN_FILE_ATTR attributes;
    if (Mirovan_File_GetFileAttrA("/etc/passwd", &attributes))
        printf("%" PRId64 " bytes, %s\n", attributes.nFileSize,
               attributes.bIsReadable ? "readable" : "not readable");
}

/* Mirovan_File_SaveBuffToFileA */
static void save(void)
{
    const char text[] = "first line\n";
    if (!Mirovan_File_SaveBuffToFileA("notes/today.txt", text, (int)strlen(text)))
        puts(Mirovan_GetErrorText(Mirovan_GetThreadError(NULL, NULL)));
}

/* Mirovan_File_EnumFileA */
static void list_files(void)
{
    char** paths = NULL;
    int count = 0;
    if (Mirovan_File_EnumFileA("notes/*.txt", &paths, &count, false, 1))
        for (int i = 0; i < count; ++i)
            puts(paths[i]);
    Fundix_Memory_Free((void***)&paths, count);
}

/* Mirovan_File_CreateMutilFolderA */
static void create_folders(void)
{
    if (Mirovan_File_CreateMutilFolderA("notes/2026/may"))
        puts("notes, notes/2026 and notes/2026/may exist");
}

/* Mirovan_File_CreateSparseFileA */
static void create_zeros(void)
{
    if (!Mirovan_File_CreateSparseFileA("notes/zeros", 1 << 20))
        puts("a full disk?");
}

/* Mirovan_File_CopyFileA */
static void copy(void)
{
    if (!Mirovan_File_CopyFileA("notes/today.txt", "backup/today.txt", true) &&
        Mirovan_GetThreadError(NULL, NULL) == ERROR_MIROVAN_FILE_COPY_EXIST)
        puts("there is a backup already");
}

/* Mirovan_File_DeleteMutilFolderA */
static void delete_folder(void)
{
    Mirovan_File_DeleteMutilFolderA("backup", true); /* the folder too */
    Mirovan_File_DeleteMutilFolderA("notes", false); /* only what is in it */
}

/* Mirovan_File_Walk */
static int print_entry(const MIROVAN_WALK_ENTRY* entry, void* context)
{
    (void)context;
    puts(entry->lpszPath);
    return MIROVAN_WALK_CONTINUE;
}

static void walk(void)
{
    MIROVAN_WALK options = {0};
    options.nSize = sizeof options;
    options.nMaxDepth = 1;
    options.lpszPattern = "*.conf";
    Mirovan_File_Walk("/etc", &options, print_entry, NULL);
}

/* Mirovan_HardWare_GetDiskInfomation */
static void volume(void)
{
    tag_Mirovan_Disk_Information disk;
    if (Mirovan_HardWare_GetDiskInfomation("/", &disk, 4)) /* in GiB */
        printf("%" PRIu64 " of %" PRIu64 " GiB available\n", disk.nDiskFree, disk.nDiskTotal);
}

/* Mirovan_HardWare_GetDiskNumber */
static void volumes(void)
{
    char** names = NULL;
    int count = 0;
    if (Mirovan_HardWare_GetDiskNumber(&names, &count))
        for (int i = 0; i < count; ++i)
            puts(names[i]);
    Fundix_Memory_Free((void***)&names, count);
}

/* Mirovan_HardWare_ListVolumes */
static bool print_volume(const MIROVAN_VOLUME* volume, void* context)
{
    (void)context;
    printf("%s: %" PRIu64 " bytes available\n", volume->tszMountPoint, volume->nAvailable);
    return true; /* false would end the listing */
}

static void list_volumes(void)
{
    Mirovan_HardWare_ListVolumes(0, print_volume, NULL);
}

/* Mirovan_HardWare_GetCpuInfomation */
static void processor(void)
{
    tag_Mirovan_Cpu_Information cpu = {0}; /* a field that the report lacks keeps its content */
    if (Mirovan_HardWare_GetCpuInfomation(&cpu))
        printf("%s, %d MHz, %d online\n", cpu.tszProcessorName, cpu.nProcessorSpeed,
               cpu.nProcessorOnline);
}

/* Mirovan_HardWare_GetSerial */
static void serials(void)
{
    tag_Mirovan_SdkSerial_Information serials = {0}; /* values are appended */
    if (Mirovan_HardWare_GetSerial(&serials))
        printf("hardware UUID: %s", serials.tszHardwareUUID); /* ends in a newline */
}

/* Mirovan_Process_ReadCmdReturn */
static void read_lines(void)
{
    char line[128] = "";
    if (Mirovan_Process_ReadCmdReturn("uname -a", line, 1, 1, NULL))
        fputs(line, stdout);
}

/* Mirovan_Process_ReadCmdLines */
static bool count_line(const char* line, int length, void* count)
{
    (void)line;
    (void)length;
    ++*(int*)count;
    return true; /* false would stop here */
}

static void each_line(void)
{
    int count = 0;
    if (Mirovan_Process_ReadCmdLines("seq 1000", 0, 1, count_line, &count))
        printf("%d lines\n", count);
}

/* Mirovan_Process_Execute */
static bool print_output(const char* data, uint64_t length, void* context)
{
    (void)context;
    return fwrite(data, 1, (size_t)length, stdout) == length; /* false would end the command */
}

static void execute(void)
{
    const char* const arguments[] = {"echo", "one argument", NULL};
    MIROVAN_COMMAND command = {0};
    MIROVAN_COMMAND_RESULT result = {0};
    command.nSize = sizeof command;
    command.ppszArguments = arguments;
    command.nLimitMs = 5000;
    command.pfnOutput = print_output;
    result.nSize = sizeof result;
    if (Mirovan_Process_Execute(&command, &result) && result.nEnd == MIROVAN_END_EXITED)
        printf("exit status %d\n", result.nExitStatus);
}

/* Mirovan_Process_Wait */
static void wait_for_child(void)
{
    unsigned long child = 0;
    MIROVAN_COMMAND_RESULT result = {0};
    result.nSize = sizeof result;
    if (Mirovan_Process_CreateProcess(&child, "/bin/true", NULL, false) &&
        Mirovan_Process_Wait((int)child, 1000, &result)) /* at most a second */
        printf("ended: %d\n", result.nEnd != MIROVAN_END_RUNNING);
}

/* Mirovan_Process_List */
static bool count_process(const MIROVAN_PROCESS_RECORD* process, void* count)
{
    *(int*)count += process->cState == 'Z';
    return true; /* false would end the listing */
}

static void list_processes(void)
{
    int zombies = 0;
    if (Mirovan_Process_List(count_process, &zombies))
        printf("%d zombies\n", zombies);
}

/* Mirovan_Process_GetRecord */
static void process_record(void)
{
    MIROVAN_PROCESS_RECORD record = {0};
    record.nSize = sizeof record;
    if (Mirovan_Process_GetRecord((int)getpid(), &record))
        printf("%s, %" PRIu64 " bytes resident\n", record.tszName, record.nResidentSize);
}

/* Mirovan_Process_GetProcessInfo */
static void process_info(void)
{
    tag_Mirovan_Process_Infomation process;
    if (Mirovan_Process_GetProcessInfo(&process, NULL, (int)getpid()))
        printf("%s of %s, %" PRIu64 " KiB resident\n", process.tszProcessName, process.tszUserName,
               (uint64_t)process.nResidentSize * 4 / 1024);
}

/* Mirovan_Process_GetProcessCpuUsage */
static void process_usage(void)
{
    int usage = 0;
    if (Mirovan_Process_GetProcessCpuUsage(&usage, 0)) /* of this process */
        printf("%d.%d %% of one processor\n", usage / 10, usage % 10);
}

/* Mirovan_Process_GetUpTime */
static void process_start(void)
{
    TARVELO_LIBTIME start;
    if (Mirovan_Process_GetUpTime(&start, 0))
        printf("since %02d:%02d:%02d\n", start.nHour, start.nMinute, start.nSecond);
}

/* Mirovan_Process_GetPath */
static void process_path(void)
{
    char path[MIROVAN_PATH_SIZE];
    if (Mirovan_Process_GetPath(path, 0))
        puts(path);
}

/* Mirovan_Process_IsAdmin */
static void is_admin(void)
{
    puts(Mirovan_Process_IsAdmin() ? "root" : "an unprivileged user");
}

/* Mirovan_Process_GetPriority */
static void priority(void)
{
    int priority = 0;
    if (Mirovan_Process_GetPriority(&priority, 0))
        printf("nice value %d\n", priority);
}

/* Mirovan_Process_SetPriority */
static void set_priority(void)
{
    if (!Mirovan_Process_SetPriority(5, 0))
        puts(Mirovan_GetErrorText(Mirovan_GetThreadError(NULL, NULL)));
}

/* Mirovan_Process_CreateProcess */
static void create_process(void)
{
    unsigned long child = 0;
    if (Mirovan_Process_CreateProcess(&child, "/bin/sleep", "0", false))
        waitpid((pid_t)child, NULL, 0);
}

/* Mirovan_Process_RunProcess */
static void run_process(void)
{
    unsigned long child = 0;
    int status = 0;
    if (Mirovan_Process_RunProcess(&child, "/bin/sh", "sh", "/dev/null", false) &&
        waitpid((pid_t)child, &status, 0) > 0)
        printf("exit status %d\n", WEXITSTATUS(status));
}

/* Mirovan_Process_Stop */
static void stop_process(void)
{
    unsigned long child = 0;
    if (Mirovan_Process_CreateProcess(&child, "/bin/sleep", "60", false) &&
        Mirovan_Process_Stop(NULL, (int)child, false)) /* waits for the child's end */
        puts("stopped");
}

/* Mirovan_Process_SetProcessForCpu */
static void set_affinity(void)
{
    Mirovan_Process_SetProcessForCpu(pthread_self(), 1); /* 0 takes the tag away */
}

/* Mirovan_Process_GetProcessForCpu */
static void affinity(void)
{
    unsigned long tag = 0;
    if (Mirovan_Process_GetProcessForCpu(pthread_self(), &tag))
        printf("affinity tag %lu\n", tag);
}

/* Mirovan_System_GetSystemVer */
static void system_version(void)
{
    char name[256];
    char release[256];
    char code_name[8];
    unsigned long type = 0;
    if (Mirovan_System_GetSystemVer(name, release, code_name, &type, NULL))
        printf("%s %s\n", name, release);
}

/* Mirovan_System_GetMemoryUsage */
static void memory(void)
{
    tag_Mirovan_Memory_Infomation memory = {0};
    if (Mirovan_System_GetMemoryUsage(&memory, 3)) /* in MiB */
        printf("%" PRIu64 " of %" PRIu64 " MiB are free\n", memory.nFreeMemory,
               memory.nTotalMemory);
}

/* Mirovan_System_GetMemoryRecord */
static void memory_record(void)
{
    MIROVAN_MEMORY_RECORD memory = {0};
    memory.nSize = sizeof memory;
    if (Mirovan_System_GetMemoryRecord(&memory))
        printf("%" PRIu64 " of %" PRIu64 " bytes available\n", memory.nAvailable, memory.nTotal);
}

/* Mirovan_System_GetIdentity */
static void identity(void)
{
    MIROVAN_IDENTITY identity = {0};
    identity.nSize = sizeof identity;
    if (Mirovan_System_GetIdentity(&identity))
        printf("%s %s on %s\n", identity.tszSystemName, identity.tszSystemVersion,
               identity.tszArchitecture);
}

/* Mirovan_System_GetProcessorTimes */
static bool add_idle(const MIROVAN_PROCESSOR_TIMES* times, void* idle)
{
    *(uint64_t*)idle = times->nIdle;
    return false; /* the first record is that of all processors together */
}

static void processor_times(void)
{
    uint64_t idle = 0;
    if (Mirovan_System_GetProcessorTimes(add_idle, &idle))
        printf("%" PRIu64 " s idle\n", idle / 1000000000);
}

/* Mirovan_System_GetCpuUsage */
static void load(void)
{
    int load = 0;
    if (Mirovan_System_GetCpuUsage(&load))
        printf("%d %% of one processor\n", load);
}

/* Mirovan_System_GetUpTime */
static void system_start(void)
{
    TARVELO_LIBTIME start;
    if (Mirovan_System_GetUpTime(&start))
        printf("started on %d-%02d-%02d\n", start.nYear, start.nMonth, start.nDay);
}

/* Mirovan_System_GetProcessCount */
static void processor_count(void)
{
    int count = 0;
    if (Mirovan_System_GetProcessCount(&count))
        printf("%d processors\n", count);
}

/* Mirovan_System_GetProcessList */
static void process_list(void)
{
    MIROVAN_PROCESS_INFO** rows = NULL;
    int count = 0;
    if (Mirovan_System_GetProcessList(&rows, &count))
        printf("%d rows\n", count); /* 0: nothing fills it */
}

/* Mirovan_System_GetSysName */
static void names(void)
{
    char user[256];
    char host[1024];
    if (Mirovan_System_GetSysName(user, host))
        printf("%s@%s\n", user, host);
}

/* Mirovan_System_Shutdown */
static void restart(void)
{
    if (!Mirovan_System_Shutdown(0x10003)) /* restart */
        puts(Mirovan_GetErrorText(Mirovan_GetThreadError(NULL, NULL)));
}

/* Mirovan_System_SystemEx */
static void run_with_limit(void)
{
    if (Mirovan_System_SystemEx("exec sleep 0.01", 30)) /* at most 30 seconds */
        puts("it was run, however it ended");
}

/* Mirovan_System_GetSysIdleTime */
static void idle(void)
{
    unsigned long percent = 0;
    if (Mirovan_System_GetSysIdleTime(&percent))
        printf("idle for %lu %% of the time\n", percent);
}

/* Mirovan_System_GetScreen */
static void screen(void)
{
    int width = 0;
    int height = 0;
    if (Mirovan_System_GetScreen(&width, &height) && width > 0)
        printf("%d x %d\n", width, height);
}

/* Mirovan_System_GetLanguage */
static void language(void)
{
    const char* value = getenv("LANG");
    char* buffer = malloc(value == NULL ? 1 : strlen(value) + 1);
    if (buffer != NULL && Mirovan_System_GetLanguage(buffer))
        puts(buffer);
    free(buffer);
}

/* Mirovan_System_WMIQuery */
static void query(void)
{
    char result[64] = "";
    Mirovan_System_WMIQuery("", "", result, sizeof result); /* true, and result stays as it is */
}

/* Runs all but the restart. */
int main(void)
{
    void (*const examples[])(void) = {last_error,
                                      thread_error,
                                      error_text,
                                      version,
                                      free_table,
                                      attributes,
                                      save,
                                      list_files,
                                      create_folders,
                                      create_zeros,
                                      copy,
                                      delete_folder,
                                      walk,
                                      volume,
                                      volumes,
                                      processor,
                                      serials,
                                      read_lines,
                                      each_line,
                                      process_info,
                                      process_usage,
                                      process_start,
                                      process_path,
                                      is_admin,
                                      priority,
                                      set_priority,
                                      create_process,
                                      run_process,
                                      stop_process,
                                      set_affinity,
                                      affinity,
                                      system_version,
                                      memory,
                                      load,
                                      system_start,
                                      processor_count,
                                      process_list,
                                      names,
                                      run_with_limit,
                                      idle,
                                      screen,
                                      language,
                                      query,
                                      list_volumes,
                                      memory_record,
                                      identity,
                                      processor_times,
                                      execute,
                                      wait_for_child,
                                      list_processes,
                                      process_record};
    for (size_t i = 0; i < sizeof examples / sizeof *examples; ++i)
        examples[i]();
    (void)restart;
    return 0;
}
