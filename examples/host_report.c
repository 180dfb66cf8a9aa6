/* One page on this machine: what the library knows of the system, the hardware, processes and
 * files.
 *
 *     host_report [--json] [--list FOLDER-OR-PATTERN] [PATH ...]
 *
 * --json        for programs
 * --list WHAT   a folder, or a folder and a pattern such as "/usr/include/\*.h", to enumerate
 * PATH ...      files and folders whose attributes are shown
 *
 * What fails is shown with its code and text.
 */
#include <mirovan.h>

#include <errno.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

/* ---- Output: the same facts for a person and for a program ---- */

static bool json;
static bool first_in_object = true;

static void put_json_text(const char* text)
{
    putchar('"');
    for (const unsigned char* at = (const unsigned char*)text; *at != '\0'; ++at)
    {
        if (*at == '"' || *at == '\\')
            printf("\\%c", *at);
        else if (*at < ' ')
            printf("\\u%04x", *at);
        else
            putchar(*at);
    }
    putchar('"');
}

static void begin_member(const char* key)
{
    printf(first_in_object ? "\n" : ",\n");
    first_in_object = false;
    put_json_text(key);
    printf(": ");
}

static void begin_section(const char* title)
{
    if (json)
    {
        begin_member(title);
        putchar('{');
        first_in_object = true;
    }
    else
    {
        printf("\n%s\n", title);
    }
}

static void end_section(void)
{
    if (json)
    {
        printf("\n}");
        first_in_object = false;
    }
}

/* Texts from reports end in a newline; nothing that is printed here does. */
static void text_fact(const char* key, const char* value)
{
    char line[4200];
    snprintf(line, sizeof line, "%.*s", (int)strcspn(value, "\n"), value);
    if (json)
    {
        begin_member(key);
        put_json_text(line);
    }
    else if (line[0] != '\0')
    {
        printf("  %-20s %s\n", key, line);
    }
}

static void number_fact(const char* key, int64_t value, const char* unit)
{
    if (json)
    {
        begin_member(key);
        printf("%" PRId64, value);
    }
    else
    {
        printf("  %-20s %" PRId64 "%s%s\n", key, value, *unit != '\0' ? " " : "", unit);
    }
}

/* The last failure of this thread. */
static void failure(const char* key)
{
    int reason = 0;
    const uint64_t code = Mirovan_GetThreadError(NULL, &reason);
    if (json)
    {
        begin_member(key);
        printf("{\"code\": %" PRIu64 ", \"text\": ", code);
        put_json_text(Mirovan_GetErrorText(code));
        printf(", \"errno\": %d, \"reason\": ", reason);
        put_json_text(strerror(reason));
        putchar('}');
    }
    else
    {
        printf("  %-20s failed: 0x%" PRIX64 " %s (%s)\n", key, code, Mirovan_GetErrorText(code),
               strerror(reason));
    }
}

static void time_fact(const char* key, const TARVELO_LIBTIME* time)
{
    char text[80];
    snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time->nYear, time->nMonth,
             time->nDay, time->nHour, time->nMinute, time->nSecond);
    text_fact(key, text);
}

/* ---- System ---- */

static void report_memory(void)
{
    enum
    {
        mebibytes = 3
    };
    tag_Mirovan_Memory_Infomation memory;
    memset(&memory, 0, sizeof memory);
    if (!Mirovan_System_GetMemoryUsage(&memory, mebibytes))
    {
        failure("memory");
        return;
    }
    number_fact("memory", (int64_t)memory.nTotalMemory, "MiB");
    number_fact("free memory", (int64_t)memory.nFreeMemory, "MiB");
    number_fact("free share", memory.nFreePercent, "%");
}

static void report_load(void)
{
    int count = 0;
    unsigned long idle = 0;
    TARVELO_LIBTIME start;

    if (Mirovan_System_GetProcessCount(&count))
        number_fact("processors", count, "");
    else
        failure("processors");
    if (Mirovan_System_GetCpuUsage(&count))
        number_fact("load", count, "% of one processor");
    else
        failure("load");
    if (Mirovan_System_GetSysIdleTime(&idle))
        number_fact("idle since start", (int64_t)idle, "%");
    else
        failure("idle since start");
    if (Mirovan_System_GetUpTime(&start))
        time_fact("started", &start);
    else
        failure("started");
}

static void report_system(void)
{
    static char language[1 << 17];
    char name[256];
    char version[256];
    char code_name[8];
    unsigned long type = 0;
    char user[256] = "";
    char host[1024] = "";
    int width = 0;
    int height = 0;

    begin_section("System");
    if (Mirovan_System_GetSystemVer(name, version, code_name, &type, NULL))
    {
        text_fact("name", name);
        text_fact("release", version);
    }
    else
    {
        failure("name");
    }
    if (Mirovan_System_GetSysName(user, host))
    {
        text_fact("host", host);
        text_fact("user", user);
    }
    text_fact("superuser", Mirovan_Process_IsAdmin() ? "yes" : "no");
    if (Mirovan_System_GetLanguage(language))
        text_fact("language", language);
    if (!Mirovan_System_GetScreen(&width, &height))
    {
        failure("display");
    }
    else if (width != 0)
    {
        char size[40];
        snprintf(size, sizeof size, "%d x %d", width, height);
        text_fact("display", size);
    }
    else
    {
        text_fact("display", "none");
    }
    report_memory();
    report_load();
    end_section();
}

/* ---- Hardware ---- */

static void report_processor(void)
{
    tag_Mirovan_Cpu_Information processor;
    memset(&processor, 0, sizeof processor);
    if (!Mirovan_HardWare_GetCpuInfomation(&processor))
    {
        failure("processor");
        return;
    }
    text_fact("processor", processor.tszProcessorName);
    text_fact("model", processor.tszModelIdentifier);
    if (processor.nProcessorSpeed != 0)
        number_fact("speed", processor.nProcessorSpeed, "MHz");
    number_fact("online", processor.nProcessorOnline, "");
    number_fact("hardware threads", processor.nHardwareThreads, "");
}

static void report_serials(void)
{
    tag_Mirovan_SdkSerial_Information serials;
    memset(&serials, 0, sizeof serials);
    if (!Mirovan_HardWare_GetSerial(&serials))
    {
        failure("serials");
        return;
    }
    text_fact("platform serial", serials.tszPlatformSerial);
    text_fact("system serial", serials.tszSystemSerial);
    text_fact("hardware UUID", serials.tszHardwareUUID);
    text_fact("volume UUID", serials.tszVolumeUUID);
}

static void report_volumes(void)
{
    enum
    {
        mebibytes = 3
    };
    tag_Mirovan_Disk_Information disk = {0, 0, 0, 0};
    char** names = NULL;
    int count = 0;

    if (Mirovan_HardWare_GetDiskInfomation("/", &disk, mebibytes))
    {
        number_fact("size of /", (int64_t)disk.nDiskTotal, "MiB");
        number_fact("free on /", (int64_t)disk.nDiskFree, "MiB");
    }
    else
    {
        failure("size of /");
    }
    if (!Mirovan_HardWare_GetDiskNumber(&names, &count))
    {
        failure("writable volumes");
        return;
    }
    number_fact("writable volumes", count, "");
    for (int i = 0; i < count; ++i)
    {
        char key[32];
        snprintf(key, sizeof key, "volume %d", i + 1);
        text_fact(key, names[i]);
    }
    Fundix_Memory_Free((void***)&names, count);
}

static void report_hardware(void)
{
    begin_section("Hardware");
    report_processor();
    report_serials();
    report_volumes();
    end_section();
}

/* ---- Processes ---- */

static void report_process(const char* title, int process)
{
    tag_Mirovan_Process_Infomation record;
    TARVELO_LIBTIME start;
    char path[MIROVAN_PATH_SIZE];
    int figure = 0;

    begin_section(title);
    if (Mirovan_Process_GetProcessInfo(&record, NULL, process))
    {
        number_fact("id", record.nProcessId, "");
        text_fact("process", record.tszProcessName);
        text_fact("owner", record.tszUserName);
        text_fact("state", record.nState == 0 ? "running" : "not running");
        number_fact("threads", record.nThreadCount, "");
        /* The record counts in units of 4 bytes. */
        number_fact("resident", (int64_t)record.nResidentSize * 4 / 1024, "KiB");
    }
    else
    {
        failure("process");
    }
    if (Mirovan_Process_GetPath(path, process))
        text_fact("program", path);
    else
        failure("program");
    if (Mirovan_Process_GetPriority(&figure, process))
        number_fact("priority", figure, "");
    else
        failure("priority");
    if (Mirovan_Process_GetUpTime(&start, process))
        time_fact("running since", &start);
    else
        failure("running since");
    if (Mirovan_Process_GetProcessCpuUsage(&figure, process))
        number_fact("usage", figure, "thousandths of a processor");
    else
        failure("usage");
    end_section();
}

static void keep_busy(void)
{
    const clock_t end = clock() + CLOCKS_PER_SEC / 5;
    while (clock() < end)
        ;
}

static bool keep_line(const char* line, int length, void* context)
{
    char* output = (char*)context;
    snprintf(output, MIROVAN_PATH_SIZE, "%.*s", length, line);
    return true;
}

static void report_processes(void)
{
    char output[MIROVAN_PATH_SIZE] = "";
    unsigned long child = 0;

    keep_busy();
    report_process("This process, after a busy fifth of a second", (int)getpid());

    if (Mirovan_Process_CreateProcess(&child, "/bin/sleep", "60", false))
        report_process("A child that sleeps", (int)child);

    begin_section("Commands");
    if (child != 0 && Mirovan_Process_Stop(NULL, (int)child, false))
        text_fact("child", "stopped");
    else
        failure("child");
    if (Mirovan_Process_ReadCmdLines("uname -a", 1, 0, keep_line, output))
        text_fact("uname -a", output);
    else
        failure("uname -a");
    if (Mirovan_System_SystemEx("exec sleep 60", 0))
        text_fact("sleep 60", "killed at its limit of 0 seconds");
    else
        failure("sleep 60");
    end_section();
}

/* ---- Files ---- */

static void report_attributes(const char* path)
{
    MIROVAN_FILE_ATTR attributes;
    char text[160];
    char modified[32] = "?";
    if (!Mirovan_File_GetFileAttrA(path, &attributes))
    {
        failure(path);
        return;
    }
    const time_t seconds = (time_t)attributes.nModifyTime;
    struct tm local;
    if (localtime_r(&seconds, &local) != NULL)
        (void)strftime(modified, sizeof modified, "%Y-%m-%d %H:%M:%S", &local);
    snprintf(text, sizeof text, "%s, %" PRId64 " bytes, changed %s%s%s",
             attributes.bIsFile ? "file" : "folder", attributes.nFileSize, modified,
             attributes.bIsReadable ? "" : ", not readable",
             attributes.bIsHidden ? ", hidden" : "");
    text_fact(path, text);
}

static void report_list(const char* what)
{
    enum
    {
        files_only = 1,
        shown = 5
    };
    char** paths = NULL;
    int count = 0;
    int64_t bytes = 0;

    text_fact("files of", what);
    if (!Mirovan_File_EnumFileA(what, &paths, &count, true, files_only))
    {
        failure("list");
        return;
    }
    for (int i = 0; i < count; ++i)
    {
        MIROVAN_FILE_ATTR attributes;
        if (Mirovan_File_GetFileAttrA(paths[i], &attributes))
            bytes += attributes.nFileSize;
        if (i < shown)
        {
            char key[32];
            snprintf(key, sizeof key, "  file %d", i + 1);
            text_fact(key, paths[i]);
        }
    }
    number_fact("in all", count, "files");
    number_fact("their size", bytes, "bytes");
    Fundix_Memory_Free((void***)&paths, count);
}

/* Saves, fills, copies and deletes in a folder of its own. */
static void try_files(void)
{
    static const char text[] = "written by host_report\n";
    char folder[] = "/tmp/host_report-XXXXXX";
    char path[sizeof folder + 40];
    char copy[sizeof folder + 40];
    if (mkdtemp(folder) == NULL)
    {
        text_fact("scratch folder", strerror(errno));
        return;
    }
    snprintf(path, sizeof path, "%s/deep/er/saved.txt", folder);
    snprintf(copy, sizeof copy, "%s/else/where/copy.txt", folder);
    if (Mirovan_File_SaveBuffToFileA(path, text, (int)sizeof text - 1) &&
        Mirovan_File_CopyFileA(path, copy, true))
        report_attributes(copy);
    else
        failure(copy);
    snprintf(path, sizeof path, "%s/zeros", folder);
    if (Mirovan_File_CreateSparseFileA(path, 1 << 20))
        report_attributes(path);
    else
        failure(path);
    if (Mirovan_File_DeleteMutilFolderA(folder, true))
        text_fact(folder, "deleted");
    else
        failure(folder);
}

static void report_files(const char* list, int count, char** paths)
{
    static const char* const usual_paths[] = {"/", "/etc/passwd", "/tmp", "/nonexistent"};

    begin_section("Files");
    if (count != 0)
        for (int i = 0; i < count; ++i)
            report_attributes(paths[i]);
    else
        for (size_t i = 0; i < sizeof usual_paths / sizeof *usual_paths; ++i)
            report_attributes(usual_paths[i]);
    report_list(list);
    try_files();
    end_section();
}

int main(int argc, char** argv)
{
    const char* list = "/etc/*.conf";
    int at = 1;
    for (; at < argc && strncmp(argv[at], "--", 2) == 0; ++at)
    {
        if (strcmp(argv[at], "--json") == 0)
        {
            json = true;
        }
        else if (strcmp(argv[at], "--list") == 0 && at + 1 < argc)
        {
            list = argv[++at];
        }
        else
        {
            fprintf(stderr, "usage: host_report [--json] [--list FOLDER-OR-PATTERN] [PATH ...]\n");
            return 2;
        }
    }

    if (json)
    {
        putchar('{');
        text_fact("mirovan", Mirovan_GetVersion());
    }
    else
    {
        printf("mirovan %s\n", Mirovan_GetVersion());
    }
    report_system();
    report_hardware();
    report_processes();
    report_files(list, argc - at, argv + at);
    if (json)
        printf("\n}\n");
    return fflush(stdout) == 0 ? 0 : 1;
}
