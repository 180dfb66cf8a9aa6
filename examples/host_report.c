/* Prints what the library can tell of this machine, with its public header alone.
 *
 *     host_report [PATH ...]      the paths whose attributes are shown
 */
#include <mirovan.h>

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

/* The last failure of this thread, as one line. */
static void print_failure(const char* what)
{
    int system_errno = 0;
    const uint64_t code = Mirovan_GetThreadError(NULL, &system_errno);
    printf("  %-18s failed: %#llx %s (%s)\n", what, (unsigned long long)code,
           Mirovan_GetErrorText(code), strerror(system_errno));
}

static const char* time_text(int64_t seconds, char* text, size_t size)
{
    const time_t time = (time_t)seconds;
    struct tm local;
    if (localtime_r(&time, &local) == NULL ||
        strftime(text, size, "%Y-%m-%d %H:%M:%S", &local) == 0)
        return "?";
    return text;
}

static void print_attributes(const char* path)
{
    MIROVAN_FILE_ATTR attributes;
    char modified[32];
    if (!Mirovan_File_GetFileAttrA(path, &attributes))
    {
        print_failure(path);
        return;
    }
    printf("  %-18s %-6s %12lld bytes  changed %s%s%s\n", path,
           attributes.bIsFile ? "file" : "folder", (long long)attributes.nFileSize,
           time_text(attributes.nModifyTime, modified, sizeof modified),
           attributes.bIsReadable ? "" : "  not readable", attributes.bIsHidden ? "  hidden" : "");
}

static bool print_line(const char* line, int length, void* context)
{
    (void)context;
    printf("  %.*s", length, line);
    return true;
}

int main(int argc, char** argv)
{
    static const char* const usual_paths[] = {"/", "/etc/passwd", "/tmp", "/dev/null", "."};

    printf("mirovan %s\n\nFiles\n", Mirovan_GetVersion());
    if (argc > 1)
        for (int i = 1; i < argc; ++i)
            print_attributes(argv[i]);
    else
        for (size_t i = 0; i < sizeof usual_paths / sizeof *usual_paths; ++i)
            print_attributes(usual_paths[i]);

    printf("\nOutput of \"uname -a\"\n");
    if (!Mirovan_Process_ReadCmdLines("uname -a", 0, 0, print_line, NULL))
        print_failure("uname -a");
    return 0;
}
