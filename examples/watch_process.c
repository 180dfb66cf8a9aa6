/* Shows the figures of a process every second until it ends.
 *
 *     watch_process PID
 *
 * The result is 0 when it was seen to end, 1 when it cannot be watched.
 */
#include <mirovan.h>

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static int failure(void)
{
    int reason = 0;
    const uint64_t code = Mirovan_GetThreadError(NULL, &reason);
    fprintf(stderr, "watch_process: %s (%s)\n", Mirovan_GetErrorText(code), strerror(reason));
    return 1;
}

static bool same_time(const TARVELO_LIBTIME* one, const TARVELO_LIBTIME* other)
{
    return one->nYear == other->nYear && one->nMonth == other->nMonth && one->nDay == other->nDay &&
           one->nHour == other->nHour && one->nMinute == other->nMinute &&
           one->nSecond == other->nSecond;
}

/* A process without an account has figures all the same: only the name of its user is missing. */
static bool read_figures(int id, tag_Mirovan_Process_Infomation* process)
{
    memset(process, 0, sizeof *process);
    strcpy(process->tszUserName, "?");
    return Mirovan_Process_GetProcessInfo(process, NULL, id) || process->nThreadCount != 0;
}

static void show_figures(const tag_Mirovan_Process_Infomation* process)
{
    const uint64_t resident = (uint64_t)process->nResidentSize * 4;
    const uint64_t in_virtual = (uint64_t)process->nVirtualSize * 4;
    int usage = 0;
    if (!Mirovan_Process_GetProcessCpuUsage(&usage, process->nProcessId))
        return;
    printf("%-7s  %5.1f %%  %3d threads  %8" PRIu64 " KiB resident  %10" PRIu64 " KiB virtual\n",
           process->nState == 0 ? "running" : "waiting", usage / 10.0, process->nThreadCount,
           resident / 1024, in_virtual / 1024);
    (void)fflush(stdout);
}

int main(int argc, char** argv)
{
    tag_Mirovan_Process_Infomation process;
    TARVELO_LIBTIME start;
    TARVELO_LIBTIME now;
    char path[MIROVAN_PATH_SIZE] = "";
    char* end = NULL;
    const long id = argc == 2 ? strtol(argv[1], &end, 10) : 0;
    if (argc != 2 || *end != '\0' || id < 1 || id > INT32_MAX)
    {
        fprintf(stderr, "usage: watch_process PID\n");
        return 2;
    }

    if (!Mirovan_Process_GetUpTime(&start, (int)id) || !read_figures((int)id, &process))
        return failure();
    if (!Mirovan_Process_GetPath(path, (int)id))
        snprintf(path, sizeof path, "%s", process.tszProcessName);
    printf("%ld %s of %s, since %04d-%02d-%02d %02d:%02d:%02d\n", id, path, process.tszUserName,
           start.nYear, start.nMonth, start.nDay, start.nHour, start.nMinute, start.nSecond);

    /* Another start under the same id is another process. */
    while (Mirovan_Process_GetUpTime(&now, (int)id) && same_time(&now, &start) &&
           read_figures((int)id, &process))
    {
        show_figures(&process);
        sleep(1);
    }
    printf("ended\n");
    return 0;
}
